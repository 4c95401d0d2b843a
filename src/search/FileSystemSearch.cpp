#include "search/FileSystemSearch.h"

#include <algorithm>
#include <deque>

#include "common/Logger.h"
#include "query/QueryContainer.h"
#include "query/commands/MaxDepth.h"
#include "search/DirectoryIterator.h"
#include "search/FSUtilities.h"
#include "common/ActivityReporter.h"

namespace velmora {

namespace {

std::vector<std::string_view> components(std::string_view path) {
  std::vector<std::string_view> parts;
  for (std::size_t start = 0; start < path.size();) {
    auto slash = path.find('/', start);
    auto end = slash == std::string_view::npos ? path.size() : slash;
    if (end > start) parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

}  // namespace

FileSystemSearch::FileSystemSearch(FSUtilities& fsUtilities, ActivityReporter* activity)
    : fsUtilities_(fsUtilities),
      activity_(activity),
      handler_(&nullHandler_),
      directoryIterationQueue_(2, "FileSystemSearch #74") {}

FileSystemSearch::~FileSystemSearch() = default;

bool FileSystemSearch::shouldSkip(const std::string& path, const std::unordered_set<std::string>& skipPaths,
                                  const std::vector<std::string>& skipIncludes) {
  if (skipPaths.count(path)) return true;
  for (const auto& fragment : skipIncludes)
    if (path.find(fragment) != std::string::npos) return true;
  return false;
}

void FileSystemSearch::searchShouldStop() {
  userCanceled_.set(true);
  directoryIterationQueue_.cancelAllOperations();
}

void FileSystemSearch::cancel(ActivityItem&) { userCanceled_.set(true); }

int FileSystemSearch::searchfs(const std::string&, const std::string&, const QueryContainer&,
                               SearchDataSourceDelegate&) {
  return kCatalogSearchUnsupported;
}

void FileSystemSearch::search(const QueryContainer& query, SearchDataSourceDelegate& handler) {
  query_ = &query;
  handler_ = &handler;

  std::shared_ptr<ActivityItem> item;
  if (activity_) {
    item = ActivityItem::make();
    item->image = ActivityItem::Image::search;
    item->autoShowWindow = false;
    item->style = ActivityItem::ProgressStyle::rawText;
    item->leftText = "Searching File System";
    // The row may outlive this source by a moment on the main queue, so its
    // cancel holds the source weakly where it can.
    if (auto weak = weak_from_this(); !weak.expired())
      item->cancelFunc = [weak](ActivityItem& row) {
        if (auto self = weak.lock()) self->cancel(row);
      };
    else
      item->cancelTarget = this;
    activity_->save(item);
  }

  if (query.whereLocation) {
    const auto& conventions = fsUtilities_.conventions();
    auto maxDepth = query.findCommand<MaxDepth>();
    for (const auto& disk : query.whereLocation->disksForLocations(conventions)) {
      if (handler.shouldStop()) continue;
      currentDiskKey_ = fsUtilities_.keyForDisk(disk);
      auto parts = components(disk);
      bool onVolumes = !conventions.volumesPrefix.empty() && disk.rfind(conventions.volumesPrefix, 0) == 0;
      bool volumeRoot = onVolumes ? parts.size() == 2 : parts.empty();
      bool straightToIteration =
          !volumeRoot || query.searchWords.empty() || maxDepth != nullptr || query.includesORStatement;
      if (!straightToIteration) {
        int code = searchfs(disk, currentDiskKey_, query, handler);
        if (code != kCatalogSearchUnsupported && code != 1) continue;
      }
      iterateDisk(disk);
    }
  }

  if (activity_ && item) activity_->remove(item->id);
}

void FileSystemSearch::makeSkipPaths(const std::string& base) {
  // Each disk has its own skip list: what keeps a walk of "/" out of the
  // other disks must not keep those disks' own walks out when the same
  // search reaches them.
  skipPaths_.clear();
  skipPathList_.clear();
  skipIncludes_.clear();
  VolumeTable volumes = fsUtilities_.volumes();
  fsUtilities_.noteVolumes(volumes);
  for (auto& path : fsUtilities_.conventions().crawlSkipPaths(base, volumes)) {
    if (skipPaths_.insert(path).second) skipPathList_.push_back(path);
  }
  for (const auto& fragment : fsUtilities_.conventions().crawlSkipIncludes) skipIncludes_.push_back(fragment);
  auto volume = volumes.volumeFor(base);
  currentVolumeRoot_ = volume ? volume->mountPoint : "/";
}

void FileSystemSearch::iterateDisk(const std::string& disk) {
  VLOG("Iteration");
  iteratedDisks_.push_back(disk);
  makeSkipPaths(disk);
  auto maxDepthCommand = query_->findCommand<MaxDepth>();
  maxDepth_ = maxDepthCommand ? maxDepthCommand->maxDepth : 0;

  Locked<std::deque<std::string>> directories{std::deque<std::string>{disk}};
  OperationQueue queue(2, "FileSystemSearch #241");
  auto visit = [&](const std::string& path) {
    if (userCanceled_.value()) return;
    auto subdirectories = iterate(path, disk);
    if (subdirectories.empty()) return;
    if (maxDepth_ >= 1) {
      const auto& conventions = fsUtilities_.conventions();
      std::erase_if(subdirectories, [&](const std::string& sub) {
        return conventions.depthOf(sub, currentVolumeRoot_) > maxDepth_;
      });
    }
    directories.access([&](std::deque<std::string>& pending) {
      for (auto& sub : subdirectories) pending.push_back(std::move(sub));
    });
  };
  while (!userCanceled_.value()) {
    std::vector<std::string> wave = directories.access([](std::deque<std::string>& pending) {
      std::size_t take = std::min(pending.size(), kWaveSize);
      std::vector<std::string> taken(std::make_move_iterator(pending.begin()),
                                     std::make_move_iterator(pending.begin() + static_cast<long>(take)));
      pending.erase(pending.begin(), pending.begin() + static_cast<long>(take));
      return taken;
    });
    if (wave.empty()) break;
    // The wave's directories go to the queue's two threads as two draining
    // operations rather than one operation each: the same two-at-a-time walk
    // and the same barrier at the end of the wave, without waking a thread
    // for every directory.
    std::atomic<std::size_t> next{0};
    auto drain = [&] {
      for (std::size_t i = next++; i < wave.size(); i = next++) visit(wave[i]);
    };
    queue.addOperation(drain);
    if (wave.size() > 1) queue.addOperation(drain);
    queue.waitUntilAllOperationsAreFinished();
  }
  directoryIterationQueue_.waitUntilAllOperationsAreFinished();
  VLOG("");
}

std::vector<std::string> FileSystemSearch::iterate(const std::string& directoryPath, const std::string& disk) {
  if (shouldSkip(directoryPath, skipPaths_, skipIncludes_)) return {};
  SearchDataSourceDelegate& handler = *handler_;
  const QueryContainer& query = *query_;
  // Where "/" is the boot volume's walk it is entered although it counts as
  // a system folder itself; the system folders below it are not.
  const bool bootRoot = directoryPath == "/" && fsUtilities_.conventions().rootIsListable;
  if (!bootRoot && !handler.wantsInvisibleItems() &&
      (fsUtilities_.isInsideOSDirectory(directoryPath) || fsUtilities_.isInvisibleOrInsidePackage(directoryPath)))
    return {};

  const bool orCommandSearch = query.isORCommandSearch();
  DirectoryIterator::Options options;
  options.listRoot = bootRoot;
  options.keepUnwantedFiles = false;
  // The name test comes before any attribute is read, so only entries that
  // will be reported cost a stat.
  options.wantsAttributes = [&](const FSItemAndAttrs& item) {
    if (!query.pathIsInQueryLocation(item.fullPath)) return false;
    return orCommandSearch || query.fsItemNameStringIncludesWordsFromQuery(item.name);
  };
  DirectoryIterator iterator;
  auto listing = iterator.list(directoryPath, options);

  const auto& conventions = fsUtilities_.conventions();
  for (std::size_t i = 0; i < listing.items.size(); ++i) {
    if (handler.shouldStop()) continue;
    if (!listing.wanted[i]) continue;
    const FSItemAndAttrs& item = listing.items[i];
    SearchResult result;
    result.searchResultSuppliedBy = SearchResultSupplier::fileSystem;
    result.diskKey = currentDiskKey_;
    result.path = conventions.correctRootBasedPath(item.fullPath);
    result.isDirectory = item.isDirectory;
    result.size = item.fileSize;
    result.creationDate = item.createTime.tv_sec;
    result.modDate = item.modifyTime.tv_sec;
    result.lastAccessDate = item.accessTime.tv_sec;
    result.checkToSeeIfItExists = false;
    result.ignoreSearchLocation = false;
    result.strikeThroughDisplayNameIfMissing = false;
    std::vector<SearchResult> one;
    one.push_back(std::move(result));
    handler.searchResults(std::move(one), *this);
  }

  std::vector<std::string> subdirectories;
  for (auto& item : listing.items)
    if (item.isDirectory) subdirectories.push_back(std::move(item.fullPath));
  std::int64_t total = numberOfDirecoriesSearched_.access([&](std::int64_t& count) {
    count += static_cast<std::int64_t>(subdirectories.size());
    return count;
  });
  handler.searchDataSourceProgress(*this, total, disk);
  return subdirectories;
}

}  // namespace velmora
