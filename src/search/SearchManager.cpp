#include "search/SearchManager.h"

#include <future>
#include <thread>

#include "common/Logger.h"
#include "common/MainQueue.h"
#include "common/SharedAdditions.h"

namespace velmora {

namespace {
// The search queue has no limit of its own: every source runs at once.
constexpr int kSearchQueueWidth = 64;
constexpr int kWorkers = 3;
const Seconds kPauseWhileSourcesRun{0.25};
const Seconds kPauseBeforeEnd{0.5};

bool endsWithStandardSources(SearchResultSupplier type) {
  return type == SearchResultSupplier::showAppsCmd || type == SearchResultSupplier::spotlight;
}
}  // namespace

std::shared_ptr<SearchManager> SearchManager::make(std::weak_ptr<SearchManagerDelegate> delegate,
                                                   bool searchInsideSystemAndApps,
                                                   SearchManagerEnvironment environment) {
  return std::shared_ptr<SearchManager>(
      new SearchManager(std::move(delegate), searchInsideSystemAndApps, std::move(environment)));
}

SearchManager::SearchManager(std::weak_ptr<SearchManagerDelegate> delegate, bool searchInsideSystemAndApps,
                             SearchManagerEnvironment environment)
    : delegate_(std::move(delegate)),
      searchInsideSystemAndApps_(searchInsideSystemAndApps),
      environment_(std::move(environment)),
      numberOfFilesSearchedDelay_(DelayTimer(0.2, scheduler().clock())) {
  for (const auto& maker : environment_.sources)
    if (maker.condition == SourceCondition::always && maker.make)
      if (auto source = maker.make()) commandBasedDataSources_.push_back(std::move(source));
}

SearchManager::~SearchManager() = default;

Scheduler& SearchManager::scheduler() const {
  return environment_.scheduler ? *environment_.scheduler : Scheduler::background();
}

void SearchManager::onMain(std::function<void()> task) {
  if (environment_.mainQueue)
    environment_.mainQueue(std::move(task));
  else
    MainQueue::async(std::move(task));
}

void SearchManager::searchFor(const QueryContainer& query, const std::optional<SearchLocation>& /*location*/) {
  {
    std::lock_guard guard(doneMutex_);
    if (started_) return;  // one search per manager
    started_ = true;
  }
  currentSearchQuery_ = query;
  if (auto delegate = delegate_.lock()) delegate->searchManagerIsBeginingSearches(currentSearchQuery_);
  std::thread([self = shared_from_this()] { self->runSearch(); }).detach();
}

void SearchManager::addSourceOperation(const std::shared_ptr<SearchDataSource>& source) {
  searchQueue_->addOperation([this, source] {
    source->search(currentSearchQuery_, *this);
    searchDataSourceFinishedSearch(source);
  });
}

void SearchManager::runSearch() {
  const QueryContainer& query = currentSearchQuery_;
  searchQueue_ = OperationQueue::maxConcurrent(kSearchQueueWidth, "SearchManager search");
  for (const auto& command : query.commandsFoundInQuery) command->commandsStarting();

  std::vector<std::shared_ptr<SearchDataSource>> first = commandBasedDataSources_;
  for (auto& source : query.suppliedDataSources()) first.push_back(std::move(source));
  allDataSources_.access([&](auto& all) { all.insert(all.end(), first.begin(), first.end()); });
  for (const auto& source : first) addSourceOperation(source);

  std::vector<std::string> ownLocations;
  for (const auto& source : allDataSources_.value()) {
    auto locations = source->dataSourceLocations(query);
    ownLocations.insert(ownLocations.end(), locations.begin(), locations.end());
  }
  if (query.isWordBasedSearch() && ownLocations.empty()) {
    searchInProgress_ = true;
    std::vector<std::shared_ptr<SearchDataSource>> standard;
    for (const auto& maker : environment_.sources)
      if (maker.condition == SourceCondition::wordBasedWithoutOwnLocations && maker.make)
        if (auto source = maker.make()) standard.push_back(std::move(source));
    {
      std::lock_guard guard(sourcesMutex_);
      fileSystemSearchDataSources_ = standard;
    }
    allDataSources_.access([&](auto& all) { all.insert(all.end(), standard.begin(), standard.end()); });
    // A stop that came while the sources were being made still reaches them.
    if (shouldStop_)
      for (const auto& source : standard) source->searchShouldStop();
    for (const auto& source : standard) addSourceOperation(source);
  }

  workers_ = OperationQueue::maxConcurrent(kWorkers, "SearchManager workers");
  std::thread loop([this] { processQueuedResults(); });
  searchQueue_->waitUntilAllOperationsAreFinished();
  allSearchOperationsEnded_ = true;
  loop.join();
  {
    std::lock_guard guard(doneMutex_);
    done_ = true;
  }
  doneChanged_.notify_all();
}

void SearchManager::waitUntilDone() {
  std::unique_lock lock(doneMutex_);
  doneChanged_.wait(lock, [&] { return !started_ || done_; });
}

void SearchManager::searchDataSourceFinishedSearch(const std::shared_ptr<SearchDataSource>& source) {
  finishedDataSources_.access([&](auto& finished) { finished.push_back(source); });
  if (shouldStop_) return;
  source->searchShouldStop();
  if (!currentSearchQuery_.isWordBasedSearch()) return;
  auto finished = finishedDataSources_.value();
  bool othersRunning = false;
  for (const auto& s : allDataSources_.value()) {
    if (endsWithStandardSources(s->type())) continue;
    if (std::find(finished.begin(), finished.end(), s) == finished.end()) othersRunning = true;
  }
  // The metadata-index queries never outlive the crawl and the index.
  if (!othersRunning) cancelSpotlight();
}

void SearchManager::cancelSpotlight() {
  for (const auto& s : allDataSources_.value())
    if (endsWithStandardSources(s->type())) s->searchShouldStop();
}

void SearchManager::searchResults(std::vector<SearchResult> results, SearchDataSource& fromDataSource) {
  if (results.empty()) return;
  const auto type = fromDataSource.type();
  // Index results overtake the crawl.
  const bool toFront =
      type == SearchResultSupplier::spotlightContent || type == SearchResultSupplier::CompactContentIndex;
  queuedResults_.access([&](auto& queue) {
    if (toFront)
      queue.insert(queue.begin(), std::make_move_iterator(results.begin()), std::make_move_iterator(results.end()));
    else
      queue.insert(queue.end(), std::make_move_iterator(results.begin()), std::make_move_iterator(results.end()));
  });
}

void SearchManager::pause(Seconds duration) {
  auto woken = std::make_shared<std::promise<void>>();
  auto future = woken->get_future();
  scheduler().schedule(duration, [woken] { woken->set_value(); });
  future.wait();
}

void SearchManager::processQueuedResults() {
  bool previousRoundEndedEmpty = false;
  while (!shouldStop_) {
    std::vector<SearchResult> batch = queuedResults_.access([](auto& queue) {
      std::vector<SearchResult> taken;
      taken.swap(queue);
      return taken;
    });
    if (batch.empty() && !allSearchOperationsEnded_) {
      pause(kPauseWhileSourcesRun);
    } else if (batch.empty()) {
      // The end needs two empty takes after all sources ended, half a second
      // apart, so a last late batch is still seen.
      if (previousRoundEndedEmpty) break;
      pause(kPauseBeforeEnd);
      previousRoundEndedEmpty = true;
    } else {
      previousRoundEndedEmpty = false;
      const auto count = static_cast<std::int64_t>(batch.size());
      for (std::int64_t i = 0; i < count; ++i)
        workers_->addOperation([this, count, i, item = std::move(batch[i])]() mutable {
          updateProgress(count - i);
          process(std::move(item));
        });
    }
  }
  workers_->waitUntilAllOperationsAreFinished();
  searchInProgress_ = false;
  if (auto delegate = delegate_.lock()) delegate->searchManagerHasFinishedAllSearches(currentSearchQuery_);
}

void SearchManager::updateProgress(std::int64_t currentItemsCount) {
  numberOfItemsInQueue_.access([&](std::int64_t& n) {
    n = queuedResults_.access([](auto& queue) { return static_cast<std::int64_t>(queue.size()); }) +
        currentItemsCount;
  });
}

void SearchManager::process(SearchResult item) {
  std::vector<SearchResult> results = expandAndFilter(item);
  if (results.empty()) return;
  numberOfResultsReturned_.access([&](std::int64_t& n) { n += static_cast<std::int64_t>(results.size()); });
  onMain([self = shared_from_this(), results = std::move(results)] {
    auto total = self->numberOfResultsReturned_.value();
    if (auto delegate = self->delegate_.lock())
      delegate->searchManagerFoundItems(results, total, self->currentSearchQuery_);
  });
}

std::vector<SearchResult> SearchManager::expandAndFilter(const SearchResult& item) {
  std::vector<SearchResult> candidates{item};
  for (auto& folder : currentSearchQuery_.expandMatchingItemsForSearchResult(item))
    candidates.push_back(std::move(folder));
  std::vector<SearchResult> passed;
  for (auto& candidate : candidates)
    if (filter(candidate)) passed.push_back(std::move(candidate));
  return passed;
}

bool SearchManager::filter(SearchResult& result) {
  if (shouldStop_) return false;
  const std::int64_t key = crc64(result.path);
  // A path is tested once, however many sources report it.
  if (!alreadyFiltered_.access([&](auto& set) { return set.insert(key).second; })) return false;
  if (!result.ignoreSearchLocation && !currentSearchQuery_.pathIsInQueryLocation(result.path)) {
    VLOG("Exclude pathIsInQueryLocation: {}", result.path);
    return false;
  }
  SearchResult local = result;
  if (!currentSearchQuery_.searchResultPassesFiltering(local, this)) return false;
  if (!searchInsideSystemAndApps_ && !local.ignoreSearchLocation && environment_.osItemFilter) {
    if (environment_.osItemFilter->isInsideOSDirectory(local.path)) return false;
    if (environment_.osItemFilter->isInvisibleOrInsidePackage(local.path)) return false;
  }
  if (!alreadyIncludedInDisplay_.access([&](auto& set) { return set.insert(key).second; })) return false;
  result = std::move(local);
  return true;
}

void SearchManager::searchDataSourceProgress(std::int64_t searchedNumberOfFiles) {
  numberOfFilesSearched_.access([&](std::int64_t& n) { n += searchedNumberOfFiles; });
  if (!numberOfFilesSearchedDelay_.access([](DelayTimer& timer) { return timer.hasElapsed(); })) return;
  onMain([self = shared_from_this()] {
    auto files = self->numberOfFilesSearched_.value();
    auto waiting = self->numberOfItemsInQueue_.value();
    if (auto delegate = self->delegate_.lock()) delegate->searchDataSourceProgress(files, waiting);
  });
}

void SearchManager::searchingInsideFile(const std::string& name, bool inProgress, int percentageProgress) {
  onMain([self = shared_from_this(), name, inProgress, percentageProgress] {
    if (auto delegate = self->delegate_.lock()) delegate->searchingInsideFile(name, inProgress, percentageProgress);
  });
}

void SearchManager::searchInvalidQuery() {
  onMain([self = shared_from_this()] {
    if (auto delegate = self->delegate_.lock()) delegate->searchInvalidQuery();
  });
}

void SearchManager::stop() {
  searchInProgress_ = false;
  if (shouldStop_.exchange(true)) return;
  VLOG("stop {}", currentSearchQuery_.baseString);
  std::vector<std::shared_ptr<SearchDataSource>> standard;
  {
    std::lock_guard guard(sourcesMutex_);
    standard = fileSystemSearchDataSources_;
  }
  for (const auto& source : standard) source->searchShouldStop();
  for (const auto& source : commandBasedDataSources_) source->searchShouldStop();
  if (currentSearchQuery_.currentCommandBeingApplied) currentSearchQuery_.currentCommandBeingApplied->commandStop();
}

}  // namespace velmora
