#include "index/ContentIndex.h"

#include <stdexcept>
#include <unordered_set>

#include "common/SharedAdditions.h"
#include "index/store/IndexKeys.h"
#include "index/store/LMDBError.h"
#include "index/store/PackedNumbers.h"
#include "index/store/UUID.h"

namespace velmora {

using namespace IndexKeys;

ContentIndex::ContentIndex(std::filesystem::path localDBFile, std::string displayName, std::optional<std::string> id)
    : id(id ? std::move(*id) : newUUIDString()),
      displayName(std::move(displayName)),
      localDBFile(std::move(localDBFile)) {}

void ContentIndex::open() {
  folderContentsCache_.access([](auto& cache) { cache.clear(); });
  openCount_.access([&](int& count) {
    if (count == 0) {
      auto db = std::make_shared<SimpleLMDB>();
      if (readOnly)
        db->openReadOnly(localDBFile);
      else
        db->open(localDBFile, true);
      db_ = std::move(db);
    }
    ++count;
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

std::shared_ptr<SimpleLMDB> ContentIndex::requireDB() const {
  auto db = this->db();
  if (!db) throw LMDBError(EINVAL, "the index " + localDBFile.string() + " is not open");
  return db;
}

void ContentIndex::saveDocumentInfo() {
  open();
  struct Closer {
    ContentIndex* index;
    ~Closer() { index->close(); }
  } closer{this};
  if (targetURL) documentInfo.suggestedTarget = targetURL;
  requireDB()->put(documentInfo.toJSON(), kDocumentInfoGroup, kDocumentInfoKey);
}

void ContentIndex::loadDocumentInfo() {
  open();
  struct Closer {
    ContentIndex* index;
    ~Closer() { index->close(); }
  } closer{this};
  auto bytes = requireDB()->getData(kDocumentInfoGroup, kDocumentInfoKey);
  if (!bytes) return;
  std::string error;
  auto info = DocumentInfo::fromJSON(asText(*bytes), &error);
  if (!info) throw std::runtime_error("the index information can't be read: " + error);
  documentInfo = std::move(*info);
}

std::optional<FSItem> ContentIndex::loadItem(std::uint32_t id) const {
  auto db = this->db();
  if (!db) return std::nullopt;
  auto bytes = db->getData(kItemGroup, idKey(id));
  if (!bytes) return std::nullopt;
  return FSItem::decode(*bytes);
}

std::optional<std::uint32_t> ContentIndex::loadLastAutoID() const {
  auto db = this->db();
  if (!db) return std::nullopt;
  return db->get<std::uint32_t>(kItemGroup, kLastAutoIDKey);
}

void ContentIndex::write(const FSItem& item) {
  auto db = requireDB();
  if (item.isDirectory()) forgetFolder(item.parentID);
  std::vector<std::uint32_t> children = loadChildIds(item.parentID);
  children.push_back(item.fsid);
  std::vector<ValueGroupKey> rows;
  rows.push_back({item.encoded(), kItemGroup, idKey(item.fsid)});
  rows.push_back({PackedNumbers::storePackedDeltas(children), kChildrenGroup, idKey(item.parentID)});
  db->put(rows);
}

void ContentIndex::write(std::vector<WordContainer>& containers) {
  std::vector<WordContainer*> all;
  all.reserve(containers.size());
  for (auto& c : containers) all.push_back(&c);
  writeContainers(all);
}

void ContentIndex::write(std::map<std::string, WordContainer>& containers) {
  std::vector<WordContainer*> all;
  all.reserve(containers.size());
  for (auto& [word, c] : containers) all.push_back(&c);
  writeContainers(all);
}

void ContentIndex::writeContainers(const std::vector<WordContainer*>& containers) {
  auto db = requireDB();
  std::vector<std::uint32_t> dead = loadDeadIds();
  std::vector<ValueGroupKey> rows;
  rows.reserve(containers.size());
  for (WordContainer* container : containers) {
    for (std::uint32_t id : dead) container->remove(id);
    rows.push_back({container->dataToStore(), kWordGroup, container->word()});
  }
  db->put(rows);
}

std::vector<std::uint32_t> ContentIndex::loadChildIds(std::uint32_t id) const {
  auto db = this->db();
  if (!db) return {};
  auto bytes = db->getData(kChildrenGroup, idKey(id));
  if (!bytes) return {};
  return PackedNumbers::unpackStoredDeltas(*bytes);
}

void ContentIndex::saveChildIds(std::uint32_t id, const std::vector<std::uint32_t>& ascendingIds) {
  forgetFolder(id);
  requireDB()->putData(PackedNumbers::storePackedDeltas(ascendingIds), kChildrenGroup, idKey(id));
}

std::vector<std::uint32_t> ContentIndex::loadDeadIds() const {
  auto db = this->db();
  if (!db) return {};
  auto bytes = db->getData(kDeadGroup, kDeadKey);
  if (!bytes) return {};
  return PackedNumbers::unpackStored(*bytes);
}

void ContentIndex::saveDeadIds(const std::set<std::uint32_t>& ids) {
  std::vector<std::uint32_t> list(ids.begin(), ids.end());
  requireDB()->putData(PackedNumbers::storePacked(list), kDeadGroup, kDeadKey);
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

ContentIndex::FolderContents ContentIndex::loadFolderContents(std::uint32_t id) {
  // Reading under the cache's lock is allowed: that lock comes before the
  // store's own.
  return folderContentsCache_.access([&](auto& cache) -> FolderContents {
    for (std::size_t i = 0; i < cache.size(); ++i) {
      if (cache[i].first == id) {
        // A hit changes places with the front entry (a swap, not a shift).
        if (i != 0) std::swap(cache[0], cache[i]);
        return cache[0].second;
      }
    }
    FolderContents contents;
    for (std::uint32_t child : loadChildIds(id)) {
      if (auto item = loadItem(child)) contents[item->name] = std::move(*item);
    }
    cache.emplace_back(id, contents);
    // New entries go last, and the last entry is what gives way when full.
    if (cache.size() > kFolderCacheCapacity) cache.pop_back();
    return contents;
  });
}

std::optional<WordContainer> ContentIndex::findExact(const std::string& word) const {
  try {
    auto db = this->db();
    if (!db) return std::nullopt;
    auto bytes = db->getData(kWordGroup, word);
    if (!bytes) return std::nullopt;
    WordContainer container(word, std::move(*bytes));
    container.load();
    return container;
  } catch (const std::exception&) {
    return std::nullopt;
  }
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

std::optional<std::uint32_t> ContentIndex::findID(const std::string& path) {
  std::uint32_t id = 0;
  for (const std::string& part : pathParts(path)) {
    FolderContents contents = loadFolderContents(id);
    auto found = contents.find(part);
    if (found == contents.end()) return std::nullopt;
    id = found->second.fsid;
  }
  return id;
}

std::optional<std::string> ContentIndex::pathFor(std::uint32_t id) const {
  std::string path;
  bool found = false;
  // A damaged file can make parents loop; each ID is visited once.
  std::unordered_set<std::uint32_t> visited;
  try {
    while (visited.insert(id).second) {
      auto item = loadItem(id);
      if (!item) break;
      path = found ? item->name + "/" + path : item->name;
      found = true;
      id = item->parentID;
    }
  } catch (const std::exception&) {
    // A read failure ends the walk with what was found.
  }
  if (!found) return std::nullopt;
  if (!documentInfo.suggestedTarget) return path;
  std::string target = *documentInfo.suggestedTarget;
  // On Linux the root needs no correction ("/" is one walk).
  if (target.empty() || target.back() != '/') target += '/';
  return target + path;
}

}  // namespace velmora
