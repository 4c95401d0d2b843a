#include "index/ContentIndexSearch.h"

#include "common/Logger.h"
#include "index/ContentIndexManager.h"
#include "index/store/IndexKeys.h"
#include "query/QueryContainer.h"
#include "stores/PreferenceStore.h"

namespace velmora {

namespace {

bool isAtOrBelow(std::string_view path, std::string_view folder) {
  while (folder.size() > 1 && folder.back() == '/') folder.remove_suffix(1);
  if (folder == "/") return path.starts_with('/');
  return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

std::int64_t unixSeconds(std::int32_t referenceSeconds) {
  return referenceSeconds == 0 ? 0 : static_cast<std::int64_t>(referenceSeconds) + 978307200;
}

}  // namespace

ContentIndexSearch::ContentIndexSearch(std::function<std::vector<std::shared_ptr<ContentIndex>>()> indexes,
                                       std::function<bool()> cachingEnabled)
    : indexes_(std::move(indexes)), cachingEnabled_(std::move(cachingEnabled)) {}

std::shared_ptr<ContentIndexSearch> ContentIndexSearch::overSharedManager() {
  // The list is taken when the source is made (on the main queue), so the
  // search thread never reads the manager.
  std::vector<std::shared_ptr<ContentIndex>> snapshot = ContentIndexManager::shared().indexes();
  return std::make_shared<ContentIndexSearch>([snapshot] { return snapshot; },
                                              [] { return PreferenceStore::shared().boolForKey("diskCatalogCaching"); });
}

std::vector<std::shared_ptr<ContentIndex>> ContentIndexSearch::cachesForLocations(
    const QueryContainer& query, const std::vector<std::shared_ptr<ContentIndex>>& all) {
  std::vector<std::shared_ptr<ContentIndex>> chosen;
  if (!query.whereLocation) return chosen;
  std::vector<std::string> locations = query.whereLocation->locationURLs();
  for (const auto& index : all) {
    const auto& target = index->documentInfo.suggestedTarget ? index->documentInfo.suggestedTarget : index->targetURL;
    if (!target) continue;
    for (const auto& location : locations) {
      if (isAtOrBelow(location, *target) || isAtOrBelow(*target, location)) {
        chosen.push_back(index);
        break;
      }
    }
  }
  return chosen;
}

SearchResult ContentIndexSearch::fsItemToSearchResult(const FSItem& item, std::string path, bool targetMounted) {
  SearchResult result;
  result.path = std::move(path);
  result.isDirectory = item.isDirectory();
  result.size = item.isDirectory() || item.size <= 0 ? 0 : static_cast<std::uint64_t>(item.size);
  result.creationDate = unixSeconds(item.creationDate);
  result.modDate = unixSeconds(item.modificationDate);
  result.searchResultSuppliedBy = SearchResultSupplier::CompactContentIndex;
  result.checkToSeeIfItExists = targetMounted;
  return result;
}

Status ContentIndexSearch::searchForFSItemNames(ContentIndex& index, const QueryContainer& query,
                                                const std::function<bool()>& shouldStop,
                                                const std::function<void(std::vector<SearchResult>)>& deliver) {
  VLOG("index search of {} for {}", index.displayName, query.baseString);
  const bool mounted = index.isTargetMounted();
  std::vector<SearchResult> bucket;
  std::size_t seen = 0;
  Status walked = index.walk(IndexKeys::kItemGroup, [&](const std::string&, const Data& value) {
    if ((++seen % kBatchSize) == 0) {
      if (!bucket.empty()) deliver(std::exchange(bucket, {}));
      if (shouldStop()) return false;
    }
    auto item = FSItem::decode(value);
    if (!item) return true;
    // The name first: building a path costs a read per level.
    if (!query.fsItemNameStringIncludesWordsFromQuery(item->name)) return true;
    auto path = index.pathFor(item->fsid);
    if (!path) {
      VLOG("Failed to get path. {}", item->fsid);
      return true;
    }
    bucket.push_back(fsItemToSearchResult(*item, std::move(*path), mounted));
    return true;
  });
  VLOG("index search of {}: {} records, {}", index.displayName, seen, walked.toString());
  deliver(std::move(bucket));
  return walked;
}

void ContentIndexSearch::search(const QueryContainer& query, SearchDataSourceDelegate& handler) {
  if (!cachingEnabled_ || !cachingEnabled_()) return;
  // A query with only commands runs no name walk (the content command's
  // search comes with it).
  if (query.searchWords.empty() && query.orStringGroups.empty()) return;
  auto chosen = cachesForLocations(query, indexes_());
  for (const auto& index : chosen) {
    if (handler.shouldStop()) break;
    if (Status opened = index->open(); !opened.ok()) {
      VLOG("error: {}", opened.message());
      continue;
    }
    Status walked = searchForFSItemNames(
        *index, query, [&] { return handler.shouldStop(); },
        [&](std::vector<SearchResult> results) {
          if (!results.empty()) handler.searchResults(std::move(results), *this);
        });
    index->close();
    // One failing index passes over to the next.
    if (!walked.ok()) VLOG("error: {}", walked.message());
  }
}

}  // namespace velmora
