#include "index/ContentIndexBuilder.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "index/IndexMirror.h"
#include "index/store/IndexKeys.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

// Words from the file's own text, split at spaces: enough to see which
// documents a build asks for and what lands in the containers.
class SpaceSplitWords : public DocumentWordSource {
 public:
  Result<Words> wordsInFile(const std::string& path, bool) override {
    asked.push_back(path);
    Words words;
    std::ifstream in(path);
    std::string word;
    while (in >> word) ++words[word];
    return words;
  }
  std::vector<std::string> asked;
};

void setModified(const fs::path& file, std::int64_t secondsSince1970) {
  timespec times[2] = {{0, UTIME_OMIT}, {static_cast<time_t>(secondsSince1970), 0}};
  ASSERT_EQ(::utimensat(AT_FDCWD, file.c_str(), times, AT_SYMLINK_NOFOLLOW), 0);
}

class ContentIndexBuilderTest : public ::testing::Test {
 protected:
  test::TempHome home;
  fs::path tree = home.tree("docs");
  ContentIndex index{home.path() / "docs.vlcache", "docs"};
  SpaceSplitWords words;
  test::ManualClock clock;

  ContentIndexBuilder builder() {
    ContentIndexBuilder::Options options;
    options.clock = &clock;
    options.words = &words;
    options.skipFolders = std::vector<std::string>{};
    return ContentIndexBuilder(index, options);
  }
  Status build(ContentIndexBuilder& b, ContentIndexMode mode) {
    index.targetURL = tree.string();
    return b.build({tree.string()}, false, mode);
  }
  std::optional<std::uint32_t> idOf(const std::string& relative) {
    EXPECT_TRUE(index.open().ok());
    auto id = index.findID((tree / relative).string());
    index.close();
    return id ? *id : std::nullopt;
  }
  std::vector<std::uint32_t> documentsOf(const std::string& word) {
    EXPECT_TRUE(index.open().ok());
    auto container = index.findExact(word);
    std::vector<std::uint32_t> ids;
    if (container && *container)
      for (const auto& [id, count] : (*container)->documentIDs()) ids.push_back(id);
    auto dead = index.loadDeadIds();
    index.close();
    return ids;
  }
};

