#include "index/ContentIndex.h"

#include <algorithm>
#include <unordered_set>

#include "common/SharedAdditions.h"
#include "index/store/IndexKeys.h"
#include "index/store/LMDBError.h"
#include "index/store/PackedNumbers.h"
#include "index/store/UUID.h"

namespace velmora {

using namespace IndexKeys;

namespace {

// The store layer throws LMDBError (and the standard library bad_alloc and
// the like); nothing of that leaves this class.
// R is Status or a Result<T>: both are made from a failure status.
template <typename R, typename F>
R guarded(const std::filesystem::path& file, F&& body) {
  try {
    return body();
  } catch (const LMDBError& error) {
    return error.toStatus(file.string());
  } catch (const std::exception& error) {
    return Status::internal(file.string() + ": " + error.what());
  }
}

// Sorts rows by their full key, so that a transaction writes its pages in
// the order the tree keeps them.
void sortByKey(std::vector<ValueGroupKey>& rows) {
  std::sort(rows.begin(), rows.end(), [](const ValueGroupKey& a, const ValueGroupKey& b) {
    int byGroup = a.group.compare(b.group);
    return byGroup != 0 ? byGroup < 0 : a.key < b.key;
  });
}

}  // namespace

ContentIndex::ContentIndex(std::filesystem::path localDBFile, std::string displayName, std::optional<std::string> id)
    : id(id ? std::move(*id) : newUUIDString()),
      displayName(std::move(displayName)),
      localDBFile(std::move(localDBFile)) {}

Status ContentIndex::open() {
  folderContentsCache_.access([](auto& cache) { cache.clear(); });
  return openCount_.access([&](int& count) -> Status {
    if (count == 0) {
      Status opened = guarded<Status>(localDBFile, [&] {
        auto db = std::make_shared<SimpleLMDB>();
        if (readOnly)
          db->openReadOnly(localDBFile);
        else if (bulkWrites)
          db->openForBulkWrites(localDBFile);
        else
          db->open(localDBFile, true);
        db_ = std::move(db);
        return Status();
      });
      if (!opened.ok()) return opened;
    }
    ++count;
    return Status();
  });
}

void ContentIndex::close() {
  folderContentsCache_.access([](auto& cache) { cache.clear(); });
  std::shared_ptr<SimpleLMDB> closing;
  openCount_.access([&](int& count) {
    if (count == 0) return;
    if (--count == 0) closing = std::move(db_);
  });
  // The file closes as the last reference goes, outside the count's lock.
}

std::shared_ptr<SimpleLMDB> ContentIndex::db() const {
  return openCount_.access([&](const int&) { return db_; });
}

Result<std::shared_ptr<SimpleLMDB>> ContentIndex::requireDB() const {
  auto db = this->db();
  if (!db) return Status::invalidArgument("the index " + localDBFile.string() + " is not open");
  return db;
}

Status ContentIndex::saveDocumentInfo() {
  if (Status opened = open(); !opened.ok()) return opened;
  struct Closer {
    ContentIndex* index;
    ~Closer() { index->close(); }
  } closer{this};
  if (targetURL) documentInfo.suggestedTarget = targetURL;
  return guarded<Status>(localDBFile, [&] {
    db_->put(documentInfo.toJSON(), kDocumentInfoGroup, kDocumentInfoKey);
    return Status();
  });
}

Status ContentIndex::loadDocumentInfo() {
  if (Status opened = open(); !opened.ok()) return opened;
  struct Closer {
    ContentIndex* index;
    ~Closer() { index->close(); }
  } closer{this};
  return guarded<Status>(localDBFile, [&] {
    auto bytes = db()->getData(kDocumentInfoGroup, kDocumentInfoKey);
    if (!bytes) return Status();
    std::string error;
    auto info = DocumentInfo::fromJSON(asText(*bytes), &error);
    if (!info) return Status::corruption(localDBFile.string() + ": the index information can't be read: " + error);
    documentInfo = std::move(*info);
    if (!targetURL) targetURL = documentInfo.suggestedTarget;
    return Status();
  });
}

Result<std::optional<FSItem>> ContentIndex::loadItem(std::uint32_t id) const {
  return guarded<Result<std::optional<FSItem>>>(localDBFile, [&]() -> std::optional<FSItem> {
    auto db = this->db();
    if (!db) return std::nullopt;
    auto bytes = db->getData(kItemGroup, idKey(id));
    if (!bytes) return std::nullopt;
    return FSItem::decode(*bytes);
  });
}

Result<std::optional<std::uint32_t>> ContentIndex::loadLastAutoID() const {
  return guarded<Result<std::optional<std::uint32_t>>>(localDBFile, [&]() -> std::optional<std::uint32_t> {
    auto db = this->db();
    if (!db) return std::nullopt;
    return db->get<std::uint32_t>(kItemGroup, kLastAutoIDKey);
  });
}

Status ContentIndex::write(const FSItem& item) {
  auto db = requireDB();
  if (!db) return db.status();
  if (item.isDirectory()) forgetFolder(item.parentID);
  auto children = loadChildIds(item.parentID);
  if (!children) return children.status();
  children->push_back(item.fsid);
  std::sort(children->begin(), children->end());
  children->erase(std::unique(children->begin(), children->end()), children->end());
  forgetFolder(item.parentID);
  return guarded<Status>(localDBFile, [&] {
    std::vector<ValueGroupKey> rows;
    rows.push_back({PackedNumbers::storePackedDeltas(*children), kChildrenGroup, idKey(item.parentID)});
    rows.push_back({item.encoded(), kItemGroup, idKey(item.fsid)});
    (*db)->put(rows);
    return Status();
  });
}

Status ContentIndex::writeChildren(std::uint32_t parentID, const std::vector<FSItem>& items,
                                   std::uint32_t lastAutoID) {
  auto db = requireDB();
  if (!db) return db.status();
  auto children = loadChildIds(parentID);
  if (!children) return children.status();
  for (const FSItem& item : items) children->push_back(item.fsid);
  std::sort(children->begin(), children->end());
  children->erase(std::unique(children->begin(), children->end()), children->end());
  Status written = guarded<Status>(localDBFile, [&] {
    std::vector<ValueGroupKey> rows;
    rows.reserve(items.size() + 2);
    rows.push_back({PackedNumbers::storePackedDeltas(*children), kChildrenGroup, idKey(parentID)});
    for (const FSItem& item : items) rows.push_back({item.encoded(), kItemGroup, idKey(item.fsid)});
    rows.push_back({DataConvertible<std::uint32_t>::asData(lastAutoID), kItemGroup, kLastAutoIDKey});
    sortByKey(rows);
    (*db)->put(rows);
    return Status();
  });
  // The parent's cached contents gain the items rather than being read
  // again: a build adds to one folder many times in a row.
  if (!written.ok()) {
    forgetFolder(parentID);
    return written;
  }
  folderContentsCache_.access([&](auto& cache) {
    for (auto& [id, contents] : cache)
      if (id == parentID)
        for (const FSItem& item : items) contents[item.name] = item;
  });
  return written;
}

Status ContentIndex::write(std::vector<WordContainer>& containers) {
  std::vector<WordContainer*> all;
  all.reserve(containers.size());
  for (auto& c : containers) all.push_back(&c);
  return writeContainers(all);
}

Status ContentIndex::write(std::map<std::string, WordContainer>& containers) {
  std::vector<WordContainer*> all;
  all.reserve(containers.size());
  for (auto& [word, c] : containers) all.push_back(&c);
  return writeContainers(all);
}

Status ContentIndex::writeContainers(const std::vector<WordContainer*>& containers) {
  auto db = requireDB();
  if (!db) return db.status();
  auto dead = loadDeadIds();
  if (!dead) return dead.status();
  return guarded<Status>(localDBFile, [&] {
    std::vector<ValueGroupKey> rows;
    rows.reserve(containers.size());
    for (WordContainer* container : containers) {
      for (std::uint32_t id : *dead) container->remove(id);
      rows.push_back({container->dataToStore(), kWordGroup, container->word()});
    }
    sortByKey(rows);
    (*db)->put(rows);
    return Status();
  });
}

Result<std::vector<std::uint32_t>> ContentIndex::loadChildIds(std::uint32_t id) const {
  return guarded<Result<std::vector<std::uint32_t>>>(localDBFile, [&]() -> std::vector<std::uint32_t> {
    auto db = this->db();
    if (!db) return {};
    auto bytes = db->getData(kChildrenGroup, idKey(id));
    if (!bytes) return {};
    return PackedNumbers::unpackStoredDeltas(*bytes);
  });
}

Status ContentIndex::saveChildIds(std::uint32_t id, const std::vector<std::uint32_t>& ascendingIds) {
  forgetFolder(id);
  auto db = requireDB();
  if (!db) return db.status();
  return guarded<Status>(localDBFile, [&] {
    (*db)->putData(PackedNumbers::storePackedDeltas(ascendingIds), kChildrenGroup, idKey(id));
    return Status();
  });
}

Result<std::vector<std::uint32_t>> ContentIndex::loadDeadIds() const {
  return guarded<Result<std::vector<std::uint32_t>>>(localDBFile, [&]() -> std::vector<std::uint32_t> {
    auto db = this->db();
    if (!db) return {};
    auto bytes = db->getData(kDeadGroup, kDeadKey);
    if (!bytes) return {};
    return PackedNumbers::unpackStored(*bytes);
  });
}

Status ContentIndex::saveDeadIds(const std::set<std::uint32_t>& ids) {
  auto db = requireDB();
  if (!db) return db.status();
  std::vector<std::uint32_t> list(ids.begin(), ids.end());
  return guarded<Status>(localDBFile, [&] {
    (*db)->putData(PackedNumbers::storePacked(list), kDeadGroup, kDeadKey);
    return Status();
  });
}

Status ContentIndex::deleteItem(std::uint32_t id) {
  auto db = requireDB();
  if (!db) return db.status();
  forgetFolder(id);
  return guarded<Status>(localDBFile, [&] {
    (*db)->deleteValue(kItemGroup, idKey(id));
    return Status();
  });
}

Status ContentIndex::walk(std::string_view group,
                          const std::function<bool(const std::string& key, const Data& value)>& handler) const {
  auto db = requireDB();
  if (!db) return db.status();
  // Stopping early is an exception inside the walk, caught here.
  struct Stop {};
  try {
    (*db)->keyValuesWith(group, kBatchSize, [&](const std::string& key, const Data& value) {
      if (!handler(key, value)) throw Stop{};
    });
  } catch (const Stop&) {
    return Status();
  } catch (const LMDBError& error) {
    return error.toStatus(localDBFile.string());
  } catch (const std::exception& error) {
    return Status::internal(localDBFile.string() + ": " + error.what());
  }
  return Status();
}

Status ContentIndex::compact() {
  auto db = requireDB();
  if (!db) return db.status();
  folderContentsCache_.access([](auto& cache) { cache.clear(); });
  return guarded<Status>(localDBFile, [&] {
    (*db)->compact(localDBFile);
    return Status();
  });
}

void ContentIndex::forgetFolder(std::uint32_t id) {
  folderContentsCache_.access([&](auto& cache) {
    for (auto it = cache.begin(); it != cache.end(); ++it) {
      if (it->first == id) {
        cache.erase(it);
        return;
      }
    }
  });
}

Result<ContentIndex::FolderContents> ContentIndex::loadFolderContents(std::uint32_t id) {
  // Reading under the cache's lock is allowed: that lock comes before the
  // store's own.
  return folderContentsCache_.access([&](auto& cache) -> Result<FolderContents> {
    for (std::size_t i = 0; i < cache.size(); ++i) {
      if (cache[i].first == id) {
        // A hit changes places with the front entry (a swap, not a shift).
        if (i != 0) std::swap(cache[0], cache[i]);
        return cache[0].second;
      }
    }
    FolderContents contents;
    auto children = loadChildIds(id);
    if (!children) return children.status();
    for (std::uint32_t child : *children) {
      auto item = loadItem(child);
      if (!item) return item.status();
      if (*item) contents[(*item)->name] = std::move(**item);
    }
    cache.emplace_back(id, contents);
    // New entries go last, and the last entry is what gives way when full.
    if (cache.size() > kFolderCacheCapacity) cache.pop_back();
    return contents;
  });
}

Result<std::optional<WordContainer>> ContentIndex::findExact(const std::string& word) const {
  return guarded<Result<std::optional<WordContainer>>>(localDBFile, [&]() -> std::optional<WordContainer> {
    auto db = this->db();
    if (!db) return std::nullopt;
    auto bytes = db->getData(kWordGroup, word);
    if (!bytes) return std::nullopt;
    WordContainer container(word, std::move(*bytes));
    container.load();
    return container;
  });
}

std::vector<std::string> ContentIndex::pathParts(const std::string& path) const {
  std::string_view relative = path;
  if (documentInfo.suggestedTarget) {
    std::string_view target = *documentInfo.suggestedTarget;
    if (relative.starts_with(target) &&
        (relative.size() == target.size() || relative[target.size()] == '/' || target.ends_with('/')))
      relative.remove_prefix(target.size());
  }
  std::vector<std::string> parts;
  std::size_t start = 0;
  while (start <= relative.size()) {
    std::size_t end = relative.find('/', start);
    if (end == std::string_view::npos) end = relative.size();
    if (end > start) parts.emplace_back(relative.substr(start, end - start));
    start = end + 1;
  }
  return parts;
}

Result<std::optional<std::uint32_t>> ContentIndex::findID(const std::string& path) {
  std::uint32_t id = 0;
  for (const std::string& part : pathParts(path)) {
    auto contents = loadFolderContents(id);
    if (!contents) return contents.status();
    auto found = contents->find(part);
    if (found == contents->end()) return std::optional<std::uint32_t>();
    id = found->second.fsid;
  }
  return std::optional<std::uint32_t>(id);
}

std::optional<std::string> ContentIndex::pathFor(std::uint32_t id) const {
  std::string path;
  bool found = false;
  // A damaged file can make parents loop; each ID is visited once.
  std::unordered_set<std::uint32_t> visited;
  while (visited.insert(id).second) {
    auto item = loadItem(id);
    // A read failure ends the walk with what was found.
    if (!item || !*item) break;
    path = found ? (*item)->name + "/" + path : (*item)->name;
    found = true;
    id = (*item)->parentID;
  }
  if (!found) return std::nullopt;
  if (!documentInfo.suggestedTarget) return path;
  std::string target = *documentInfo.suggestedTarget;
  // On Linux the root needs no correction ("/" is one walk).
  if (target.empty() || target.back() != '/') target += '/';
  return target + path;
}

Result<std::vector<WordContainer>> ContentIndex::findWordInWordContainers(const std::string& word,
                                                                          bool wholeWords) const {
  std::vector<WordContainer> found;
  Status walked = walk(kWordGroup, [&](const std::string& key, const Data& value) {
    std::string_view stored = std::string_view(key).substr(1);
    bool match = wholeWords ? stored == word : stored.find(word) != std::string_view::npos;
    if (match) {
      WordContainer container(std::string(stored), value);
      container.load();
      found.push_back(std::move(container));
    }
    return true;
  });
  if (!walked.ok()) {
    // What was found until the failure is still an answer.
    if (found.empty()) return walked;
  }
  return found;
}

Result<std::map<std::string, std::int64_t>> ContentIndex::searchContent(const std::vector<std::string>& forWords,
                                                                        const std::vector<std::string>& excludingWords,
                                                                        bool wholeWords, bool allWords) const {
  std::map<std::uint32_t, SearchProgress> progress;
  for (const std::string& word : forWords) {
    auto containers = findWordInWordContainers(word, wholeWords);
    if (!containers) return containers.status();
    std::map<std::uint32_t, std::int64_t> merged;
    for (auto& container : *containers)
      for (const auto& [document, count] : container.documentIDs()) merged[document] += count;
    for (const auto& [document, count] : merged) {
      SearchProgress& entry = progress[document];
      entry.documentID = document;
      entry.wordStatistics[word] = static_cast<std::uint16_t>(std::min<std::int64_t>(count, 0xFFFF));
      ++entry.matchedWords;
    }
  }
  for (const std::string& word : excludingWords) {
    auto containers = findWordInWordContainers(word, wholeWords);
    if (!containers) return containers.status();
    for (auto& container : *containers)
      for (const auto& [document, count] : container.documentIDs())
        if (auto it = progress.find(document); it != progress.end()) ++it->second.excludingWords;
  }
  std::map<std::string, std::int64_t> scores;
  for (const auto& [document, entry] : progress) {
    if (entry.excludingWords != 0) continue;
    if (allWords ? entry.matchedWords != static_cast<int>(forWords.size()) : entry.matchedWords == 0) continue;
    auto path = pathFor(document);
    if (!path) continue;
    std::int64_t score = 0;
    for (const auto& [word, count] : entry.wordStatistics) score += count;
    scores[*path] = score;
  }
  return scores;
}

std::set<std::string> ContentIndex::documentIDsToPaths(const std::vector<std::uint32_t>& ids) const {
  std::set<std::string> paths;
  for (std::uint32_t document : ids)
    if (auto path = pathFor(document)) paths.insert(std::move(*path));
  return paths;
}

Result<std::vector<std::string>> ContentIndex::findDocumentsForWord(const std::string& word) const {
  auto container = findExact(word);
  if (!container) return container.status();
  if (!*container) return std::vector<std::string>();
  std::vector<std::uint32_t> ids;
  for (const auto& [document, count] : (*container)->documentIDs()) ids.push_back(document);
  auto paths = documentIDsToPaths(ids);
  return std::vector<std::string>(paths.begin(), paths.end());
}

Result<std::vector<std::string>> ContentIndex::allWords() const {
  std::vector<std::string> words;
  Status walked = walk(kWordGroup, [&](const std::string& key, const Data&) {
    words.push_back(key.substr(1));
    return true;
  });
  if (!walked.ok()) return walked;
  return words;
}

Result<std::vector<std::string>> ContentIndex::allFSItemNames() const {
  std::vector<std::string> names;
  Status walked = walk(kItemGroup, [&](const std::string&, const Data& value) {
    if (auto item = FSItem::decode(value)) names.push_back(std::move(item->name));
    return true;
  });
  if (!walked.ok()) return walked;
  return names;
}

Result<std::vector<std::string>> ContentIndex::pathsForFSItemName(const std::string& name) const {
  std::vector<std::string> paths;
  Status walked = walk(kItemGroup, [&](const std::string&, const Data& value) {
    auto item = FSItem::decode(value);
    if (item && item->name == name)
      if (auto path = pathFor(item->fsid)) paths.push_back(std::move(*path));
    return true;
  });
  if (!walked.ok()) return walked;
  return paths;
}

bool ContentIndex::isTargetMounted() const {
  const auto& target = documentInfo.suggestedTarget ? documentInfo.suggestedTarget : targetURL;
  if (!target) return false;
  std::error_code ec;
  return std::filesystem::exists(*target, ec);
}

}  // namespace velmora
