#pragma once
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/Clock.h"
#include "common/Result.h"
#include "index/ContentIndex.h"
#include "index/ContentIndexBuilder.h"

namespace velmora {

class PreferenceStore;
class VolumeTable;

// The one registry of index files: which exist, where their files are, when
// each is due for an update. The list is kept in the preference
// "SavedIndexInfo" as a JSON text. Not thread-safe: it belongs to the main
// queue (or to the one thread of a command), and builds run elsewhere
// through `startRefresh`.
class ContentIndexManager {
 public:
  static constexpr const char* kSavedIndexInfoKey = "SavedIndexInfo";
  static constexpr const char* kLegacyKey = "FSCompactIndexesManagerMetaData";
  static constexpr const char* kExtension = "vlcache";
  static constexpr int kCollisionErrorCode = 17;
  static constexpr double kTimedRefreshTimerSeconds = 50.0;

  struct Environment {
    PreferenceStore* preferences = nullptr;  // PreferenceStore::shared() when null
    const Clock* clock = &Clock::system();
    // Where new index files go; the application support folder when empty.
    std::filesystem::path folder;
    // The mounted volumes, for names and mount points; the live table when
    // unset.
    std::function<VolumeTable()> volumes;
    // Runs refresh(index, userInitiated) somewhere: a thread in `serve`, in
    // place for a command. Unset runs it in place.
    std::function<void(std::shared_ptr<ContentIndex>, bool userInitiated)> startRefresh;
    // Options for the builds it runs (activity rows, the word source).
    ContentIndexBuilder::Options buildOptions;
    // Start with no indexes and forget the saved list (the way out of a bad
    // list, `--reset-caches`).
    bool resetCaches = false;
  };

  explicit ContentIndexManager(Environment environment);
  // The process's own, over the user's preferences; made at first use.
  static ContentIndexManager& shared();
  // Gives the process's manager an environment before its first use (the
  // serve loop's refresh thread, `--reset-caches`).
  static void configureShared(Environment environment);
  ContentIndexManager(const ContentIndexManager&) = delete;
  ContentIndexManager& operator=(const ContentIndexManager&) = delete;

  const std::vector<std::shared_ptr<ContentIndex>>& indexes() const { return indexes_; }
  // Problems met while loading the list, each reported once by the caller.
  const std::vector<std::string>& loadProblems() const { return loadProblems_; }

  // Writes the list (keys in a fixed order) and tells the observers.
  [[nodiscard]] Status save();
  void onChange(std::function<void()> observer) { observers_.push_back(std::move(observer)); }

  // A free file name in the folder: the nice name of the target, then with
  // "-1" to "-99"; the hundredth collision is the error with code 17.
  [[nodiscard]] Result<std::filesystem::path> newLocalIndex(const std::string& target,
                                                            bool testingDoNoIncrement = false) const;
  std::shared_ptr<ContentIndex> newIndex(const std::string& targetURL, std::filesystem::path localDBFile,
                                         std::optional<std::filesystem::path> remoteDBFile = std::nullopt);
  // Adopts a file made elsewhere: it becomes the shared copy of a new local
  // one, which a mirror fills.
  [[nodiscard]] Result<std::shared_ptr<ContentIndex>> addExistingIndex(const std::filesystem::path& dbfile);
  [[nodiscard]] Status remove(const std::shared_ptr<ContentIndex>& index, bool deleteFile);
  // By display name, then by file path.
  std::shared_ptr<ContentIndex> find(const std::string& nameOrFile) const;

  // The indexes whose target is the path or a folder above it.
  std::vector<std::shared_ptr<ContentIndex>> cachesForItem(const std::string& path) const;
  bool isIndexing(const std::string& diskURL) const;
  // The children of a folder (full path and record) from the first index
  // that covers it and holds it; absent when none does. For listing a
  // folder of a disk that is not mounted.
  std::optional<std::vector<std::pair<std::string, FSItem>>> loadChildrenFromCache(const std::string& directory) const;
  std::string suggestNiceName(const std::string& target) const;

  // Builds now, in the calling thread: checks the target is there, then the
  // build in the index's last mode, then the next index of a timed round.
  [[nodiscard]] Status refresh(const std::shared_ptr<ContentIndex>& index, bool userInitiated);
  // The build alone, without touching the list: safe on a build thread.
  [[nodiscard]] Status buildNow(const std::shared_ptr<ContentIndex>& index, bool userInitiated) const;
  // How many indexes are being built now.
  int buildingCount() const;
  // At every search of an index: starts a refresh when the index is due.
  bool scheduleRefreshIfNeeded(const std::shared_ptr<ContentIndex>& index);
  // The 50-second timer's work: the fixed-time round, then its next step.
  void startScheduledRefreshIfNeeded();
  void performNextTimedIndexRefresh();
  // Asks every build to stop and waits for each.
  void cancelAll();

 private:
  void load();
  void loadLegacy();
  void start(const std::shared_ptr<ContentIndex>& index, bool userInitiated);
  VolumeTable volumes() const;
  PreferenceStore& preferences() const;

  Environment environment_;
  std::vector<std::shared_ptr<ContentIndex>> indexes_;
  std::vector<std::shared_ptr<ContentIndex>> timedRefreshIndexes_;
  std::shared_ptr<ContentIndex> timedRefreshCurrentIndex_;
  std::vector<std::function<void()>> observers_;
  std::vector<std::string> loadProblems_;
};

}  // namespace velmora
