#pragma once
#include <atomic>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "common/Lock.h"
#include "common/OperationQueue.h"
#include "common/ActivityItem.h"
#include "model/SearchDataSource.h"

namespace velmora {

class ActivityReporter;
class DirectoryIterator;
class FSUtilities;

// The data source that walks the disks themselves: breadth-first, in waves
// of at most 256 directories over two threads, one listing per directory.
// Only the cheap tests happen here (skip paths, system and invisible
// folders, location, the name test); the commands judge the rest later.
// Results are handed over one at a time as they are found.
class FileSystemSearch final : public SearchDataSource,
                               public ActivityItemCancelProtocol,
                               public std::enable_shared_from_this<FileSystemSearch> {
 public:
  // Linux has no catalog search: every disk is iterated.
  static constexpr int kCatalogSearchUnsupported = 45;
  static constexpr std::size_t kWaveSize = 256;

  // `activity` may be null (no row in the activity list).
  explicit FileSystemSearch(FSUtilities& fsUtilities, ActivityReporter* activity);
  ~FileSystemSearch() override;

  SearchResultSupplier type() const override { return SearchResultSupplier::fileSystem; }
  void search(const QueryContainer& query, SearchDataSourceDelegate& handler) override;
  void searchShouldStop() override;
  // The activity window's cancel: later directories are not entered.
  void cancel(ActivityItem& item) override;
  std::string debugDescription() const override { return "FileSystemSearch"; }

  static bool shouldSkip(const std::string& path, const std::unordered_set<std::string>& skipPaths,
                         const std::vector<std::string>& skipIncludes);

  // The catalog search; answers kCatalogSearchUnsupported here.
  int searchfs(const std::string& diskPath, const std::string& diskKey, const QueryContainer& query,
               SearchDataSourceDelegate& handler);

  // What the walk of the last disk skips (for tests and reports).
  std::vector<std::string> skipPaths() const { return skipPathList_; }
  std::vector<std::string> skipIncludes() const { return skipIncludes_; }
  std::int64_t numberOfDirecoriesSearched() const { return numberOfDirecoriesSearched_.value(); }
  bool userCanceled() const { return userCanceled_.value(); }
  // The disks taken to iteration, in order.
  std::vector<std::string> iteratedDisks() const { return iteratedDisks_; }

 private:
  void iterateDisk(const std::string& disk);
  void makeSkipPaths(const std::string& base);
  std::vector<std::string> iterate(const std::string& directoryPath, const std::string& disk);

  FSUtilities& fsUtilities_;
  ActivityReporter* activity_;
  const QueryContainer* query_ = nullptr;
  SearchDataSourceDelegate* handler_ = nullptr;
  NullSearchDataSourceDelegate nullHandler_;
  TrackableOperationQueue directoryIterationQueue_;
  std::string currentDiskKey_;
  std::string currentVolumeRoot_;
  std::vector<std::string> skipPathList_;
  std::unordered_set<std::string> skipPaths_;
  std::vector<std::string> skipIncludes_;
  int maxDepth_ = 0;
  Locked<std::int64_t> numberOfDirecoriesSearched_{0};
  Locked<bool> userCanceled_{false};
  std::vector<std::string> iteratedDisks_;
};

}  // namespace velmora
