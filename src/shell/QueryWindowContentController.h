#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/Clock.h"
#include "query/QueryContainer.h"
#include "model/SearchLocation.h"
#include "search/SearchManager.h"
#include "shell/SearchSources.h"
#include "search/SearchResultsBucket.h"
#include "search/results/ResultsOutlineViewVC.h"
#include "shell/ProgressVC.h"
#include "shell/QueryTextFieldsVC.h"
#include "stores/SavedSearchItem.h"

namespace velmora {

class GCDAdditions;
class ScriptCommand;

// What a query window runs on. Empty members take the real ones; tests put
// in a manual scheduler, their own main queue and data sources.
struct QueryWindowEnvironment {
  // The flush tick and the retry while waiting for a disk; null: Scheduler::main().
  Scheduler* scheduler = nullptr;
  // The delayed start after typing; null: GCDAdditions::shared().
  GCDAdditions* delays = nullptr;
  // Runs a task on the main thread; empty: MainQueue::async.
  std::function<void(std::function<void()>)> mainQueue;
  // The location menu's choice; none while the chosen disk is away.
  std::function<std::optional<SearchLocation>()> currentLocation;
  SearchManagerEnvironment searchEnvironment = SearchSources::standardEnvironment();
  // Runs a script command on files; empty: ScriptRunner.
  std::function<void(const ScriptCommand&, const std::vector<std::string>&)> runScript;
  // Runs a parse away from the main thread; empty: QueryParseQueue.
  std::function<void(std::function<void()>)> parseQueue;
};

// The controller of one search window: turns typed text into a query, owns
// the window's search manager, hands found items to the results list in
// time slices, and keeps the progress line. Main thread only; queries are
// parsed on the parse queue, so a long one never holds up the main loop.
// Every search it starts has ended when it is destroyed.
class QueryWindowContentController : public SearchManagerDelegate,
                                     public std::enable_shared_from_this<QueryWindowContentController> {
 public:
  enum class State { idle, waitingForDisk, searching, finished };

  static std::shared_ptr<QueryWindowContentController> make(QueryWindowEnvironment environment = {});
  ~QueryWindowContentController() override;

  // A keystroke changed the field: keeps its first line, stops the running
  // search, and starts one after startSearchDelay when asked to or when
  // searches start automatically.
  void controlTextDidChange(const std::string& text, bool alwaysStartSearch = false);
  void startSearchAction() { doSearch(); }
  // Reads the location and has the field parsed; the search starts when the
  // parse comes back, unless a keystroke or another start came first.
  void doSearch();
  // Escape: once stops; twice in a row also returns to the query field.
  void cancel(bool isKeyPress = true);
  void cancelOperation();
  void changeCurrentSearchTextAndLocation(const std::string& query, bool performSearch);

  // SearchManagerDelegate
  void searchManagerIsBeginingSearches(const QueryContainer& query) override;
  void searchManagerFoundItems(const std::vector<SearchResult>& items, std::int64_t totalNumberOfResultsReturnedSoFar,
                               const QueryContainer& forQuery) override;
  void searchManagerHasFinishedAllSearches(const QueryContainer& query) override;
  void searchDataSourceProgress(std::int64_t searchedNumberOfFiles, std::int64_t itemsWaitingInQueue) override;
  void searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) override;
  void searchInvalidQuery() override;
  // Directory progress of a crawl (not passed on by the search manager).
  void searchDataSourceProgress(std::int64_t searchedInsideNumberOfDirectories, const std::string& disk);

  void flushResults();

  QueryTextFieldsVC& textFields() { return *textFields_; }
  ProgressVC& progress() { return progress_; }
  ResultsOutlineViewVC& outline() { return *outline_; }
  const std::optional<QueryContainer>& currentQuery() const { return currentQuery_; }
  const std::shared_ptr<SearchManager>& currentSearchManager() const { return currentSearchManager_; }
  const SavedSearchItem& currentSearch() const { return currentSearch_; }
  const std::string& windowTitle() const { return windowTitle_; }
  State state() const { return state_; }
  int stopCounter() const { return stopCounter_; }
  std::int64_t lastTotalNumberOfResultsReturned() const { return lastTotalNumberOfResultsReturned_; }
  bool soundexOn = false;

  // The query's words as the results list promotes names by them (word
  // parts joined, lower-case); `velmora search --sort` orders by the same.
  static std::optional<std::string> queryWords(const QueryContainer& query);

  // Front-end hooks: a redraw is due; the query field should take the focus.
  std::function<void()> onChange;
  std::function<void()> onFocusSearchField;

 private:
  class ManagerDelegate;
  explicit QueryWindowContentController(QueryWindowEnvironment environment);
  void setup();
  void startParsedSearch(std::uint64_t generation, const std::string& text, QueryContainer query,
                         const SearchLocation& location);
  void finishedOnMain(const QueryContainer& query);
  void changed();

  QueryWindowEnvironment environment_;
  Scheduler& scheduler_;
  GCDAdditions& delays_;
  std::unique_ptr<QueryTextFieldsVC> textFields_;
  ProgressVC progress_;
  std::unique_ptr<ResultsOutlineViewVC> outline_;
  SavedSearchItem currentSearch_;
  std::shared_ptr<SearchManager> currentSearchManager_;
  // What the managers report to: it never holds this window on their threads.
  std::shared_ptr<ManagerDelegate> managerDelegate_;
  // Every manager started and not yet gone, stopped ones included.
  std::vector<std::weak_ptr<SearchManager>> startedManagers_;
  // The newest start asked for; a keystroke also moves it on.
  std::uint64_t searchGeneration_ = 0;
  std::optional<QueryContainer> currentQuery_;
  int stopCounter_ = 0;
  std::int64_t lastTotalNumberOfResultsReturned_ = 0;
  SearchResultsBucket finalResults_;
  std::unique_ptr<RepeatingTimer> finalResultsFlushTimer_;
  std::optional<Scheduler::TaskId> diskRetry_;
  std::string windowTitle_ = "Velmora";
  State state_ = State::idle;
};

}  // namespace velmora
