#pragma once
#include <atomic>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "common/Lock.h"
#include "index/store/DocumentInfo.h"
#include "index/store/FSItem.h"
#include "index/store/SimpleLMDB.h"
#include "index/store/WordContainer.h"

namespace velmora {

enum class ContentIndexLMDBState { none, waitingToBuild, building };

// One index file ("cache"): a record of every item of a folder tree and, by
// mode, a word index of its documents. The file is opened on demand and
// stays open while openCount is above zero. Methods that read or write the
// file need it open and throw what SimpleLMDB throws (LMDBError); a missing
// key or a record that doesn't parse is never an error.
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
  void open();
  void close();
  int openCount() const { return openCount_.value(); }
  std::shared_ptr<SimpleLMDB> db() const;

  // Each brackets itself with open() and close(). Saving first copies
  // targetURL into suggestedTarget. Loading a missing record leaves
  // documentInfo as it is; a record that doesn't decode throws
  // std::runtime_error.
  void saveDocumentInfo();
  void loadDocumentInfo();

  // Appends the item to its parent's child list and writes both rows in one
  // transaction.
  void write(const FSItem& item);
  // Writes the containers in one transaction, after removing the IDs of the
  // dead list from each.
  void write(std::vector<WordContainer>& containers);
  void write(std::map<std::string, WordContainer>& containers);

  std::optional<FSItem> loadItem(std::uint32_t id) const;
  std::optional<std::uint32_t> loadLastAutoID() const;
  std::vector<std::uint32_t> loadChildIds(std::uint32_t id) const;
  void saveChildIds(std::uint32_t id, const std::vector<std::uint32_t>& ascendingIds);
  std::vector<std::uint32_t> loadDeadIds() const;
  void saveDeadIds(const std::set<std::uint32_t>& ids);

  // The folder's children by name, through a cache of 64 folders.
  FolderContents loadFolderContents(std::uint32_t id);

  // The word's container, parsed; absent when missing or on any error.
  std::optional<WordContainer> findExact(const std::string& word) const;

  // The parts of an absolute path below suggestedTarget (when set).
  std::vector<std::string> pathParts(const std::string& path) const;
  // The ID at a path: 0 for the index's own root, absent when a part is
  // missing.
  std::optional<std::uint32_t> findID(const std::string& path);
  // The full path of an item: its names up to the root, under
  // suggestedTarget when set. Absent when the ID has no record.
  std::optional<std::string> pathFor(std::uint32_t id) const;

  std::string id;
  std::string displayName;
  std::filesystem::path localDBFile;
  std::optional<std::filesystem::path> remoteDBFile;
  // The folder or disk indexed, when known.
  std::optional<std::string> targetURL;
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

 private:
  std::shared_ptr<SimpleLMDB> requireDB() const;
  void writeContainers(const std::vector<WordContainer*>& containers);
  void forgetFolder(std::uint32_t id);

  Locked<int> openCount_;
  std::shared_ptr<SimpleLMDB> db_;  // changed only under openCount_'s lock
  Locked<std::vector<std::pair<std::uint32_t, FolderContents>>> folderContentsCache_;
};

}  // namespace velmora
