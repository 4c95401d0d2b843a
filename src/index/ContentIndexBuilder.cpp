#include "index/ContentIndexBuilder.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <locale>
#include <unordered_set>

#include <fmt/format.h>

#include "common/ActivityItem.h"
#include "common/ActivityReporter.h"
#include "common/Logger.h"
#include "index/IndexMirror.h"
#include "index/store/IndexKeys.h"
#include "platform/FileDescriptor.h"
#include "platform/PathConventions.h"
#include "platform/VolumeTable.h"
#include "search/DirectoryIterator.h"

namespace velmora {

namespace fs = std::filesystem;

namespace {

// The largest ID an item record can hold.
constexpr std::uint32_t kLastUsableID = 0x7FFFFFFEu;

std::string lastComponent(const std::string& path) {
  std::string_view view = path;
  while (view.size() > 1 && view.back() == '/') view.remove_suffix(1);
  auto slash = view.rfind('/');
  return std::string(slash == std::string_view::npos ? view : view.substr(slash + 1));
}

std::int32_t toInt32Seconds(const struct statx_timestamp& t) {
  return dateToInt32(std::chrono::system_clock::time_point(std::chrono::seconds(t.tv_sec)));
}

struct OnDisk {
  bool isDirectory = false;
  std::int32_t created = 0;
  std::int32_t modified = 0;
  std::int64_t size = 0;
};

// One statx for everything a record needs; links are not followed, as the
// walk never follows them.
// With a folder descriptor the name is looked up in that folder alone, which
// spares the kernel the walk down the whole path for every file.
Result<OnDisk> readOnDisk(const std::string& path, int folderFD) {
  struct statx st {};
  const std::string name = folderFD == AT_FDCWD ? path : lastComponent(path);
  if (::statx(folderFD, name.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE | STATX_MTIME | STATX_BTIME | STATX_SIZE,
              &st) != 0)
    return Status::fromErrno(errno, path);
  OnDisk disk;
  disk.isDirectory = S_ISDIR(st.stx_mode);
  disk.modified = toInt32Seconds(st.stx_mtime);
  disk.created = (st.stx_mask & STATX_BTIME) ? toInt32Seconds(st.stx_btime) : disk.modified;
  disk.size = disk.isDirectory ? 0 : static_cast<std::int64_t>(st.stx_size);
  return disk;
}

std::string grouped(std::size_t n) {
  try {
    return fmt::format(std::locale(""), "{:L}", n);
  } catch (const std::exception&) {
    return std::to_string(n);
  }
}

bool isUnder(std::string_view path, std::string_view folder) {
  if (folder == "/") return true;
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::string folderOf(const std::string& path) {
  auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

// Points the builder's stats at one folder while the paths it reads are that
// folder's entries; paths are used whole when the folder cannot be opened.
class ContentIndexBuilder::FolderScope {
 public:
  FolderScope(ContentIndexBuilder& builder, const std::vector<std::string>& paths) : builder_(builder) {
    if (paths.empty()) return;
    std::string folder = folderOf(paths.front());
    fd_.reset(::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!fd_.valid()) return;
    builder_.folderFD_ = fd_.get();
    builder_.folderPath_ = std::move(folder);
  }
  ~FolderScope() {
    builder_.folderFD_ = AT_FDCWD;
    builder_.folderPath_.clear();
  }
  FolderScope(const FolderScope&) = delete;
  FolderScope& operator=(const FolderScope&) = delete;

 private:
  ContentIndexBuilder& builder_;
  FileDescriptor fd_;
};

ContentIndexBuilder::ContentIndexBuilder(ContentIndex& index, Options options)
    : index_(index), options_(std::move(options)) {}

bool ContentIndexBuilder::badNames(std::string_view path) {
  return path.find_first_of("\r:\n") == std::string_view::npos;
}

bool ContentIndexBuilder::hasChanged(const FSItem& item, const std::string& path) {
  auto disk = readOnDisk(path, AT_FDCWD);
  if (!disk) return true;
  return item.modificationDate != disk->modified;
}

bool ContentIndexBuilder::changedOnDisk(const FSItem& item, const std::string& path) const {
  auto disk = readOnDisk(path, folderFDFor(path));
  if (!disk) return true;
  return item.modificationDate != disk->modified;
}

int ContentIndexBuilder::folderFDFor(const std::string& path) const {
  if (folderFD_ == AT_FDCWD || folderOf(path) != folderPath_) return AT_FDCWD;
  return folderFD_;
}

Result<std::uint32_t> ContentIndexBuilder::nextID() {
  if (!lastAutoID_) {
    auto stored = index_.loadLastAutoID();
    if (!stored) return stored.status();
    lastAutoID_ = stored->value_or(0);
  }
  if (*lastAutoID_ >= kLastUsableID)
    return Status::internal(index_.localDBFile.string() + " has run out of item IDs; rebuild it");
  return ++*lastAutoID_;
}

Result<FSItem> ContentIndexBuilder::urlToFSItem(std::uint32_t parentID, const std::string& path) {
  if (!index_.db()) return Status::invalidArgument("the index " + index_.localDBFile.string() + " is not open");
  auto disk = readOnDisk(path, folderFDFor(path));
  if (!disk) return disk.status();
  auto id = nextID();
  if (!id) return id.status();
  FSItem item;
  item.fsid = *id;
  item.parentID = parentID;
  item.type = disk->isDirectory ? FSItem::Type::directory : FSItem::Type::file;
  item.creationDate = disk->created;
  item.modificationDate = disk->modified;
  item.version = 1;
  item.name = lastComponent(path);
  item.size = disk->size;
  return item;
}

Result<FSItem> ContentIndexBuilder::insert(const std::string& folder) {
  std::vector<std::string> parts = index_.pathParts(folder);
  if (parts.empty()) return Status::invalidArgument(folder + " is the index's own root");
  std::uint32_t parent = 0;
  // The folders above: a part without a record gets a bare one.
  for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
    auto contents = index_.loadFolderContents(parent);
    if (!contents) return contents.status();
    auto found = contents->find(parts[i]);
    if (found != contents->end()) {
      parent = found->second.fsid;
      continue;
    }
    auto id = nextID();
    if (!id) return id.status();
    FSItem bare;
    bare.fsid = *id;
    bare.parentID = parent;
    bare.type = FSItem::Type::directory;
    bare.name = parts[i];
    if (Status written = index_.writeChildren(parent, {bare}, *lastAutoID_); !written.ok()) return written;
    ++counts_.itemsWritten;
    parent = bare.fsid;
  }
  auto item = urlToFSItem(parent, folder);
  if (!item) return item.status();
  item->name = parts.back();
  if (Status written = index_.writeChildren(parent, {*item}, *lastAutoID_); !written.ok()) return written;
  ++counts_.itemsWritten;
  return item;
}

Status ContentIndexBuilder::saveDeadIDs() {
  if (!deadIDsChanged_) return Status();
  deadIDsChanged_ = false;
  return index_.saveDeadIds(deadIDs_);
}

Status ContentIndexBuilder::removeFSItem(std::uint32_t id) {
  // Iterative, so depth has no limit; the parent's list changes once.
  auto first = index_.loadItem(id);
  if (!first) return first.status();
  if (!*first) return Status();
  if (!deadIDsLoaded_) {
    auto dead = index_.loadDeadIds();
    if (!dead) return dead.status();
    deadIDs_.insert(dead->begin(), dead->end());
    deadIDsLoaded_ = true;
  }
  bool keepDead = index_.documentInfo.lastIndexMode != ContentIndexMode::off;
  std::vector<std::uint32_t> pending{id};
  bool top = true;
  while (!pending.empty()) {
    std::uint32_t current = pending.back();
    pending.pop_back();
    auto item = top ? std::move(first) : index_.loadItem(current);
    if (!item) return item.status();
    if (!*item) continue;
    if ((*item)->isDirectory()) {
      auto children = index_.loadChildIds(current);
      if (!children) return children.status();
      pending.insert(pending.end(), children->begin(), children->end());
    }
    if (top) {
      auto siblings = index_.loadChildIds((*item)->parentID);
      if (!siblings) return siblings.status();
      siblings->erase(std::remove(siblings->begin(), siblings->end(), current), siblings->end());
      if (Status saved = index_.saveChildIds((*item)->parentID, *siblings); !saved.ok()) return saved;
      top = false;
    }
    if (Status deleted = index_.deleteItem(current); !deleted.ok()) return deleted;
    ++counts_.itemsRemoved;
    if (keepDead) {
      deadIDs_.insert(current);
      deadIDsChanged_ = true;
    }
  }
  return saveDeadIDs();
}

Result<std::vector<std::optional<std::uint32_t>>> ContentIndexBuilder::subfolderRecords(
    const std::vector<std::string>& directories, std::uint32_t parentID) {
  std::vector<std::optional<std::uint32_t>> ids(directories.size());
  if (directories.empty()) return ids;
  auto existing = index_.loadFolderContents(parentID);
  if (!existing) return existing.status();
  FolderScope scope(*this, directories);
  std::vector<FSItem> fresh;
  for (std::size_t i = 0; i < directories.size(); ++i) {
    const std::string& path = directories[i];
    if (auto found = existing->find(lastComponent(path)); found != existing->end()) {
      if (found->second.type == FSItem::Type::directory) {
        ids[i] = found->second.fsid;
        continue;
      }
      // A file then, a folder now: the file's record goes.
      if (Status removed = removeFSItem(found->second.fsid); !removed.ok()) return removed;
    }
    auto item = urlToFSItem(parentID, path);
    if (!item) {
      VLOG("index: passing over {}: {}", path, item.status().message());
      continue;
    }
    ids[i] = item->fsid;
    fresh.push_back(std::move(*item));
  }
  if (!fresh.empty()) {
    if (Status written = index_.writeChildren(parentID, fresh, *lastAutoID_); !written.ok()) return written;
    counts_.itemsWritten += fresh.size();
  }
  return ids;
}

Status ContentIndexBuilder::removeExtraFiles(const std::vector<std::string>& localItems, std::uint32_t directoryID) {
  auto contents = index_.loadFolderContents(directoryID);
  if (!contents) return contents.status();
  std::unordered_set<std::string> names;
  names.reserve(localItems.size());
  for (const auto& path : localItems) names.insert(lastComponent(path));
  for (const auto& [name, item] : *contents) {
    if (names.count(name)) continue;
    if (Status removed = removeFSItem(item.fsid); !removed.ok()) return removed;
  }
  return Status();
}

void ContentIndexBuilder::report(const std::string& status, const std::string& detail) {
  if (!activityItem_ || !options_.activity) return;
  activityItem_->rightText = status;
  activityItem_->shortStatus = detail;
  options_.activity->save(activityItem_);
}

Status ContentIndexBuilder::add(const std::vector<std::string>& files, std::uint32_t parentID,
                                ContentIndexMode indexMode) {
  auto existing = index_.loadFolderContents(parentID);
  if (!existing) return existing.status();
  FolderScope scope(*this, files);
  std::vector<FSItem> fresh;
  std::int64_t total = index_.documentInfo.numberOfFSItems.value_or(0);
  auto flushFresh = [&]() -> Status {
    if (fresh.empty()) return Status();
    Status written = index_.writeChildren(parentID, fresh, *lastAutoID_);
    counts_.itemsWritten += fresh.size();
    fresh.clear();
    return written;
  };
  for (const std::string& path : files) {
    if (index_.shouldCancel) break;
    auto found = existing->find(lastComponent(path));
    bool changed = true;
    std::optional<std::uint32_t> fileID;
    // A folder's record under a file's name is stale whatever its date says.
    if (found != existing->end() && found->second.type != FSItem::Type::directory &&
        !changedOnDisk(found->second, path)) {
      changed = false;
      fileID = found->second.fsid;
    } else {
      if (found != existing->end()) {
        // The old record goes first (its ID onto the dead list): a changed
        // file always gets a new ID.
        if (Status flushed = flushFresh(); !flushed.ok()) return flushed;
        if (Status removed = removeFSItem(found->second.fsid); !removed.ok()) return removed;
      }
      auto item = urlToFSItem(parentID, path);
      if (!item) {
        // Gone between the listing and now, or unreadable: left out.
        VLOG("index: passing over {}: {}", path, item.status().message());
      } else {
        fileID = item->fsid;
        fresh.push_back(std::move(*item));
      }
    }
    ++counts_.itemsSeen;
    if (counts_.itemsSeen - reportedAt_ >= 500 || counts_.itemsSeen == 1) {
      reportedAt_ = counts_.itemsSeen;
      std::string count = grouped(counts_.itemsSeen);
      std::int64_t percent =
          total > 0 ? static_cast<std::int64_t>(static_cast<double>(counts_.itemsSeen) / total * 100.0) : -1;
      if (total > 0 && percent <= 100)
        report(fmt::format("Cached {} of {} items. {}%.", count, grouped(static_cast<std::size_t>(total)), percent),
               fmt::format("{} files/{}%", count, percent));
      else
        report(fmt::format("Cached {} items.", count), count + " files");
    }
    bool import = fileID && ((indexMode == ContentIndexMode::textDocuments && changed) ||
                             indexMode == ContentIndexMode::ocrAndTextDocuments);
    if (import) {
      if (!options_.words) return Status::unsupported("no text import is available for " + path);
      ++counts_.importCalls;
      auto words = options_.words->wordsInFile(path, indexMode == ContentIndexMode::ocrAndTextDocuments);
      if (!words) return words.status();
      if (!words->empty())
        if (Status added = addWordsToIndex(*fileID, *words); !added.ok()) return added;
    }
  }
  return flushFresh();
}

Status ContentIndexBuilder::addWordsToIndex(std::uint32_t fileID, const DocumentWordSource::Words& words) {
  auto& cache = index_.wordCache;
  for (const auto& [word, count] : words) {
    if (word.empty()) continue;
    if (auto cached = cache.find(word); cached != cache.end()) {
      cached->second.add(fileID, count);
    } else {
      auto stored = index_.findExact(word);
      if (!stored) return stored.status();
      if (*stored) {
        (*stored)->add(fileID, count);
        cache.emplace(word, std::move(**stored));
      } else {
        cache.emplace(word, WordContainer(word, fileID, count));
      }
    }
    if (cache.size() > kWordCacheLimit)
      if (Status flushed = flushWordCache(); !flushed.ok()) return flushed;
  }
  return Status();
}

Status ContentIndexBuilder::flushWordCache() {
  if (index_.wordCache.empty()) return Status();
  // Dead IDs known to this build must reach the file before the containers
  // are filtered by it.
  if (Status saved = saveDeadIDs(); !saved.ok()) return saved;
  auto started = std::chrono::steady_clock::now();
  Status written = index_.write(index_.wordCache);
  index_.wordCache.clear();
  ++counts_.wordFlushes;
  VLOG("Write time: {}", std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count());
  return written;
}

Status ContentIndexBuilder::purgeWordContainers() {
  auto dead = index_.loadDeadIds();
  if (!dead) return dead.status();
  if (dead->size() <= kDeadIDsBeforePurge) return Status();
  counts_.purgedWords = true;
  // Written back batch by batch as the walk goes (ContentIndex::write drops
  // the dead IDs); the store's lock is free between the batches.
  std::vector<WordContainer> batch;
  Status written;
  Status walked = index_.walk(IndexKeys::kWordGroup, [&](const std::string& key, const Data& value) {
    WordContainer container(key.substr(1), value);
    container.load();
    batch.push_back(std::move(container));
    if (batch.size() < IndexKeys::kBatchSize) return true;
    written = index_.write(batch);
    batch.clear();
    return written.ok();
  });
  if (!walked.ok()) return walked;
  if (!written.ok()) return written;
  return index_.write(batch);
}

Status ContentIndexBuilder::purge() {
  if (Status purged = purgeWordContainers(); !purged.ok()) return purged;
  return index_.compact();
}

std::vector<std::string> ContentIndexBuilder::skipFoldersFor(const std::vector<std::string>& items) const {
  if (options_.skipFolders) return *options_.skipFolders;
  std::vector<std::string> skip;
  VolumeTable volumes = VolumeTable::current();
  const PathConventions& conventions = PathConventions::current();
  for (const auto& item : items) {
    std::string root = "/";
    if (auto volume = volumes.volumeFor(item)) root = volume->mountPoint;
    for (auto& folder : conventions.crawlSkipPaths(root, volumes))
      if (isUnder(folder, item) && folder != item) skip.push_back(std::move(folder));
    for (auto& folder : volumes.mountPointsBelow(item))
      if (folder != item) skip.push_back(std::move(folder));
  }
  return skip;
}

Status ContentIndexBuilder::build(const std::vector<std::string>& items, bool alwaysMirror,
                                  ContentIndexMode indexMode) {
  if (indexMode != ContentIndexMode::off && !options_.words)
    return Status::unsupported(
        "indexing the words of documents needs the text import, which this build of Velmora doesn't have");
  VLOG("index: building {} ({})", index_.displayName, index_.localDBFile.string());
  index_.state = ContentIndexLMDBState::building;
  index_.shouldCancel = false;
  counts_ = {};
  lastAutoID_.reset();
  deadIDs_.clear();
  deadIDsLoaded_ = false;
  deadIDsChanged_ = false;
  reportedAt_ = 0;
  index_.wordCache.clear();

  if (options_.activity) {
    activityItem_ = ActivityItem::make(options_.clock->now());
    activityItem_->leftText = "Caching \"" + index_.displayName + "\"";
    activityItem_->cancelFunc = [this](ActivityItem&) { index_.shouldCancel = true; };
    options_.activity->save(activityItem_);
  }
  struct Finish {
    ContentIndexBuilder* self;
    bool opened = false;
    ~Finish() {
      if (opened) self->index_.close();
      self->index_.state = ContentIndexLMDBState::none;
      if (self->activityItem_ && self->options_.activity) self->options_.activity->remove(self->activityItem_->id);
      self->activityItem_.reset();
      VLOG("index: build of {} ended", self->index_.displayName);
    }
  } finish{this};

  if (index_.documentInfo.isDirty) {
    std::error_code ignored;
    fs::remove(index_.localDBFile, ignored);
    index_.documentInfo.numberOfFSItems.reset();
  }
  index_.documentInfo.lastIndexMode = indexMode;
  index_.documentInfo.lastUpdated = options_.clock->now();
  index_.documentInfo.isDirty = false;
  if (Status saved = index_.saveDocumentInfo(); !saved.ok()) return saved;

  index_.bulkWrites = true;
  Status opened = index_.open();
  index_.bulkWrites = false;
  if (!opened.ok()) return opened;
  finish.opened = true;

  const std::vector<std::string> skip = skipFoldersFor(items);
  auto skipped = [&](const std::string& folder) {
    if (std::find(skip.begin(), skip.end(), folder) != skip.end()) return true;
    std::string withSlash = folder + "/";
    return withSlash.find("/Windows/") != std::string::npos || withSlash.find("/Windows.old/") != std::string::npos;
  };

  // Each entry knows its folder's record once its parent has been listed, so
  // only the starting items are looked up (and made) by path.
  struct Pending {
    std::string folder;
    std::optional<std::uint32_t> id;
  };
  std::vector<Pending> stack;
  for (const auto& item : items) stack.push_back({item, std::nullopt});
  while (!stack.empty() && !index_.shouldCancel) {
    Pending next = std::move(stack.back());
    stack.pop_back();
    const std::string& folder = next.folder;
    auto listing = DirectoryIterator::urlContentsOfDirectory(folder);
    std::erase_if(listing.files, [](const std::string& path) { return !badNames(path); });
    std::erase_if(listing.directories,
                  [&](const std::string& path) { return !badNames(path) || skipped(path); });

    std::uint32_t folderID = 0;
    if (next.id) {
      folderID = *next.id;
    } else {
      auto id = index_.findID(folder);
      if (!id) return id.status();
      if (*id) {
        folderID = **id;
      } else {
        auto inserted = insert(folder);
        if (!inserted) {
          VLOG("index: passing over {}: {}", folder, inserted.status().message());
          continue;
        }
        folderID = inserted->fsid;
      }
    }
    if (activityItem_) report("Caching \"" + lastComponent(folder) + "\"", {});
    if (Status added = add(listing.files, folderID, indexMode); !added.ok()) return added;
    if (index_.shouldCancel) break;
    auto subfolderIDs = subfolderRecords(listing.directories, folderID);
    if (!subfolderIDs) return subfolderIDs.status();
    std::vector<std::string> all = listing.files;
    all.insert(all.end(), listing.directories.begin(), listing.directories.end());
    for (std::size_t i = listing.directories.size(); i-- > 0;) {
      // A folder that vanished or became unreadable since the listing has no
      // record and is left out.
      if ((*subfolderIDs)[i]) stack.push_back({listing.directories[i], (*subfolderIDs)[i]});
    }
    if (Status removed = removeExtraFiles(all, folderID); !removed.ok()) return removed;
  }

  if (Status flushed = flushWordCache(); !flushed.ok()) return flushed;
  if (Status saved = saveDeadIDs(); !saved.ok()) return saved;
  index_.documentInfo.lastUpdated = options_.clock->now();

  if (index_.shouldCancel && index_.remoteDBFile) {
    // The local work is thrown away: the shared copy comes back.
    index_.close();
    finish.opened = false;
    std::error_code ignored;
    fs::remove(index_.localDBFile, ignored);
    auto mirrored = IndexMirror::mirrorIfNeeded(index_.localDBFile, *index_.remoteDBFile, true, *options_.clock);
    if (!mirrored) return mirrored.status();
    Status loaded = index_.loadDocumentInfo();
    if (!loaded.ok()) return loaded;
    return Status::cancelled("the update of \"" + index_.displayName + "\" was cancelled");
  }

  index_.documentInfo.numberOfFSItems = static_cast<std::int64_t>(counts_.itemsSeen);
  if (Status saved = index_.saveDocumentInfo(); !saved.ok()) return saved;
  if (Status purged = purge(); !purged.ok()) return purged;

  if (index_.remoteDBFile) {
    index_.close();
    finish.opened = false;
    auto mirrored = IndexMirror::mirrorIfNeeded(index_.localDBFile, *index_.remoteDBFile, alwaysMirror,
                                                *options_.clock);
    if (!mirrored) return mirrored.status();
    if (*mirrored)
      if (Status loaded = index_.loadDocumentInfo(); !loaded.ok()) return loaded;
  }
  if (index_.shouldCancel) return Status::cancelled("the update of \"" + index_.displayName + "\" was cancelled");
  index_.hasBeenUpdated = true;
  return Status();
}

}  // namespace velmora
