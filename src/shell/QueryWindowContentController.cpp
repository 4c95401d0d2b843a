#include "shell/QueryWindowContentController.h"

#include <fmt/format.h>

#include "common/AppDirectories.h"
#include "common/GCDAdditions.h"
#include "common/Logger.h"
#include "common/MainQueue.h"
#include "query/commands/ScriptCommand.h"
#include "shell/QueryParseQueue.h"
#include "shell/ScriptRunner.h"
#include "stores/HistoryController.h"
#include "stores/PreferenceStore.h"

namespace velmora {

namespace {
constexpr double kFlushTick = 0.25;
// How often a search waiting for its disk tries again.
constexpr double kDiskRetryDelay = 1.0;
}  // namespace

// The search manager reports its end from its own thread. Were the window
// itself the delegate, that thread would hold the window while reporting, and
// the window's last reference could be dropped there: its destructor would run
// on the search thread, against a main queue that may be gone. This object
// holds the window weakly and takes the end to the main queue first.
class QueryWindowContentController::ManagerDelegate : public SearchManagerDelegate {
 public:
  ManagerDelegate(std::weak_ptr<QueryWindowContentController> window,
                  std::function<void(std::function<void()>)> mainQueue)
      : window_(std::move(window)), mainQueue_(std::move(mainQueue)) {}

  // The manager calls these on the main thread.
  void searchManagerIsBeginingSearches(const QueryContainer& query) override {
    if (auto window = window_.lock()) window->searchManagerIsBeginingSearches(query);
  }
  void searchManagerFoundItems(const std::vector<SearchResult>& items, std::int64_t total,
                               const QueryContainer& forQuery) override {
    if (auto window = window_.lock()) window->searchManagerFoundItems(items, total, forQuery);
  }
  void searchDataSourceProgress(std::int64_t files, std::int64_t waiting) override {
    if (auto window = window_.lock()) window->searchDataSourceProgress(files, waiting);
  }
  void searchingInsideFile(const std::string& name, bool inProgress, int percentage) override {
    if (auto window = window_.lock()) window->searchingInsideFile(name, inProgress, percentage);
  }
  void searchInvalidQuery() override {
    if (auto window = window_.lock()) window->searchInvalidQuery();
  }
  // This one comes on the manager's own thread.
  void searchManagerHasFinishedAllSearches(const QueryContainer& query) override {
    mainQueue_([window = window_, query] {
      if (auto self = window.lock()) self->finishedOnMain(query);
    });
  }

