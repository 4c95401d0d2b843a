#include "search/BulkRecordParser.h"

#include <gtest/gtest.h>

#include <cstring>

namespace velmora {
namespace {

using P = BulkRecordParser;

// Builds one record as the bulk read lays it out: length, the five returned
// masks, the name reference, then the fields whose bits are set, packed.
struct RecordBuilder {
  std::uint32_t common = P::ATTR_CMN_RETURNED_ATTRS | P::ATTR_CMN_NAME;
  std::uint32_t file = 0;
  std::string name = "entry";
  std::int32_t fsid[2] = {7, 9};
  std::uint32_t type = P::VREG;
  std::uint32_t objectNumber = 1234;
  std::int64_t times[3][2] = {{100, 1}, {200, 2}, {300, 3}};
  std::uint64_t fileID = 98765;
  std::int64_t size = 4096;

  template <typename T>
  static void put(std::string& out, T value) {
    out.append(reinterpret_cast<const char*>(&value), sizeof value);
  }

  std::string build() const {
    std::string fixed;
    for (std::uint32_t mask : {common, 0u, 0u, file, 0u}) put(fixed, mask);
    std::size_t referenceAt = 0;
    if (common & P::ATTR_CMN_NAME) {
      referenceAt = 4 + fixed.size();
      put(fixed, std::int32_t{0});
      put(fixed, std::uint32_t(name.size() + 1));
    }
    if (common & P::ATTR_CMN_FSID) put(fixed, fsid[0]), put(fixed, fsid[1]);
    if (common & P::ATTR_CMN_OBJTYPE) put(fixed, type);
    if (common & P::ATTR_CMN_OBJID) put(fixed, objectNumber), put(fixed, std::uint32_t{5});
    if (common & P::ATTR_CMN_CRTIME) put(fixed, times[0][0]), put(fixed, times[0][1]);
    if (common & P::ATTR_CMN_MODTIME) put(fixed, times[1][0]), put(fixed, times[1][1]);
    if (common & P::ATTR_CMN_ACCTIME) put(fixed, times[2][0]), put(fixed, times[2][1]);
    if (common & P::ATTR_CMN_FILEID) put(fixed, fileID);
    if (file & P::ATTR_FILE_TOTALSIZE) put(fixed, size);
    std::string record;
    put(record, std::uint32_t(4 + fixed.size() + name.size() + 1));
    record += fixed;
    if (common & P::ATTR_CMN_NAME) {
      std::int32_t offset = std::int32_t(record.size() - referenceAt);
      std::memcpy(record.data() + referenceAt, &offset, sizeof offset);
    }
    record += name;
    record += '\0';
    return record;
  }
};

std::vector<FSItemAndAttrs> parse(const std::string& buffer, int count, P::Result* result = nullptr) {
  std::vector<FSItemAndAttrs> items;
  auto r = P::parse(reinterpret_cast<const unsigned char*>(buffer.data()), buffer.size(), count, "/d", items);
  if (result) *result = r;
  return items;
}

TEST(BulkRecordParser, ReadsEveryFieldFollowingEachRecordsOwnMasks) {
  RecordBuilder full;
  full.common = P::requestedCommonMask;
  full.file = P::ATTR_FILE_TOTALSIZE;
  // No fsid: every later field moves up by 8 bytes.
  RecordBuilder noFSID = full;
  noFSID.common &= ~P::ATTR_CMN_FSID;
  noFSID.name = "second";
  auto items = parse(full.build() + noFSID.build(), 2);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[0].fullPath, "/d/entry");
  EXPECT_EQ(items[0].fileSystem->val[1], 9);
  EXPECT_EQ(items[0].object, 98765u);  // the file id replaces the object number
  EXPECT_EQ(items[0].createTime.tv_sec, 100);
  EXPECT_EQ(items[0].accessTime.tv_nsec, 3);
  EXPECT_EQ(items[0].fileSize, 4096u);
  EXPECT_FALSE(items[1].fileSystem);
  EXPECT_EQ(items[1].modifyTime.tv_sec, 200);
  EXPECT_EQ(items[1].object, 98765u);
  EXPECT_EQ(items[1].fileSize, 4096u);
}

TEST(BulkRecordParser, ObjectIdentityTypesAndSizes) {
  RecordBuilder objectOnly;
  objectOnly.common = P::ATTR_CMN_RETURNED_ATTRS | P::ATTR_CMN_NAME | P::ATTR_CMN_OBJTYPE | P::ATTR_CMN_OBJID;
  RecordBuilder neither;
  neither.common = P::ATTR_CMN_RETURNED_ATTRS | P::ATTR_CMN_NAME;  // no type: kept, not a folder
  RecordBuilder link = objectOnly;
  link.type = 5;
  RecordBuilder folder = objectOnly;
  folder.type = P::VDIR;
  folder.file = P::ATTR_FILE_TOTALSIZE;
  auto items = parse(objectOnly.build() + neither.build() + link.build() + folder.build(), 4);
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[0].object, 1234u);
  EXPECT_FALSE(items[1].object);
  EXPECT_FALSE(items[1].isDirectory);
  EXPECT_TRUE(items[2].isDirectory);
  EXPECT_EQ(items[2].fileSize, 0u);
}

TEST(BulkRecordParser, DamagedBuffersKeepWhatCameBefore) {
  RecordBuilder good;
  RecordBuilder bad;
  bad.name = "caf\xC3";  // cut in the middle of a character
  std::string buffer = good.build() + bad.build();
  auto items = parse(buffer, 2);
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[1].name, "caf\xEF\xBF\xBD");

  P::Result result;
  items = parse(buffer.substr(0, buffer.size() - 3), 2, &result);  // the second runs past the end
  EXPECT_EQ(items.size(), 1u);
  EXPECT_FALSE(result.complete);

  items = parse(good.build(), 5, &result);  // claims more records than there are
  EXPECT_EQ(items.size(), 1u);
  EXPECT_FALSE(result.complete);

  RecordBuilder negative;
  negative.file = P::ATTR_FILE_TOTALSIZE;
  negative.size = -1;
  EXPECT_TRUE(parse(negative.build(), 1).empty());

  std::string tiny(4, '\0');  // a zero length would loop forever
  EXPECT_TRUE(parse(tiny, 1, &result).empty());
  EXPECT_FALSE(result.complete);
}

}  // namespace
}  // namespace velmora
