#include "index/store/PackedNumbers.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

using PackedNumbers::storePacked;
using PackedNumbers::unpackStored;
using Numbers = std::vector<std::uint32_t>;

TEST(PackedNumbers, SingleValuesAndRunsHaveTheDocumentedBytes) {
  EXPECT_EQ(storePacked({}), Data{});
  EXPECT_EQ(storePacked({255}), (Data{0xFF}));
  EXPECT_EQ(storePacked({256}), (Data{0x01, 0x00}));
  EXPECT_EQ(storePacked({65535}), (Data{0xFF, 0xFF}));
  EXPECT_EQ(storePacked({65536}), (Data{3, 1, 0x01, 0x00, 0x00}));
  EXPECT_EQ(storePacked({0xFFFFFFFF}), (Data{4, 1, 0xFF, 0xFF, 0xFF, 0xFF}));
  // 1, 2, 70000, 3: a run of width 1 with two numbers, then width 3 with two
  // (the 3 stays wide: a run never narrows).
  EXPECT_EQ(storePacked({1, 2, 70000, 3}), (Data{1, 2, 1, 2, 3, 2, 0x01, 0x11, 0x70, 0x00, 0x00, 0x03}));
  EXPECT_EQ(storePacked({300, 5}), (Data{2, 2, 0x01, 0x2C, 0x00, 0x05}));
  // A wider number ends a narrow run.
  EXPECT_EQ(storePacked({5, 300}), (Data{1, 1, 5, 2, 1, 0x01, 0x2C}));

  for (const Numbers& numbers : {Numbers{}, Numbers{0}, Numbers{255}, Numbers{256}, Numbers{65536},
                                 Numbers{1, 2, 70000, 3}, Numbers{0xFFFFFFFF, 1, 0}, Numbers{7, 7}})
    EXPECT_EQ(unpackStored(storePacked(numbers)), numbers);
}

TEST(PackedNumbers, RunsHoldAtMost255Numbers) {
  Numbers small(300, 7);
  Data packed = storePacked(small);
  ASSERT_EQ(packed.size(), 2u + 255 + 2 + 45);
  EXPECT_EQ(packed[0], 1);
  EXPECT_EQ(packed[1], 255);
  EXPECT_EQ(packed[257], 1);
  EXPECT_EQ(packed[258], 45);
  EXPECT_EQ(unpackStored(packed), small);

  // With width 4 only the count ends a run.
  Numbers wide{0x01000000};
  wide.insert(wide.end(), 299, 1);
  packed = storePacked(wide);
  EXPECT_EQ(packed[0], 4);
  EXPECT_EQ(packed[1], 255);
  EXPECT_EQ(packed[2 + 255 * 4], 1);
  EXPECT_EQ(packed[3 + 255 * 4], 45);
  EXPECT_EQ(unpackStored(packed), wide);
}

TEST(PackedNumbers, RunsSplitExactlyWhereAValueNeedsAnotherByte) {
  // 255 is the last one-byte value and 256 the first two-byte one; 65535 and
  // 65536 the same for two and three bytes. An off-by-one at either edge
  // changes these bytes.
  EXPECT_EQ(storePacked({254, 255, 256, 257}), (Data{1, 2, 254, 255, 2, 2, 0x01, 0x00, 0x01, 0x01}));
  EXPECT_EQ(storePacked({65534, 65535, 65536, 65537}),
            (Data{2, 2, 0xFF, 0xFE, 0xFF, 0xFF, 3, 2, 0x01, 0x00, 0x00, 0x01, 0x00, 0x01}));
  // Crossing both edges in one list, and narrower values staying in a wide run.
  EXPECT_EQ(storePacked({255, 256, 65535, 65536, 255}),
            (Data{1, 1, 255, 2, 2, 0x01, 0x00, 0xFF, 0xFF, 3, 2, 0x01, 0x00, 0x00, 0x00, 0x00, 0xFF}));
  for (const Numbers& numbers : {Numbers{254, 255, 256, 257}, Numbers{65534, 65535, 65536, 65537},
                                 Numbers{256, 255, 65536, 65535}, Numbers{255, 256, 65535, 65536, 255}})
    EXPECT_EQ(unpackStored(storePacked(numbers)), numbers);
  // Child lists go through differences: steps of 255 and 256, 65535 and 65536.
  Numbers ascending{0, 255, 511, 66046, 131582};
  EXPECT_EQ(PackedNumbers::unpackStoredDeltas(PackedNumbers::storePackedDeltas(ascending)), ascending);
}

TEST(PackedNumbers, DamagedRunsStopTheReadingWithWhatWasRead) {
  // Width bytes 0 and 5 end the reading at once.
  EXPECT_EQ(unpackStored(Data{1, 2, 9, 8, 0, 1, 4}), (Numbers{9, 8}));
  EXPECT_EQ(unpackStored(Data{1, 1, 9, 5, 1, 1, 2, 3, 4, 5}), (Numbers{9}));
  EXPECT_EQ(unpackStored(Data{0, 1, 4}), Numbers{});
  // A run that claims more than remains.
  EXPECT_EQ(unpackStored(Data{1, 1, 6, 2, 3, 0, 1, 0, 2}), (Numbers{6}));
  // A dangling width byte at the end.
  EXPECT_EQ(unpackStored(Data{1, 1, 6, 1}), (Numbers{6}));
  // Sizes 1 and 2 are single numbers whatever the bytes.
  EXPECT_EQ(unpackStored(Data{0}), (Numbers{0}));
  EXPECT_EQ(unpackStored(Data{5, 0}), (Numbers{0x500}));
}

TEST(PackedNumbers, DeltaListsRoundTripAndStaySmall) {
  EXPECT_EQ(PackedNumbers::differential({}), Numbers{});
  EXPECT_EQ(PackedNumbers::differential({42}), Numbers{42});
  EXPECT_EQ(PackedNumbers::differential({3, 5, 5, 1000}), (Numbers{3, 2, 0, 995}));
  EXPECT_EQ(PackedNumbers::inverseDifferential({3, 2, 0, 995}), (Numbers{3, 5, 5, 1000}));
  Numbers ids;
  for (std::uint32_t i = 100000; i < 100600; ++i) ids.push_back(i);
  Data packed = PackedNumbers::storePackedDeltas(ids);
  // The first number needs 3 bytes and its run keeps that width for 255
  // numbers; the deltas after it take one byte each.
  EXPECT_EQ(packed.size(), (2u + 255 * 3) + (2 + 255) + (2 + 90));
  EXPECT_EQ(PackedNumbers::unpackStoredDeltas(packed), ids);
  // Damaged delta lists wrap instead of faulting.
  EXPECT_EQ(PackedNumbers::inverseDifferential({0xFFFFFFFF, 2}), (Numbers{0xFFFFFFFF, 1}));
}

TEST(PackedNumbersDeathTest, ADescendingDeltaListIsAProgrammingFault) {
  EXPECT_DEATH(PackedNumbers::differential({5, 4}), "does not ascend");
}

}  // namespace
}  // namespace velmora
