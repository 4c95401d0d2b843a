#pragma once
#include <cstdint>
#include <string>
#include <vector>

#include "model/SearchResult.h"

namespace velmora {

class QueryContainer;
class SearchDataSource;

// How a data source reports while it runs. The search manager is one; a
// search outside the manager uses NullSearchDataSourceDelegate.
class SearchDataSourceDelegate {
 public:
  virtual ~SearchDataSourceDelegate() = default;
  // Polled by sources between units of work.
  virtual bool shouldStop() const = 0;
  // Whether invisible items and system folders are wanted.
  virtual bool wantsInvisibleItems() const = 0;
  virtual void searchResults(std::vector<SearchResult> results, SearchDataSource& fromDataSource) = 0;
  // Adds to the count of files examined.
  virtual void searchDataSourceProgress(std::int64_t searchedNumberOfFiles) = 0;
  // Directories discovered so far by a source on a disk.
  virtual void searchDataSourceProgress(SearchDataSource& source, std::int64_t searchedInsideNumberOfDirectories,
                                        const std::string& disk) = 0;
  // Content search inside one file.
  virtual void searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) = 0;
  // The source found the query impossible to run.
  virtual void searchInvalidQuery() = 0;
};

// One place results come from: the file-system crawl, an index, the metadata
// index, a command's own listing. `search` runs on the calling thread until
// done or stopped.
class SearchDataSource {
 public:
  virtual ~SearchDataSource() = default;
  // Decides queue position of its results and the end rule of a search.
  virtual SearchResultSupplier type() const = 0;
  // Folders this source itself covers for the query; a non-empty answer
  // means the standard sources are not needed.
  virtual std::vector<std::string> dataSourceLocations(const QueryContainer& /*query*/) const { return {}; }
  virtual void search(const QueryContainer& query, SearchDataSourceDelegate& handler) = 0;
  // Asks the source to end early; any thread, also after it has finished.
  virtual void searchShouldStop() = 0;
  virtual std::string debugDescription() const { return std::string(toString(type())); }
};

// A delegate for a search outside the search manager: two plain answers, and
// every report is dropped.
class NullSearchDataSourceDelegate final : public SearchDataSourceDelegate {
 public:
  explicit NullSearchDataSourceDelegate(bool shouldStop = false, bool wantsInvisibleItems = false)
      : shouldStop_(shouldStop), wantsInvisibleItems_(wantsInvisibleItems) {}
  bool shouldStop() const override { return shouldStop_; }
  bool wantsInvisibleItems() const override { return wantsInvisibleItems_; }
  void searchResults(std::vector<SearchResult>, SearchDataSource&) override {}
  void searchDataSourceProgress(std::int64_t) override {}
  void searchDataSourceProgress(SearchDataSource&, std::int64_t, const std::string&) override {}
  void searchingInsideFile(const std::string&, bool, int) override {}
  void searchInvalidQuery() override {}

  bool shouldStop_;
  bool wantsInvisibleItems_;
};

}  // namespace velmora