TEST_F(ContentIndexBuilderTest, UpdatesWriteOnlyWhatChangedAndRemoveWhatVanished) {
  test::writeFile(tree / "a.txt", "alpha beta");
  test::writeFile(tree / "sub/b.txt", "beta gamma");
  test::writeFile(tree / "sub/deeper/c.txt", "gamma");
  test::writeFile(tree / "gone/x.txt", "delta");
  test::writeFile(tree / "gone/inner/y.txt", "delta");
  test::writeFile(tree / "bad:name.txt", "colon");
  test::writeFile(tree / "line\nbreak.txt", "newline");
  for (const char* f : {"a.txt", "sub/b.txt", "sub/deeper/c.txt", "gone/x.txt", "gone/inner/y.txt"})
    setModified(tree / f, 1600000000);

  auto first = builder();
  ASSERT_TRUE(build(first, ContentIndexMode::textDocuments).ok());
  EXPECT_EQ(first.counts().itemsSeen, 5u);
  EXPECT_EQ(first.counts().importCalls, 5u);
  EXPECT_FALSE(idOf("bad:name.txt"));
  EXPECT_FALSE(idOf("line\nbreak.txt"));
  EXPECT_TRUE(documentsOf("colon").empty());
  auto oldA = idOf("a.txt");
  ASSERT_TRUE(oldA);
  EXPECT_EQ(documentsOf("alpha"), std::vector<std::uint32_t>{*oldA});
  EXPECT_EQ(index.documentInfo.numberOfFSItems, 5);
  EXPECT_EQ(index.documentInfo.lastIndexMode, ContentIndexMode::textDocuments);
  EXPECT_EQ(index.state, ContentIndexLMDBState::none);

  // Unchanged: no item writes, no import calls.
  words.asked.clear();
  auto second = builder();
  ASSERT_TRUE(build(second, ContentIndexMode::textDocuments).ok());
  EXPECT_EQ(second.counts().itemsWritten, 0u);
  EXPECT_EQ(second.counts().itemsRemoved, 0u);
  EXPECT_TRUE(words.asked.empty());

  // A new date gives a new ID and a dead old one, which the containers lose;
  // a removed folder goes with everything below it.
  test::writeFile(tree / "a.txt", "alpha omega");
  setModified(tree / "a.txt", 1700000000);
  auto goneX = idOf("gone/x.txt"), goneY = idOf("gone/inner/y.txt");
  fs::remove_all(tree / "gone");
  auto third = builder();
  ASSERT_TRUE(build(third, ContentIndexMode::textDocuments).ok());
  EXPECT_EQ(words.asked, std::vector<std::string>{(tree / "a.txt").string()});
  auto newA = idOf("a.txt");
  ASSERT_TRUE(newA);
  EXPECT_NE(*newA, *oldA);
  EXPECT_EQ(documentsOf("alpha"), std::vector<std::uint32_t>{*newA});
  EXPECT_EQ(documentsOf("omega"), std::vector<std::uint32_t>{*newA});
  EXPECT_FALSE(idOf("gone"));
  ASSERT_TRUE(index.open().ok());
  auto dead = index.loadDeadIds().value();
  EXPECT_TRUE(std::count(dead.begin(), dead.end(), *oldA));
  EXPECT_TRUE(std::count(dead.begin(), dead.end(), *goneX));
  EXPECT_TRUE(std::count(dead.begin(), dead.end(), *goneY));
  EXPECT_FALSE(index.loadItem(*goneY).value());
  EXPECT_EQ(index.pathFor(*newA), (tree / "a.txt").string());
  index.close();
  // "delta" lived only in the removed files: its container is written again
  // only when touched, so it may still name them; a search drops IDs without
  // records. Mode "off" keeps no dead list.
  auto names = builder();
  fs::remove(tree / "sub/b.txt");
  ASSERT_TRUE(build(names, ContentIndexMode::off).ok());
  EXPECT_FALSE(idOf("sub/b.txt"));
  ASSERT_TRUE(index.open().ok());
  EXPECT_EQ(index.loadDeadIds().value(), dead);
  index.close();

  // A file that became a folder is entered; a folder that became a file
  // loses what was below it.
  fs::remove(tree / "a.txt");
  test::writeFile(tree / "a.txt/inside.txt", "epsilon");
  fs::remove_all(tree / "sub/deeper");
  test::writeFile(tree / "sub/deeper", "zeta");
  auto swapped = builder();
  ASSERT_TRUE(build(swapped, ContentIndexMode::textDocuments).ok());
  auto inside = idOf("a.txt/inside.txt");
  ASSERT_TRUE(inside);
  EXPECT_EQ(documentsOf("epsilon"), std::vector<std::uint32_t>{*inside});
  EXPECT_FALSE(idOf("sub/deeper/c.txt"));
  ASSERT_TRUE(idOf("sub/deeper"));
  EXPECT_EQ(documentsOf("zeta"), std::vector<std::uint32_t>{*idOf("sub/deeper")});
}

TEST_F(ContentIndexBuilderTest, NamesOnlyBuildsNeedNoImportAndTextBuildsRefuseWithoutOne) {
  test::writeFile(tree / "one/two/three.txt", "x");
  ContentIndexBuilder::Options options;
  options.clock = &clock;
  options.skipFolders = std::vector<std::string>{(tree / "skipme").string()};
  test::writeFile(tree / "skipme/hidden.txt", "x");
  test::writeFile(tree / "Windows/system.txt", "x");
  ContentIndexBuilder noWords(index, options);
  index.targetURL = tree.string();
  Status refused = noWords.build({tree.string()}, false, ContentIndexMode::textDocuments);
  EXPECT_EQ(refused.code(), Status::Code::unsupported);
  EXPECT_FALSE(fs::exists(index.localDBFile));
  ASSERT_TRUE(noWords.build({tree.string()}, false, ContentIndexMode::off).ok());
  EXPECT_TRUE(idOf("one/two/three.txt"));
  EXPECT_FALSE(idOf("skipme"));
  EXPECT_FALSE(idOf("skipme/hidden.txt"));
  EXPECT_FALSE(idOf("Windows/system.txt"));
  // One, two, three.txt: the skipped folders took no IDs.
  ASSERT_TRUE(index.open().ok());
  EXPECT_EQ(index.loadLastAutoID().value(), 3u);
  index.close();

  // A failure of the file reaches the caller as a status.
  EXPECT_FALSE(index.write(FSItem{}).ok());
}