 private:
  std::weak_ptr<QueryWindowContentController> window_;
  std::function<void(std::function<void()>)> mainQueue_;
};

std::shared_ptr<QueryWindowContentController> QueryWindowContentController::make(QueryWindowEnvironment environment) {
  std::shared_ptr<QueryWindowContentController> controller(new QueryWindowContentController(std::move(environment)));
  controller->setup();
  return controller;
}

QueryWindowContentController::QueryWindowContentController(QueryWindowEnvironment environment)
    : environment_(std::move(environment)),
      scheduler_(environment_.scheduler ? *environment_.scheduler : Scheduler::main()),
      delays_(environment_.delays ? *environment_.delays : GCDAdditions::shared()),
      finalResults_(scheduler_.clock()) {
  if (!environment_.mainQueue)
    environment_.mainQueue = [](std::function<void()> task) { MainQueue::async(std::move(task)); };
  if (!environment_.searchEnvironment.mainQueue) environment_.searchEnvironment.mainQueue = environment_.mainQueue;
  if (!environment_.runScript)
    environment_.runScript = [](const ScriptCommand& command, const std::vector<std::string>& files) {
      ScriptRunner::run(command, files);
    };
  if (!environment_.parseQueue)
    environment_.parseQueue = [](std::function<void()> parse) { QueryParseQueue::async(std::move(parse)); };
  if (!environment_.currentLocation)
    environment_.currentLocation = [] {
      return std::optional<SearchLocation>(
          SearchLocation::fromURLs({AppDirectories::homeDirectory().string()}, "in home"));
    };
}

void QueryWindowContentController::setup() {
  textFields_ = std::make_unique<QueryTextFieldsVC>(delays_, environment_.mainQueue, environment_.parseQueue);
  managerDelegate_ = std::make_shared<ManagerDelegate>(weak_from_this(), environment_.mainQueue);
  outline_ = std::make_unique<ResultsOutlineViewVC>(environment_.mainQueue);
  std::weak_ptr<QueryWindowContentController> weak = weak_from_this();
  auto redraw = [weak] {
    if (auto self = weak.lock()) self->changed();
  };
  textFields_->onChange = redraw;
  progress_.onChange = redraw;
}

QueryWindowContentController::~QueryWindowContentController() {
  finalResultsFlushTimer_.reset();
  if (diskRetry_) scheduler_.cancel(*diskRetry_);
  // A stopped search ends within its loop's pause; none may outlive the
  // window and post to a main queue that is gone with it.
  for (const auto& started : startedManagers_)
    if (auto manager = started.lock()) manager->stop();
  for (const auto& started : startedManagers_)
    if (auto manager = started.lock()) manager->waitUntilDone();
}

void QueryWindowContentController::changed() {
  if (onChange) onChange();
}

std::optional<std::string> QueryWindowContentController::queryWords(const QueryContainer& query) {
  std::string joined;
  for (const auto& part : query.searchWordParts) joined += part.textLowered;
  return joined;
}

void QueryWindowContentController::controlTextDidChange(const std::string& text, bool alwaysStartSearch) {
  stopCounter_ = 0;
  textFields_->setText(text);
  // Every keystroke stops the running search.
  cancelOperation();
  if (alwaysStartSearch || PreferenceStore::shared().boolForKey("startSearchesAutomatically")) {
    std::weak_ptr<QueryWindowContentController> weak = weak_from_this();
    auto toMain = environment_.mainQueue;
    // One key for this call site: each keystroke replaces the pending start.
    delays_.cancelPreviousThenPerform(fmt::format("QueryTextFieldsVC:{}", __LINE__),
                                      QueryTextFieldsVC::startSearchDelay, [weak, toMain] {
                                        toMain([weak] {
                                          if (auto self = weak.lock()) self->doSearch();
                                        });
                                      });
  }
  textFields_->update();
}

void QueryWindowContentController::changeCurrentSearchTextAndLocation(const std::string& query, bool performSearch) {
  textFields_->setText(query);
  textFields_->update();
  if (performSearch) doSearch();
}

void QueryWindowContentController::doSearch() {
  VLOG("doSearch \"{}\"", textFields_->text());
  if (diskRetry_) {
    scheduler_.cancel(*diskRetry_);
    diskRetry_.reset();
  }
  std::optional<SearchLocation> location = environment_.currentLocation();
  if (!location) {
    progress_.setText("Waiting for disk to become available. Search will start shortly.");
    state_ = State::waitingForDisk;
    std::weak_ptr<QueryWindowContentController> weak = weak_from_this();
    auto toMain = environment_.mainQueue;
    diskRetry_ = scheduler_.schedule(Seconds(kDiskRetryDelay), [weak, toMain] {
      toMain([weak] {
        if (auto self = weak.lock()) {
          self->diskRetry_.reset();
          self->doSearch();
        }
      });
    });
    changed();
    return;
  }

  const std::string text = textFields_->text();
  const std::uint64_t generation = ++searchGeneration_;
  if (state_ == State::waitingForDisk) state_ = State::idle;  // the disk is back
  std::weak_ptr<QueryWindowContentController> weak = weak_from_this();
  auto toMain = environment_.mainQueue;
  // The store is read here, on the main thread; the parse gets a value.
  auto settings = QuerySettings::fromPreferences(PreferenceStore::shared());
  environment_.parseQueue([weak, toMain, text, location = *location, soundex = soundexOn, settings, generation] {
    QueryContainer query(text, location, soundex, settings);
    toMain([weak, generation, text, query = std::move(query), location]() mutable {
      if (auto self = weak.lock()) self->startParsedSearch(generation, text, std::move(query), location);
    });
  });
}

void QueryWindowContentController::startParsedSearch(std::uint64_t generation, const std::string& text,
                                                     QueryContainer query, const SearchLocation& location) {
  // A keystroke or a newer start came while this text was being parsed.
  if (generation != searchGeneration_) return;
  currentQuery_ = query;
  currentSearch_.queryString = text;
  currentSearch_.location = location.locationName;
  currentSearch_.searchHiddenLocations = PreferenceStore::shared().boolForKey("searchInsideSystemAndApps");

  if (currentSearchManager_) {
    currentSearchManager_->stop();
    currentSearchManager_.reset();
  }
  finalResultsFlushTimer_.reset();
  // What the stopped search still had in the bucket never reaches the list;
  // a fresh bucket is due at once, so the first results show without delay.
  finalResults_ = SearchResultsBucket(scheduler_.clock());
  lastTotalNumberOfResultsReturned_ = 0;
  environment_.mainQueue([text] { HistoryController::shared().addQuery(text); });

  if (auto script = query.findCommand<ScriptCommand>()) {
    // A script runs on the results on screen; it neither searches nor clears them.
    std::vector<std::string> files;
    for (const auto& node : outline_->selectedNodes()) files.push_back(node->fileURL);
    auto run = environment_.runScript;
    environment_.mainQueue([run, script, files] { run(*script, files); });
    state_ = State::idle;
    changed();
    return;
  }

  if (query.readsFileContents) {
    outline_->prepareForContentSearch();
  } else {
    if (PreferenceStore::shared().boolForKey("rankInVisible")) PreferenceStore::shared().set("rankInVisible", false);
    outline_->toggleVisibleColumnsBasedOnPreferences();
  }
  outline_->clear();
  progress_.clear();

  // An empty field leaves the window empty.
  if (query.searchWords.empty() && query.commandsFoundInQuery.empty()) {
    state_ = State::idle;
    windowTitle_ = "Velmora";
    changed();
    return;
  }

  bool searchInsideSystemAndApps = PreferenceStore::shared().boolForKey("searchInsideSystemAndApps");
  auto manager = SearchManager::make(managerDelegate_, searchInsideSystemAndApps, environment_.searchEnvironment);
  currentSearchManager_ = manager;
  std::erase_if(startedManagers_, [](const std::weak_ptr<SearchManager>& started) { return started.expired(); });
  startedManagers_.push_back(manager);
  state_ = State::searching;
  manager->searchFor(query);
  changed();
}

void QueryWindowContentController::searchManagerIsBeginingSearches(const QueryContainer& query) {
  std::weak_ptr<QueryWindowContentController> weak = weak_from_this();
  environment_.mainQueue([weak] {
    if (auto self = weak.lock()) {
      self->textFields_->searchStarted();
      self->progress_.searchesWillBegin();
    }
  });
  if (!query.baseString.empty()) windowTitle_ = "Find \u201C" + query.baseString + "\u201D";
  finalResultsFlushTimer_ = std::make_unique<RepeatingTimer>(scheduler_, Seconds(kFlushTick), [weak] {
    auto self = weak.lock();
    if (!self) {
      VLOG("flush tick without a window");
      return;
    }
    if (self->finalResults_.isTimeToEmpty()) self->flushResults();
  });
}

void QueryWindowContentController::searchManagerFoundItems(const std::vector<SearchResult>& items,
                                                           std::int64_t totalNumberOfResultsReturnedSoFar,
                                                           const QueryContainer&) {
  lastTotalNumberOfResultsReturned_ = totalNumberOfResultsReturnedSoFar;
  finalResults_.add(items);
  if (finalResults_.isTimeToEmpty()) flushResults();
}

void QueryWindowContentController::flushResults() {
  if (!currentQuery_) return;
  std::vector<SearchResult> items = finalResults_.empty();
  if (items.empty()) return;
  std::vector<UINodePtr> nodes;
  nodes.reserve(items.size());
  for (const auto& item : items) nodes.push_back(std::make_shared<UINode>(item));
  VLOG("flush {} nodes", nodes.size());
  if (!currentSearchManager_) return;
  // Results of a stopped search don't reach the list.
  if (currentSearchManager_->shouldStop()) return;
  outline_->addResults(std::move(nodes), queryWords(*currentQuery_));
  progress_.searchManagerTotalResultsFound(lastTotalNumberOfResultsReturned_);
}

void QueryWindowContentController::searchManagerHasFinishedAllSearches(const QueryContainer& query) {
  managerDelegate_->searchManagerHasFinishedAllSearches(query);
}

void QueryWindowContentController::finishedOnMain(const QueryContainer& query) {
  // A late end of an earlier search leaves the running one alone.
  bool isCurrent = !currentQuery_ || query.baseString == currentQuery_->baseString;
  if (isCurrent) finalResultsFlushTimer_.reset();
  VLOG("search finished \"{}\"", query.baseString);
  flushResults();
  std::weak_ptr<QueryWindowContentController> weak = weak_from_this();
  environment_.mainQueue([weak] {
    if (auto self = weak.lock()) self->textFields_->searchStopped();
  });
  if (isCurrent)
    environment_.mainQueue([weak] {
      if (auto self = weak.lock()) {
        self->progress_.searchesSearchesHaveCompleted();
        if (self->state_ == State::searching) self->state_ = State::finished;
        self->changed();
      }
    });
}

void QueryWindowContentController::cancelOperation() {
  // A start whose parse is still out is stopped too.
  ++searchGeneration_;
  if (!currentSearchManager_) return;
  currentSearchManager_->stop();
  finishedOnMain(currentSearchManager_->currentSearchQuery());
}

void QueryWindowContentController::cancel(bool isKeyPress) {
  if (isKeyPress) {
    ++stopCounter_;
    if (stopCounter_ >= 2) {
      if (onFocusSearchField) onFocusSearchField();
      stopCounter_ = 0;
    }
  }
  cancelOperation();
}

void QueryWindowContentController::searchDataSourceProgress(std::int64_t searchedNumberOfFiles,
                                                            std::int64_t itemsWaitingInQueue) {
  progress_.searchedNumberOfFiles = searchedNumberOfFiles;
  progress_.itemsWaitingInQueue = itemsWaitingInQueue;
  if (progress_.searchInProgress) progress_.update();
}

void QueryWindowContentController::searchDataSourceProgress(std::int64_t searchedInsideNumberOfDirectories,
                                                            const std::string& disk) {
  progress_.searchedInsideNumberOfDirectories = searchedInsideNumberOfDirectories;
  progress_.searchedDisk = disk;
  if (progress_.searchInProgress) progress_.update();
}

void QueryWindowContentController::searchingInsideFile(const std::string& name, bool inProgress,
                                                       int percentageProgress) {
  progress_.searchingFileName = inProgress ? name : std::string();
  progress_.searchingFileNamePercentageProgress = percentageProgress;
  if (progress_.searchInProgress) progress_.update();
}

void QueryWindowContentController::searchInvalidQuery() {
  progress_.totalErrorCount += 1;
  progress_.setText("Invalid Query Text", true);
}

}  // namespace velmora
