#include "search/FileSystemSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>

#include "query/QueryContainer.h"
#include "search/FSUtilities.h"
#include "support/OrdinaryTemp.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

using test::OrdinaryTemp;

class Recorder : public SearchDataSourceDelegate {
 public:
  bool shouldStop() const override { return stop; }
  bool wantsInvisibleItems() const override { return invisible; }
  void searchResults(std::vector<SearchResult> results, SearchDataSource&) override {
    if (onResult) onResult(results.front().path);
    std::lock_guard guard(mutex);
    for (auto& r : results) paths.push_back(r.path);
    if (stopAfter && paths.size() >= stopAfter) stop = true;
  }
  void searchDataSourceProgress(std::int64_t) override {}
  void searchDataSourceProgress(SearchDataSource&, std::int64_t total, const std::string&) override {
    lastProgress = total;
  }
  void searchingInsideFile(const std::string&, bool, int) override {}
  void searchInvalidQuery() override {}

  std::vector<std::string> sorted() {
    std::lock_guard guard(mutex);
    auto copy = paths;
    std::sort(copy.begin(), copy.end());
    return copy;
  }
  std::atomic<bool> stop{false};
  bool invisible = false;
  std::size_t stopAfter = 0;
  std::function<void(const std::string&)> onResult;
  std::atomic<std::int64_t> lastProgress{0};
  std::mutex mutex;
  std::vector<std::string> paths;
};

struct Tree {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("walk");
  std::string r = root.string();
  Tree() {
    for (const char* file : {"report.txt", "a/Report-2.doc", "a/b/report3", "a/b/c/report4", "a/b/c/d/report5",
                             ".hidden/report.txt", "x/other.txt", "Backups.backupdb/report.old", "m/report.m"})
      test::writeFile(root / file);
    fs::create_directory(root / "a/reporting");
  }
};

std::vector<std::string> under(const std::string& root, std::vector<std::string> relative) {
  for (auto& r : relative) r = root + "/" + r;
  std::sort(relative.begin(), relative.end());
  return relative;
}

TEST(FileSystemSearch, WalksBreadthFirstReportingNamesThatMatch) {
  Tree tree;
  FSUtilities fsu(PathConventions::linux(), {}, [&] {
    return VolumeTable({{"/", "/dev/sda1", "ext4"}, {tree.r + "/m", "/dev/sdb1", "vfat"}});
  });
  auto search = std::make_shared<FileSystemSearch>(fsu, nullptr);
  QueryContainer query("report", SearchLocation::fromURLs({tree.r}, {}));
  Recorder handler;
  search->search(query, handler);
  // No hidden folder, no backup folder, no other file system entered.
  EXPECT_EQ(handler.sorted(), under(tree.r, {"a/Report-2.doc", "a/b/c/d/report5", "a/b/c/report4",
                                             "a/b/report3", "a/reporting", "report.txt"}));
  // Folders found: .hidden a x Backups.backupdb m, a/b a/reporting, b/c, c/d.
  EXPECT_EQ(search->numberOfDirecoriesSearched(), 9);
  EXPECT_EQ(handler.lastProgress, 9);
  EXPECT_TRUE(FileSystemSearch::shouldSkip("/Volumes/X/Backups.backupdbx/y", {}, search->skipIncludes()));

  Recorder invisible;
  invisible.invisible = true;
  FileSystemSearch(fsu, nullptr).search(query, invisible);
  EXPECT_EQ(invisible.sorted().size(), 7u);  // the hidden folder is entered now
}

TEST(FileSystemSearch, DepthCountsFromTheDiskRoot) {
  Tree tree;
  FSUtilities fsu(PathConventions::linux(), {}, [&] {
    return VolumeTable({{"/", "/dev/sda1", "ext4"}, {tree.r, "/dev/sdb1", "ext4"}});
  });
  QueryContainer query("report : max depth 1", SearchLocation::fromURLs({tree.r}, {}));
  Recorder handler;
  FileSystemSearch(fsu, nullptr).search(query, handler);
  // The root and its first-level folders are listed; a/b is not entered.
  EXPECT_EQ(handler.sorted(), under(tree.r, {"a/Report-2.doc", "a/reporting", "m/report.m", "report.txt"}));
}

TEST(FileSystemSearch, StopsAndCancels) {
  Tree tree;
  FSUtilities fsu(PathConventions::linux(), {}, [] { return VolumeTable({{"/", "/dev/sda1", "ext4"}}); });
  QueryContainer query("report", SearchLocation::fromURLs({tree.r}, {}));

  Recorder stopping;
  stopping.stopAfter = 1;
  FileSystemSearch stopped(fsu, nullptr);
  stopped.search(query, stopping);
  EXPECT_EQ(stopping.sorted().size(), 1u);

  Recorder handler;
  FileSystemSearch canceled(fsu, nullptr);
  canceled.searchShouldStop();
  canceled.search(query, handler);
  EXPECT_TRUE(handler.sorted().empty());
  EXPECT_TRUE(canceled.userCanceled());

  QueryContainer nowhere("report");
  FileSystemSearch none(fsu, nullptr);
  none.search(nowhere, handler);
  EXPECT_TRUE(none.iteratedDisks().empty());
}

