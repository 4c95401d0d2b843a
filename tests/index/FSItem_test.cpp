#include "index/store/FSItem.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

FSItem sample() {
  FSItem item;
  item.fsid = 0x01020304;
  item.parentID = 7;
  item.type = FSItem::Type::file;
  item.creationDate = -2;
  item.modificationDate = 785000000;
  item.name = "né.txt";
  item.size = 0x0102030405060708;
  return item;
}

TEST(FSItem, RecordLayoutIsLittleEndianWithNameAndVersion) {
  Data bytes = sample().encoded();
  Data expected{0x04, 0x03, 0x02, 0x01,  // fsid
                0x07, 0x00, 0x00, 0x00,  // parentID
                0x01,                    // file
                0xFE, 0xFF, 0xFF, 0xFF,  // creationDate -2
                0x40, 0x26, 0xCA, 0x2E,  // 785000000
                0x07, 0x00,              // name length (UTF-8 bytes)
                'n',  0xC3, 0xA9, '.',  't', 'x', 't',
                0x01,  // version
                0x08, 0x07, 0x06, 0x05, 0x04, 0x03, 0x02, 0x01};
  EXPECT_EQ(bytes, expected);
  EXPECT_EQ(FSItem::decode(bytes), sample());
}

TEST(FSItem, ShortFormsAreLegalAndBrokenRecordsAreAbsent) {
  Data full = sample().encoded();
  const std::size_t nameEnd = 19 + 7;
  // Ends right after the name: version 0, size -1.
  auto noVersion = FSItem::decode(ByteView(full).first(nameEnd));
  ASSERT_TRUE(noVersion);
  EXPECT_EQ(noVersion->version, 0);
  EXPECT_EQ(noVersion->size, -1);
  EXPECT_EQ(noVersion->name, "né.txt");
  // Ends after the version, or inside the size: size -1.
  for (std::size_t cut : {nameEnd + 1, nameEnd + 5}) {
    auto noSize = FSItem::decode(ByteView(full).first(cut));
    ASSERT_TRUE(noSize);
    EXPECT_EQ(noSize->version, 1);
    EXPECT_EQ(noSize->size, -1);
  }
  // Ends inside the name or the header.
  for (std::size_t cut : {std::size_t{0}, std::size_t{3}, std::size_t{18}, nameEnd - 1})
    EXPECT_FALSE(FSItem::decode(ByteView(full).first(cut))) << cut;

  Data badType = full;
  badType[8] = 2;
  EXPECT_FALSE(FSItem::decode(badType));
  Data badName = full;
  badName[19] = 0xFF;
  EXPECT_FALSE(FSItem::decode(badName));
  FSItem emptyName = sample();
  emptyName.name.clear();
  EXPECT_FALSE(FSItem::decode(emptyName.encoded()));

  FSItem folder = sample();
  folder.type = FSItem::Type::directory;
  folder.size = 0;
  EXPECT_EQ(FSItem::decode(folder.encoded()), folder);

  // A 4-byte ID counter in the same group is not an item.
  EXPECT_FALSE(FSItem::decode(Data{1, 0, 0, 0}));
}

TEST(FSItem, NamesThatAreNotUTF8AreStoredAsUnknown) {
  FSItem item = sample();
  item.name = std::string("bad\xFF", 4);
  auto decoded = FSItem::decode(item.encoded());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->name, "Unknown");
}

TEST(FSItemDeathTest, OutOfRangeFieldsAreProgrammingFaults) {
  FSItem item = sample();
  item.fsid = 0x80000000u;
  EXPECT_DEATH(item.encoded(), "fsid");
  item = sample();
  item.name.assign(65536, 'a');
  EXPECT_DEATH(item.encoded(), "name too long");
}

TEST(FSItem, DateToInt32FloorsAndGivesZeroOutsideTheRange) {
  EXPECT_EQ(dateToInt32(std::nullopt), 0);
  EXPECT_EQ(dateToInt32(dateFromReferenceSeconds(12.9)), 12);
  EXPECT_EQ(dateToInt32(dateFromReferenceSeconds(-0.5)), -1);
  EXPECT_EQ(dateToInt32(dateFromReferenceSeconds(2147483647.0)), 2147483647);
  EXPECT_EQ(dateToInt32(dateFromReferenceSeconds(2147483648.0)), 0);
  EXPECT_EQ(dateToInt32(dateFromReferenceSeconds(-2147483649.0)), 0);
}

}  // namespace
}  // namespace velmora
