#pragma once
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_set>
#include <vector>

#include "common/Clock.h"
#include "common/DelayTimer.h"
#include "common/Lock.h"
#include "common/OperationQueue.h"
#include "query/QueryContainer.h"
#include "model/SearchDataSource.h"
#include "model/OSItemFilter.h"
#include "search/SearchDataSourceMaker.h"
#include "model/SearchLocation.h"

namespace velmora {

// Told how one search goes. All calls but the last come on the main queue;
// searchManagerIsBeginingSearches comes inside searchFor on the caller's
// thread, searchManagerHasFinishedAllSearches on the result loop's thread.
class SearchManagerDelegate {
 public:
  virtual ~SearchManagerDelegate() = default;
  virtual void searchManagerIsBeginingSearches(const QueryContainer& query) = 0;
  virtual void searchManagerFoundItems(const std::vector<SearchResult>& items,
                                       std::int64_t totalNumberOfResultsReturnedSoFar,
                                       const QueryContainer& forQuery) = 0;
  virtual void searchManagerHasFinishedAllSearches(const QueryContainer& query) = 0;
  virtual void searchDataSourceProgress(std::int64_t /*searchedNumberOfFiles*/,
                                        std::int64_t /*itemsWaitingInQueue*/) {}
  virtual void searchingInsideFile(const std::string& /*name*/, bool /*inProgress*/,
                                   int /*percentageProgress*/) {}
  virtual void searchInvalidQuery() {}
};

// What a search manager runs on: the application hands in its table of
// sources (shell/SearchSources); tests put in their own sources, a manual
// scheduler and a queue they drain.
struct SearchManagerEnvironment {
  std::vector<SearchDataSourceMaker> sources;
  // The test for system and invisible items; null lets every item through.
  std::shared_ptr<OSItemFilter> osItemFilter;
  // Times the pauses of the result loop and the progress thinning; null
  // means Scheduler::background().
  Scheduler* scheduler = nullptr;
  // Where delegate calls go; empty means MainQueue::async.
  std::function<void(std::function<void()>)> mainQueue;
};

// Runs one search: starts the sources a query calls for, filters and
// de-duplicates their results on three workers, and reports to its
// delegate. One manager serves one search; stop it and make a new one.
class SearchManager final : public SearchDataSourceDelegate,
                            public std::enable_shared_from_this<SearchManager> {
 public:
  static std::shared_ptr<SearchManager> make(std::weak_ptr<SearchManagerDelegate> delegate,
                                             bool searchInsideSystemAndApps,
                                             SearchManagerEnvironment environment = {});
  ~SearchManager() override;

  // Returns at once; the query carries its own location, so `location` is
  // not used.
  void searchFor(const QueryContainer& query, const std::optional<SearchLocation>& location = std::nullopt);
  void stop();
  // Blocks until the search's own threads have ended (shutdown, tests).
  void waitUntilDone();

  // SearchDataSourceDelegate
  bool shouldStop() const override { return shouldStop_.load(); }
  bool wantsInvisibleItems() const override { return searchInsideSystemAndApps_; }
  void searchResults(std::vector<SearchResult> results, SearchDataSource& fromDataSource) override;
  void searchDataSourceProgress(std::int64_t searchedNumberOfFiles) override;
  void searchDataSourceProgress(SearchDataSource&, std::int64_t, const std::string&) override {}
  void searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) override;
  void searchInvalidQuery() override;

  bool searchInProgress() const { return searchInProgress_.load(); }
  bool allSearchOperationsEnded() const { return allSearchOperationsEnded_.load(); }
  std::int64_t numberOfResultsReturned() const { return numberOfResultsReturned_.value(); }
  std::int64_t numberOfFilesSearched() const { return numberOfFilesSearched_.value(); }
  std::int64_t numberOfItemsInQueue() const { return numberOfItemsInQueue_.value(); }
  const QueryContainer& currentSearchQuery() const { return currentSearchQuery_; }
  std::vector<std::shared_ptr<SearchDataSource>> allDataSources() const { return allDataSources_.value(); }
  // Raw results waiting for the workers, in the order they will be taken.
  std::vector<SearchResult> queuedResults() const { return queuedResults_.value(); }

 private:
  SearchManager(std::weak_ptr<SearchManagerDelegate> delegate, bool searchInsideSystemAndApps,
                SearchManagerEnvironment environment);

  void runSearch();
  void addSourceOperation(const std::shared_ptr<SearchDataSource>& source);
  void searchDataSourceFinishedSearch(const std::shared_ptr<SearchDataSource>& source);
  void cancelSpotlight();
  void processQueuedResults();
  void updateProgress(std::int64_t currentItemsCount);
  void process(SearchResult item);
  std::vector<SearchResult> expandAndFilter(const SearchResult& item);
  bool filter(SearchResult& result);
  void pause(Seconds duration);
  void onMain(std::function<void()> task);
  Scheduler& scheduler() const;

  std::weak_ptr<SearchManagerDelegate> delegate_;
  const bool searchInsideSystemAndApps_;
  SearchManagerEnvironment environment_;
  std::vector<std::shared_ptr<SearchDataSource>> commandBasedDataSources_;
  std::vector<std::shared_ptr<SearchDataSource>> fileSystemSearchDataSources_;
  std::mutex sourcesMutex_;  // guards fileSystemSearchDataSources_ against stop()
  Locked<std::vector<std::shared_ptr<SearchDataSource>>> allDataSources_;
  Locked<std::vector<std::shared_ptr<SearchDataSource>>> finishedDataSources_;
  QueryContainer currentSearchQuery_;
  Locked<std::int64_t> numberOfFilesSearched_{0};
  Locked<std::int64_t> numberOfItemsInQueue_{0};
  Locked<DelayTimer> numberOfFilesSearchedDelay_;
  Locked<std::vector<SearchResult>> queuedResults_;
  std::atomic<bool> shouldStop_{false};
  std::atomic<bool> searchInProgress_{false};
  std::atomic<bool> allSearchOperationsEnded_{false};
  Locked<std::unordered_set<std::int64_t>> alreadyIncludedInDisplay_;
  Locked<std::unordered_set<std::int64_t>> alreadyFiltered_;
  Locked<std::int64_t> numberOfResultsReturned_{0};

  std::unique_ptr<OperationQueue> searchQueue_;
  std::unique_ptr<OperationQueue> workers_;
  std::mutex doneMutex_;
  std::condition_variable doneChanged_;
  bool started_ = false;
  bool done_ = false;
};

}  // namespace velmora
