#include "index/ContentIndex.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "index/store/IndexKeys.h"
#include "index/store/PackedNumbers.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

FSItem makeItem(std::uint32_t id, std::uint32_t parent, std::string name, bool folder = false) {
  FSItem item;
  item.fsid = id;
  item.parentID = parent;
  item.type = folder ? FSItem::Type::directory : FSItem::Type::file;
  item.creationDate = 1000 + static_cast<std::int32_t>(id);
  item.modificationDate = 2000 + static_cast<std::int32_t>(id);
  item.name = std::move(name);
  item.size = folder ? 0 : 10 * id;
  return item;
}

class ContentIndexTest : public ::testing::Test {
 protected:
  test::TempHome home;
  ContentIndex index{home.path() / "Documents.vlcache", "Documents"};
  void SetUp() override {
    ASSERT_TRUE(index.open().ok());
    // /data/docs/{a, b/, b/c, b/d/, b/d/e}
    ASSERT_TRUE(index.write(makeItem(1, 0, "a")).ok());
    ASSERT_TRUE(index.write(makeItem(2, 0, "b", true)).ok());
    ASSERT_TRUE(index.write(makeItem(3, 2, "c")).ok());
    ASSERT_TRUE(index.write(makeItem(4, 2, "d", true)).ok());
    ASSERT_TRUE(index.write(makeItem(5, 4, "e")).ok());
  }
  void TearDown() override { index.close(); }
};

TEST_F(ContentIndexTest, ItemsAndChildListsFindTheirWayBothWays) {
  EXPECT_EQ(index.loadChildIds(0).value(), (std::vector<std::uint32_t>{1, 2}));
  EXPECT_EQ(index.loadChildIds(2).value(), (std::vector<std::uint32_t>{3, 4}));
  EXPECT_TRUE(index.loadChildIds(5).value().empty());
  EXPECT_EQ(index.loadItem(3).value(), makeItem(3, 2, "c"));
  // The child list row is the packed delta list.
  EXPECT_EQ(index.db()->getData("C", "2"), PackedNumbers::storePacked({3, 1}));

  EXPECT_EQ(index.findID("/").value(), 0u);
  EXPECT_EQ(index.findID("b/d/e").value(), 5u);
  EXPECT_EQ(index.findID("b/x").value(), std::nullopt);
  EXPECT_EQ(index.pathFor(5), "b/d/e");
  EXPECT_EQ(index.pathFor(0), std::nullopt);

  index.documentInfo.suggestedTarget = "/data/docs";
  EXPECT_EQ(index.pathParts("/data/docs/b/d/"), (std::vector<std::string>{"b", "d"}));
  EXPECT_EQ(index.findID("/data/docs").value(), 0u);
  EXPECT_EQ(index.findID("/data/docs/b/d/e").value(), 5u);
  EXPECT_EQ(index.pathFor(5), "/data/docs/b/d/e");
  index.documentInfo.suggestedTarget = "/";
  EXPECT_EQ(index.pathFor(1), "/a");

  // An empty child list reads as no children; a missing child is passed over.
  ASSERT_TRUE(index.saveChildIds(4, {}).ok());
  EXPECT_EQ(index.db()->getData("C", "4"), Data{});
  EXPECT_TRUE(index.loadFolderContents(4).value().empty());
  ASSERT_TRUE(index.saveChildIds(2, {3, 4, 99}).ok());
  auto contents = index.loadFolderContents(2).value();
  EXPECT_EQ(contents.size(), 2u);
  EXPECT_EQ(contents.at("d").fsid, 4u);
}

TEST_F(ContentIndexTest, FolderCacheStaysCorrectBeyondItsCapacity) {
  // 70 folders of two files each, where the later of two equal names wins.
  std::uint32_t next = 10;
  for (std::uint32_t f = 0; f < 70; ++f) {
    std::uint32_t folder = next++;
    ASSERT_TRUE(index.write(makeItem(folder, 0, "f" + std::to_string(f), true)).ok());
    ASSERT_TRUE(index.write(makeItem(next++, folder, "same")).ok());
    ASSERT_TRUE(index.write(makeItem(next++, folder, "same")).ok());
  }
  for (int round = 0; round < 2; ++round) {
    for (std::uint32_t f = 0; f < 70; ++f) {
      std::uint32_t folder = 10 + 3 * f;
      auto contents = index.loadFolderContents(folder).value();
      ASSERT_EQ(contents.size(), 1u);
      EXPECT_EQ(contents.at("same").fsid, folder + 2);
      EXPECT_EQ(index.findID("f" + std::to_string(f) + "/same").value(), folder + 2);
    }
  }
  // Writing a folder forgets its parent's cached contents.
  EXPECT_EQ(index.loadFolderContents(0).value().count("new"), 0u);
  ASSERT_TRUE(index.write(makeItem(1000, 0, "new", true)).ok());
  EXPECT_EQ(index.loadFolderContents(0).value().count("new"), 1u);
}

