#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "common/Clock.h"
#include "common/Result.h"
#include "index/ContentIndex.h"
#include "index/DocumentWordSource.h"
#include "index/store/ContentIndexMode.h"

namespace velmora {

class ActivityItem;
class ActivityReporter;

// Keeps one index file in step with the folder tree it covers: the first
// build and every update are the same walk, which compares each item with
// its record, rewrites what changed, removes what vanished and, by mode,
// feeds document words into the word containers.
class ContentIndexBuilder {
 public:
  static constexpr std::size_t kWordCacheLimit = 100000;
  static constexpr std::size_t kDeadIDsBeforePurge = 25000;

  struct Options {
    const Clock* clock = &Clock::system();
    ActivityReporter* activity = nullptr;  // no rows when absent
    DocumentWordSource* words = nullptr;   // needed by text and OCR builds
    // Folders the walk doesn't enter (other mounts, system folders); when
    // absent they come from the path conventions and the mounted volumes.
    std::optional<std::vector<std::string>> skipFolders;
  };
  // What a build did, for its caller's report and for tests.
  struct Counts {
    std::size_t itemsSeen = 0;
    std::size_t itemsWritten = 0;
    std::size_t itemsRemoved = 0;
    std::size_t importCalls = 0;
    std::size_t wordFlushes = 0;
    bool purgedWords = false;
  };

  ContentIndexBuilder(ContentIndex& index, Options options);

  // False for a path holding a carriage return, a colon or a line feed:
  // such items are not indexed. (The name says what it filters.)
  static bool badNames(std::string_view path);

  // The whole build: see the file for the steps. A cancel (index.shouldCancel)
  // ends the walk early and still writes what was done.
  [[nodiscard]] Status build(const std::vector<std::string>& items, bool alwaysMirror, ContentIndexMode indexMode);

  [[nodiscard]] Status add(const std::vector<std::string>& files, std::uint32_t parentID, ContentIndexMode indexMode);
  [[nodiscard]] Status removeExtraFiles(const std::vector<std::string>& localItems, std::uint32_t directoryID);
  // The record of one file or folder under a new ID (not yet written).
  [[nodiscard]] Result<FSItem> urlToFSItem(std::uint32_t parentID, const std::string& path);
  // Makes sure a folder and every folder above it have records; gives the
  // folder's.
  [[nodiscard]] Result<FSItem> insert(const std::string& folder);
  // The records of a folder's subfolders, made where missing, in the order
  // given; empty for one that could not be read.
  [[nodiscard]] Result<std::vector<std::optional<std::uint32_t>>> subfolderRecords(
      const std::vector<std::string>& directories, std::uint32_t parentID);
  [[nodiscard]] Status removeFSItem(std::uint32_t id);
  // True when the file's modification date can't be read or differs from
  // the record's in whole seconds.
  static bool hasChanged(const FSItem& item, const std::string& path);
  [[nodiscard]] Status addWordsToIndex(std::uint32_t fileID, const DocumentWordSource::Words& words);
  [[nodiscard]] Status purgeWordContainers();
  [[nodiscard]] Status purge();
  [[nodiscard]] Status flushWordCache();

  const Counts& counts() const { return counts_; }

 private:
  class FolderScope;
  // The open folder that stats of its own entries go through, or AT_FDCWD.
  int folderFDFor(const std::string& path) const;
  // hasChanged, through the open folder when there is one.
  bool changedOnDisk(const FSItem& item, const std::string& path) const;
  Result<std::uint32_t> nextID();
  Status saveDeadIDs();
  void report(const std::string& status, const std::string& detail);
  std::vector<std::string> skipFoldersFor(const std::vector<std::string>& items) const;

  ContentIndex& index_;
  Options options_;
  Counts counts_;
  std::optional<std::uint32_t> lastAutoID_;
  std::set<std::uint32_t> deadIDs_;
  bool deadIDsLoaded_ = false;
  int folderFD_ = -100;  // AT_FDCWD
  std::string folderPath_;
  bool deadIDsChanged_ = false;
  std::shared_ptr<ActivityItem> activityItem_;
  std::size_t reportedAt_ = 0;
};

}  // namespace velmora
