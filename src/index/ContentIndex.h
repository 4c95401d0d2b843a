#pragma once
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string_view>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/Lock.h"
#include "common/Result.h"
#include "index/CachingUpdatesTag.h"
#include "index/store/DocumentInfo.h"
#include "index/store/FSItem.h"
#include "index/store/SimpleLMDB.h"
#include "index/store/WordContainer.h"

namespace velmora {

enum class ContentIndexLMDBState { none, waitingToBuild, building };

// One index file ("cache"): a record of every item of a folder tree and, by
// mode, a word index of its documents. The file is opened on demand and
// stays open while openCount is above zero. Methods that read or write the
// file need it open and report failures of the store as a Status (a damaged
// page, a full disk); a missing key or a record that doesn't parse is never
// an error. Nothing here throws.
class ContentIndex {
 public:
  // Folder ID to its children by name (the later of two equal names wins).
  using FolderContents = std::map<std::string, FSItem>;
  static constexpr std::size_t kFolderCacheCapacity = 64;

  explicit ContentIndex(std::filesystem::path localDBFile, std::string displayName = {},
                        std::optional<std::string> id = std::nullopt);
  ContentIndex(const ContentIndex&) = delete;
  ContentIndex& operator=(const ContentIndex&) = delete;

  // Nesting open and close. The first open makes a new SimpleLMDB on
  // localDBFile; the last close drops it. A failed open leaves the count at 0.
  [[nodiscard]] Status open();
  void close();
  int openCount() const { return openCount_.value(); }
  std::shared_ptr<SimpleLMDB> db() const;

  // Each brackets itself with open() and close(). Saving first copies
  // targetURL into suggestedTarget. Loading a missing record leaves
  // documentInfo as it is; a record that doesn't decode is a corruption.
  [[nodiscard]] Status saveDocumentInfo();
  [[nodiscard]] Status loadDocumentInfo();

  // Appends the item to its parent's child list and writes both rows in one
  // transaction.
  [[nodiscard]] Status write(const FSItem& item);
  // Several items of one parent and the ID counter in one transaction, rows
  // in key order: the parent's child list gains the items' IDs.
  [[nodiscard]] Status writeChildren(std::uint32_t parentID, const std::vector<FSItem>& items,
                                     std::uint32_t lastAutoID);
  // Writes the containers in one transaction, after removing the IDs of the
  // dead list from each.
  [[nodiscard]] Status write(std::vector<WordContainer>& containers);
  [[nodiscard]] Status write(std::map<std::string, WordContainer>& containers);

  // Absent (not a failure) for a missing or undecodable record.
  [[nodiscard]] Result<std::optional<FSItem>> loadItem(std::uint32_t id) const;
  [[nodiscard]] Result<std::optional<std::uint32_t>> loadLastAutoID() const;
  [[nodiscard]] Result<std::vector<std::uint32_t>> loadChildIds(std::uint32_t id) const;
  [[nodiscard]] Status saveChildIds(std::uint32_t id, const std::vector<std::uint32_t>& ascendingIds);
  [[nodiscard]] Result<std::vector<std::uint32_t>> loadDeadIds() const;
  [[nodiscard]] Status saveDeadIds(const std::set<std::uint32_t>& ids);
  [[nodiscard]] Status deleteItem(std::uint32_t id);

  // The folder's children by name, through a cache of 64 folders.
  [[nodiscard]] Result<FolderContents> loadFolderContents(std::uint32_t id);

  // The word's container, parsed; absent when missing or undecodable.
  [[nodiscard]] Result<std::optional<WordContainer>> findExact(const std::string& word) const;

  // Every entry under a key group (the group character and the rest of the
  // key), in batches of 2,500 without holding the store's lock while
  // `handler` runs; `handler` gives false to stop the walk.
  [[nodiscard]] Status walk(std::string_view group,
                            const std::function<bool(const std::string& key, const Data& value)>& handler) const;
  // Rewrites the file without free pages.
  [[nodiscard]] Status compact();

  // The parts of an absolute path below suggestedTarget (when set).
  std::vector<std::string> pathParts(const std::string& path) const;
  // The ID at a path: 0 for the index's own root, absent when a part is
  // missing.
  [[nodiscard]] Result<std::optional<std::uint32_t>> findID(const std::string& path);
  // The full path of an item: its names up to the root, under
  // suggestedTarget when set. Absent when the ID has no record; a read
  // failure ends the walk with what was found.
  std::optional<std::string> pathFor(std::uint32_t id) const;

  // Word search. Stored words are lowercase; pass lowercase words.
  struct SearchProgress {
    std::uint32_t documentID = 0;
    std::map<std::string, std::uint16_t> wordStatistics;
    int matchedWords = 0;
    int excludingWords = 0;
  };
  // The containers of the words that equal (wholeWords) or contain the
  // word, by one walk over every word of the file.
  [[nodiscard]] Result<std::vector<WordContainer>> findWordInWordContainers(const std::string& word,
                                                                           bool wholeWords) const;
  // Path to score (the sum of the counts of the searched words): documents
  // holding every word (allWords) or any, and none of the excluded ones.
  [[nodiscard]] Result<std::map<std::string, std::int64_t>> searchContent(const std::vector<std::string>& forWords,
                                                                         const std::vector<std::string>& excludingWords,
                                                                         bool wholeWords, bool allWords) const;
  [[nodiscard]] Result<std::vector<std::string>> findDocumentsForWord(const std::string& word) const;
  [[nodiscard]] Result<std::vector<std::string>> allWords() const;
  [[nodiscard]] Result<std::vector<std::string>> allFSItemNames() const;
  [[nodiscard]] Result<std::vector<std::string>> pathsForFSItemName(const std::string& name) const;
  // The paths of the IDs that have one.
  std::set<std::string> documentIDsToPaths(const std::vector<std::uint32_t>& ids) const;
  // Whether the folder or disk indexed is there now.
  bool isTargetMounted() const;

  std::string id;
  std::string displayName;
  std::filesystem::path localDBFile;
  std::optional<std::filesystem::path> remoteDBFile;
  // The folder or disk indexed, when known.
  std::optional<std::string> targetURL;
  CachingUpdatesTag updatesEvery = CachingUpdatesTag::defaultTiming;
  bool shouldDoATimedRefresh = false;
  bool hasBeenUpdated = false;
  std::atomic<ContentIndexLMDBState> state{ContentIndexLMDBState::none};
  // The write buffer of a build; touched only by the thread that builds.
  std::map<std::string, WordContainer> wordCache;
  std::atomic<bool> shouldCancel{false};
  DocumentInfo documentInfo;
  // Open the file without writing to it (viewers of a file that may belong
  // to someone else or be damaged). Set before the first open.
  bool readOnly = false;
  // Open for a build's many small commits without waiting for the disk at
  // each (see SimpleLMDB::openForBulkWrites). Set before the first open.
  bool bulkWrites = false;

 private:
  Result<std::shared_ptr<SimpleLMDB>> requireDB() const;
  Status writeContainers(const std::vector<WordContainer*>& containers);
  void forgetFolder(std::uint32_t id);

  Locked<int> openCount_;
  std::shared_ptr<SimpleLMDB> db_;  // changed only under openCount_'s lock
  Locked<std::vector<std::pair<std::uint32_t, FolderContents>>> folderContentsCache_;
};

}  // namespace velmora