TEST_F(ContentIndexBuilderTest, UnreadableFoldersYieldNoFilesAndTheirRecordsGo) {
  if (::geteuid() == 0) GTEST_SKIP() << "root reads folders without permission";
  test::writeFile(tree / "locked/inside.txt", "x");
  test::writeFile(tree / "open.txt", "x");
  auto b = builder();
  ASSERT_TRUE(build(b, ContentIndexMode::off).ok());
  EXPECT_TRUE(idOf("locked/inside.txt"));
  fs::permissions(tree / "locked", fs::perms::none);
  ASSERT_TRUE(build(b, ContentIndexMode::off).ok());
  fs::permissions(tree / "locked", fs::perms::owner_all);
  EXPECT_TRUE(idOf("locked"));
  EXPECT_FALSE(idOf("locked/inside.txt"));
  EXPECT_TRUE(idOf("open.txt"));
}

TEST_F(ContentIndexBuilderTest, WordContainersArePurgedOnlyPast25000DeadIDs) {
  ASSERT_TRUE(index.open().ok());
  std::map<std::string, WordContainer> containers;
  containers.emplace("kept", WordContainer("kept", 30000, 1));
  containers.at("kept").add(1, 1);
  ASSERT_TRUE(index.write(containers).ok());
  std::set<std::uint32_t> dead;
  for (std::uint32_t id = 1; id <= 25000; ++id) dead.insert(id);
  ASSERT_TRUE(index.saveDeadIds(dead).ok());
  auto b = builder();
  ASSERT_TRUE(b.purgeWordContainers().ok());
  EXPECT_FALSE(b.counts().purgedWords);
  EXPECT_EQ(index.findExact("kept").value()->documentIDs().size(), 2u);
  dead.insert(25001);
  ASSERT_TRUE(index.saveDeadIds(dead).ok());
  ASSERT_TRUE(b.purgeWordContainers().ok());
  EXPECT_TRUE(b.counts().purgedWords);
  EXPECT_EQ(index.findExact("kept").value()->documentIDs(), (std::map<std::uint32_t, std::uint16_t>{{30000, 1}}));
  index.close();
}

TEST_F(ContentIndexBuilderTest, SharedCopiesMirrorUnlessBusyAndACancelRestoresThem) {
  fs::path local = home.path() / "local.vlcache", remote = home.path() / "shared/remote.vlcache";
  test::writeFile(local, "local");
  test::writeFile(remote, "remote");
  std::int64_t now = static_cast<std::int64_t>(secondsSinceReferenceDate(clock.now())) + 978307200;
  setModified(local, now - 1000);
  setModified(remote, now - 60);
  EXPECT_FALSE(IndexMirror::mirrorIfNeeded(local, remote, false, clock).value());
  EXPECT_EQ(test::readFile(local), "local");
  EXPECT_TRUE(IndexMirror::mirrorIfNeeded(local, remote, true, clock).value());
  EXPECT_EQ(test::readFile(local), "remote");
  EXPECT_FALSE(IndexMirror::mirrorIfNeeded(local, remote, true, clock).value());  // equal dates now
  test::writeFile(local, "newer");
  setModified(local, now);
  setModified(remote, now - 120);
  EXPECT_TRUE(IndexMirror::mirrorIfNeeded(local, remote, false, clock).value());
  EXPECT_EQ(test::readFile(remote), "newer");

  // A cancelled build with a shared copy ends with the shared copy's content.
  test::writeFile(tree / "f.txt", "x");
  auto b = builder();
  ASSERT_TRUE(build(b, ContentIndexMode::off).ok());
  fs::copy_file(index.localDBFile, remote, fs::copy_options::overwrite_existing);
  setModified(remote, now - 5000);
  index.remoteDBFile = remote;
  test::writeFile(tree / "new.txt", "x");
  ContentIndexBuilder::Options options;
  options.clock = &clock;
  options.skipFolders = std::vector<std::string>{};
  struct Canceller : DocumentWordSource {
    ContentIndex* index;
    Result<Words> wordsInFile(const std::string&, bool) override {
      index->shouldCancel = true;
      return Words{};
    }
  } canceller;
  canceller.index = &index;
  options.words = &canceller;
  ContentIndexBuilder cancelled(index, options);
  Status status = cancelled.build({tree.string()}, false, ContentIndexMode::ocrAndTextDocuments);
  EXPECT_EQ(status.code(), Status::Code::cancelled);
  EXPECT_EQ(test::readFile(index.localDBFile), test::readFile(remote));
  EXPECT_FALSE(idOf("new.txt"));
  EXPECT_EQ(index.documentInfo.lastIndexMode, ContentIndexMode::off);
}

}  // namespace
}  // namespace velmora