TEST_F(ContentIndexTest, WordsLoseDeadDocumentsWhenWritten) {
  ASSERT_TRUE(index.saveDeadIds({3, 9, 3}).ok());
  EXPECT_EQ(index.loadDeadIds().value(), (std::vector<std::uint32_t>{3, 9}));
  std::map<std::string, WordContainer> words;
  words.emplace("budget", WordContainer("budget", 3, 4));
  words.at("budget").add(5, 2);
  words.emplace("report", WordContainer("report", 9, 1));
  ASSERT_TRUE(index.write(words).ok());
  auto budget = index.findExact("budget").value();
  ASSERT_TRUE(budget);
  EXPECT_EQ(budget->documentIDs(), (std::map<std::uint32_t, std::uint16_t>{{5, 3}}));
  auto report = index.findExact("report").value();
  ASSERT_TRUE(report);
  EXPECT_TRUE(report->documentIDs().empty());
  EXPECT_FALSE(index.findExact("missing").value());
}

TEST_F(ContentIndexTest, DocumentInfoIsJSONInKeyOrderAndOpensNest) {
  EXPECT_EQ(index.openCount(), 1);
  index.targetURL = "/data/my docs";
  index.documentInfo.lastUpdated = dateFromReferenceSeconds(785000000);
  index.documentInfo.lastIndexMode = ContentIndexMode::textDocuments;
  index.documentInfo.numberOfFSItems = 5;
  ASSERT_TRUE(index.saveDocumentInfo().ok());
  EXPECT_EQ(index.openCount(), 1);
  auto stored = index.db()->get<std::string>("D", "documentInfo");
  ASSERT_TRUE(stored);
  EXPECT_EQ(*stored,
            R"({"suggestedTarget":"file:///data/my%20docs/","lastUpdated":785000000,"numberOfFSItems":5,)"
            R"("lastIndexMode":1,"isDirty":false})");

  ContentIndex other(index.localDBFile);
  other.documentInfo.diskKey = "kept";  // a missing record would leave this
  ASSERT_TRUE(other.loadDocumentInfo().ok());
  EXPECT_EQ(other.openCount(), 0);
  EXPECT_EQ(other.documentInfo.suggestedTarget, "/data/my docs");
  EXPECT_EQ(other.documentInfo.lastIndexMode, ContentIndexMode::textDocuments);
  EXPECT_FALSE(other.documentInfo.diskKey);
  EXPECT_FALSE(other.documentInfo.isDirty);

  // Other writers' JSON: any spacing, escaped slashes, fractions, extra keys.
  auto info = DocumentInfo::fromJSON(
      R"({ "isDirty" : true, "lastIndexMode" : 2, "lastUpdated" : 12.5, "extra": [1],
           "suggestedTarget" : "file:\/\/\/Volumes\/Disk\/", "diskKey" : "k" })");
  ASSERT_TRUE(info);
  EXPECT_EQ(info->suggestedTarget, "/Volumes/Disk");
  EXPECT_EQ(info->lastIndexMode, ContentIndexMode::ocrAndTextDocuments);
  EXPECT_DOUBLE_EQ(secondsSinceReferenceDate(info->lastUpdated), 12.5);
  EXPECT_EQ(info->diskKey, "k");
  std::string error;
  EXPECT_FALSE(DocumentInfo::fromJSON(R"({"lastUpdated":1,"lastIndexMode":3,"isDirty":false})", &error));
  EXPECT_NE(error.find("lastIndexMode"), std::string::npos);
  EXPECT_FALSE(DocumentInfo::fromJSON(R"({"lastIndexMode":0,"isDirty":false})"));
  EXPECT_FALSE(DocumentInfo::fromJSON("[1,"));

  index.db()->put(std::string("{\"lastUpdated\":1}"), "D", "documentInfo");
  EXPECT_EQ(other.loadDocumentInfo().code(), Status::Code::corruption);
  EXPECT_EQ(other.openCount(), 0);
}

}  // namespace
}  // namespace velmora