TEST(FileSystemSearch, AFolderThatVanishesDuringTheWalkIsPassedOver) {
  Tree tree;
  FSUtilities fsu(PathConventions::linux(), {}, [] { return VolumeTable({{"/", "/dev/sda1", "ext4"}}); });
  QueryContainer query("report", SearchLocation::fromURLs({tree.r}, {}));
  Recorder handler;
  // The root's own listing names "a"; it is gone before its turn comes.
  handler.onResult = [&](const std::string& path) {
    if (path == tree.r + "/report.txt") fs::remove_all(tree.root / "a");
  };
  FileSystemSearch(fsu, nullptr).search(query, handler);
  EXPECT_EQ(handler.sorted(), under(tree.r, {"m/report.m", "report.txt"}));
}

TEST(FileSystemSearch, EachDiskOfOneSearchIsWalkedWithItsOwnSkipPaths) {
  Tree tree;
  // "m" is another file system below the first disk: the walk of the tree
  // stays out of it, and the walk of "m" itself, later in the same search,
  // goes in.
  std::string second = tree.r + "/m";
  FSUtilities fsu(PathConventions::linux(), {}, [&] {
    return VolumeTable({{"/", "/dev/sda1", "ext4"}, {second, "/dev/sdb1", "ext4"}});
  });
  QueryContainer query("report", SearchLocation::fromURLs({tree.r, second}, {}));
  Recorder handler;
  FileSystemSearch search(fsu, nullptr);
  search.search(query, handler);
  EXPECT_EQ(search.iteratedDisks(), (std::vector<std::string>{tree.r, second}));
  auto found = handler.sorted();
  EXPECT_EQ(std::count(found.begin(), found.end(), second + "/report.m"), 1) << ::testing::PrintToString(found);
  EXPECT_EQ(std::count(found.begin(), found.end(), tree.r + "/report.txt"), 1);
  EXPECT_TRUE(search.skipPaths().empty());  // nothing below "m" is skipped

  // The same on the platform with "/Volumes": a disk's skip paths are its own.
  FSUtilities mac(PathConventions::macOS(), {}, [] { return VolumeTable(); });
  std::string inner = tree.r + "/a";
  FileSystemSearch macSearch(mac, nullptr);
  Recorder macHandler;
  macSearch.search(QueryContainer("zzz", SearchLocation::fromURLs({tree.r, inner}, {})), macHandler);
  auto skip = macSearch.skipPaths();
  ASSERT_EQ(skip.size(), 3u);
  EXPECT_EQ(skip[0], inner + "/Volumes");
}

TEST(FileSystemSearch, ADiskMountedInsideASystemFolderIsWalkedAndItsResultsPass) {
  Tree tree;
  // The tree's parent plays "/run": a system folder holding a user's disk
  // mounted at <parent>/media/ann/DISK, beside a "/var"-like system volume.
  auto conventions = PathConventions::linux();
  std::string parent = tree.root.parent_path().string();
  conventions.osDirectoryPrefixes.push_back(parent);
  std::string disk = tree.r;
  std::string systemVolume = parent + "/sysvol";
  conventions.systemVolumeFolders.push_back(systemVolume);
  FSUtilities fsu(conventions, {}, [&] {
    return VolumeTable({{"/", "/dev/sda1", "ext4"}, {disk, "/dev/sdb1", "ext4"}, {systemVolume, "/dev/sdc1", "ext4"}});
  });
  EXPECT_FALSE(fsu.isInsideOSDirectory(disk));
  EXPECT_FALSE(fsu.isInsideOSDirectory(disk + "/a/report"));
  EXPECT_TRUE(fsu.isInsideOSDirectory(disk + "/usr/lib"));  // judged within the disk
  EXPECT_TRUE(fsu.isInsideOSDirectory(parent + "/other"));
  EXPECT_TRUE(fsu.isInsideOSDirectory(systemVolume + "/x"));

  QueryContainer query("report", SearchLocation::fromURLs({disk}, {}));
  Recorder handler;
  FileSystemSearch(fsu, nullptr).search(query, handler);
  EXPECT_EQ(handler.sorted(), under(tree.r, {"a/Report-2.doc", "a/b/c/d/report5", "a/b/c/report4", "a/b/report3",
                                             "a/reporting", "m/report.m", "report.txt"}));
}

}  // namespace
}  // namespace velmora
