#include "index/store/WordContainer.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using Counts = std::map<std::uint32_t, std::uint16_t>;

TEST(WordContainer, RecordHoldsPackedDeltaIDsThenLittleEndianCounts) {
  WordContainer word("budget", 300, 2);
  word.add(5, 1);
  word.add(70000, 9);
  Data expected{0x0C, 0x00, 0x00, 0x00,  // N1
                1, 1, 5,                 // 5
                2, 1, 0x01, 0x27,        // +295
                3, 1, 0x01, 0x10, 0x44,  // +69700
                0x06, 0x00, 0x00, 0x00,           // N2
                0x02, 0x00,                       // ID 5: 1 + 1
                0x02, 0x00,                       // ID 300: first document, exact
                0x0A, 0x00};                      // ID 70000: 9 + 1
  EXPECT_EQ(word.dataToStore(), expected);

  WordContainer loaded("budget", expected);
  EXPECT_EQ(loaded.documentIDs(), (Counts{{5, 2}, {300, 2}, {70000, 10}}));
  EXPECT_EQ(loaded.dataToStore(), expected);
}

TEST(WordContainer, CountsClampAndSaturate) {
  WordContainer word("w", 1, 70000);
  EXPECT_EQ(word.documentIDs().at(1), 65535);
  word.add(1, 5);  // already at 65535: stays
  EXPECT_EQ(word.documentIDs().at(1), 65535);
  word.add(2, 65534);  // a further document: one more
  EXPECT_EQ(word.documentIDs().at(2), 65535);
  word.add(3, 65535);
  EXPECT_EQ(word.documentIDs().at(3), 65535);
  word.add(4, 100);
  word.add(4, 65500);  // 101 + 65500 passes the limit
  EXPECT_EQ(word.documentIDs().at(4), 65535);
  word.add(5, 10);
  word.add(5, 20);  // present: plain sum
  EXPECT_EQ(word.documentIDs().at(5), 31);
  word.add(6, -4);
  EXPECT_EQ(word.documentIDs().at(6), 1);
  WordContainer negative("n", 9, -3);
  EXPECT_EQ(negative.documentIDs().at(9), 0);
  // A container emptied of documents counts the next as a further one.
  negative.remove(9);
  negative.add(10, 4);
  EXPECT_EQ(negative.documentIDs().at(10), 5);
}

TEST(WordContainer, DamagedRecordsGiveWhatCanBePaired) {
  // Three IDs but two counts: pairs stop at the shorter list.
  Data record{0x05, 0, 0, 0, 1, 3, 1, 1, 1, 0x04, 0, 0, 0, 7, 0, 8, 0};
  EXPECT_EQ(WordContainer("a", record).documentIDs(), (Counts{{1, 7}, {2, 8}}));
  // Lengths past the end.
  EXPECT_TRUE(WordContainer("b", Data{0xFF, 0, 0, 0, 1}).documentIDs().empty());
  EXPECT_TRUE(WordContainer("c", Data{1, 0, 0, 0, 4, 0x09, 0, 0, 0, 1, 0}).documentIDs().empty());
  EXPECT_TRUE(WordContainer("d", Data{}).documentIDs().empty());
  // Containers order by word.
  EXPECT_LT(WordContainer("apple", 1, 1), WordContainer("banana", 1, 1));
}

}  // namespace
}  // namespace velmora
