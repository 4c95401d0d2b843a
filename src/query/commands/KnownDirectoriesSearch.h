#pragma once
#include <atomic>

#include "model/SearchDataSource.h"

namespace velmora {

// Lists the remembered folder that a query's KnownDirectoriesCommand names:
// everything below it, or only its entries when the command is shallow.
// A query without that command makes it do nothing.
class KnownDirectoriesSearch : public SearchDataSource {
 public:
  SearchResultSupplier type() const override { return SearchResultSupplier::KnownDirectoriesSearch; }
  std::vector<std::string> dataSourceLocations(const QueryContainer& query) const override;
  void search(const QueryContainer& query, SearchDataSourceDelegate& handler) override;
  void searchShouldStop() override { stop_ = true; }
  std::string debugDescription() const override { return "KnownDirectoriesSearch"; }

 private:
  std::atomic<bool> stop_{false};
};

}  // namespace velmora
