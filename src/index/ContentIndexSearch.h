#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "index/ContentIndex.h"
#include "model/SearchDataSource.h"

namespace velmora {

class QueryContainer;
class ContentIndexManager;

// The data source that answers a query from index files instead of the
// disk: every item record whose name passes the query's name test, also
// when the indexed disk is not mounted (such results are not looked for on
// disk). It keeps no state between searches.
class ContentIndexSearch final : public SearchDataSource {
 public:
  static constexpr std::size_t kBatchSize = 2500;

  // `indexes` gives the registered indexes when a search starts;
  // `cachingEnabled` is the setting "diskCatalogCaching".
  ContentIndexSearch(std::function<std::vector<std::shared_ptr<ContentIndex>>()> indexes,
                     std::function<bool()> cachingEnabled);
  // Over the process's index manager and the user's setting.
  static std::shared_ptr<ContentIndexSearch> overSharedManager();

  SearchResultSupplier type() const override { return SearchResultSupplier::CompactContentIndex; }
  void search(const QueryContainer& query, SearchDataSourceDelegate& handler) override;
  void searchShouldStop() override {}
  std::string debugDescription() const override { return "ContentIndexSearch"; }

  // The indexes whose target and one of the query's locations lie one
  // within the other.
  static std::vector<std::shared_ptr<ContentIndex>> cachesForLocations(
      const QueryContainer& query, const std::vector<std::shared_ptr<ContentIndex>>& all);
  // Results go to `deliver` in batches; gives the failure that ended the
  // walk, if any.
  static Status searchForFSItemNames(ContentIndex& index, const QueryContainer& query,
                                     const std::function<bool()>& shouldStop,
                                     const std::function<void(std::vector<SearchResult>)>& deliver);
  static SearchResult fsItemToSearchResult(const FSItem& item, std::string path, bool targetMounted);

 private:
  std::function<std::vector<std::shared_ptr<ContentIndex>>()> indexes_;
  std::function<bool()> cachingEnabled_;
};

}  // namespace velmora
