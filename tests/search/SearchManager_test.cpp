#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <set>
#include <thread>

#include "search/SearchManager.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

using namespace std::chrono_literals;

SearchResult at(std::string path, SearchResultSupplier by, std::uint64_t size = 0) {
  SearchResult r;
  r.path = std::move(path);
  r.searchResultSuppliedBy = by;
  r.size = size;
  return r;
}

// A source that hands over its batches, then (if asked) waits for a gate or
// for a stop before it returns.
class ScriptedSource : public SearchDataSource {
 public:
  ScriptedSource(SearchResultSupplier type, std::vector<std::vector<SearchResult>> batches)
      : type_(type), batches_(std::move(batches)) {}
  SearchResultSupplier type() const override { return type_; }
  void search(const QueryContainer&, SearchDataSourceDelegate& handler) override {
    started = true;
    while (waitForGate && !gateOpen && !stopped && !handler.shouldStop()) std::this_thread::yield();
    for (auto& batch : batches_) handler.searchResults(batch, *this);
    while (waitForStop && !stopped && !handler.shouldStop()) std::this_thread::yield();
    ended = true;
  }
  void searchShouldStop() override { stopped = true; }

  std::atomic<bool> waitForGate{false}, gateOpen{false}, waitForStop{false};
  std::atomic<bool> started{false}, stopped{false}, ended{false};

 private:
  SearchResultSupplier type_;
  std::vector<std::vector<SearchResult>> batches_;
};

class HidesDotFolders : public OSItemFilter {
 public:
  bool isInsideOSDirectory(const std::string& path) override { return path.starts_with("/proc/"); }
  bool isInvisibleOrInsidePackage(const std::string& path) override { return path.find("/.") != std::string::npos; }
};

// Remembers every pause the result loop asks for.
class RecordingScheduler : public Scheduler {
 public:
  explicit RecordingScheduler(test::ManualScheduler& inner) : inner_(inner) {}
  const Clock& clock() const override { return inner_.clock(); }
  TaskId schedule(Seconds delay, Task task) override {
    {
      std::lock_guard guard(mutex_);
      delays_.push_back(delay.count());
    }
    return inner_.schedule(delay, std::move(task));
  }
  bool cancel(TaskId id) override { return inner_.cancel(id); }
  std::vector<double> delays() const {
    std::lock_guard guard(mutex_);
    return delays_;
  }

 private:
  test::ManualScheduler& inner_;
  mutable std::mutex mutex_;
  std::vector<double> delays_;
};

struct Recorder : SearchManagerDelegate {
  void searchManagerIsBeginingSearches(const QueryContainer&) override { ++begun; }
  void searchManagerFoundItems(const std::vector<SearchResult>& items, std::int64_t total,
                               const QueryContainer&) override {
    for (const auto& item : items) found.push_back(item);
    lastTotal = total;
  }
  void searchManagerHasFinishedAllSearches(const QueryContainer&) override { ++finished; }
  void searchDataSourceProgress(std::int64_t files, std::int64_t) override { progress.push_back(files); }
  void searchInvalidQuery() override { ++invalid; }

  std::atomic<int> begun{0}, finished{0}, invalid{0};
  std::vector<SearchResult> found;
  std::vector<std::int64_t> progress;
  std::int64_t lastTotal = 0;
  std::set<std::string> paths() const {
    std::set<std::string> out;
    for (const auto& r : found) out.insert(r.path);
    return out;
  }
};

// Drives one search without sleeping: delegate calls land in a list this
// thread drains, and the loop's pauses only pass when the test moves time.
struct Harness {
  test::TempHome home;  // queries read the preferences
  test::ManualClock clock;
  test::ManualScheduler manual{clock};
  RecordingScheduler scheduler{manual};
  std::mutex mainMutex;
  std::vector<std::function<void()>> mainTasks;
  std::shared_ptr<Recorder> delegate = std::make_shared<Recorder>();
  std::shared_ptr<SearchManager> manager;

  void make(std::vector<SearchDataSourceMaker> sources, bool searchInsideSystemAndApps = false) {
    SearchManagerEnvironment env;
    env.sources = std::move(sources);
    env.osItemFilter = std::make_shared<HidesDotFolders>();
    env.scheduler = &scheduler;
    env.mainQueue = [this](std::function<void()> task) {
      std::lock_guard guard(mainMutex);
      mainTasks.push_back(std::move(task));
    };
    manager = SearchManager::make(delegate, searchInsideSystemAndApps, env);
  }
  void drainMain() {
    std::vector<std::function<void()>> tasks;
    {
      std::lock_guard guard(mainMutex);
      tasks.swap(mainTasks);
    }
    for (auto& task : tasks) task();
  }
  // Moves time only once every source has ended, so the count of pauses is
  // the one the end rule allows, not an accident of thread timing.
  bool runToEnd() {
    auto deadline = std::chrono::steady_clock::now() + 20s;
    while (delegate->finished == 0) {
      if (std::chrono::steady_clock::now() > deadline) return false;
      drainMain();
      if ((manager->allSearchOperationsEnded() || manager->shouldStop()) && manual.pendingCount() > 0)
        manual.advance(Seconds(0.25));
      else
        std::this_thread::yield();
    }
    manager->waitUntilDone();
    drainMain();
    return true;
  }
};

SearchDataSourceMaker standard(std::shared_ptr<ScriptedSource> source) {
  return {SourceCondition::wordBasedWithoutOwnLocations, "scripted", [source] { return source; }};
}
SearchDataSourceMaker always(std::shared_ptr<ScriptedSource> source) {
  return {SourceCondition::always, "scripted", [source] { return source; }};
}

TEST(SearchManager, MergesThreeSourcesWithoutDuplicatesAndExpandsFolders) {
  using S = SearchResultSupplier;
  auto crawl = std::make_shared<ScriptedSource>(
      S::fileSystem, std::vector<std::vector<SearchResult>>{
                         {at("/t/report.txt", S::fileSystem, 1), at("/t/a/Report b.txt", S::fileSystem)},
                         {at("/t/.hidden/report.txt", S::fileSystem), at("/proc/report", S::fileSystem)}});
  auto index = std::make_shared<ScriptedSource>(
      S::CompactContentIndex,
      std::vector<std::vector<SearchResult>>{{at("/t/report.txt", S::CompactContentIndex, 2),
                                              at("/t/other.txt", S::CompactContentIndex)}});
  auto spotlight = std::make_shared<ScriptedSource>(
      S::spotlight, std::vector<std::vector<SearchResult>>{
                        {at("/t/report.txt", S::spotlight, 3), at("/t/reports/x.txt", S::spotlight)}});
  auto commandSource = std::make_shared<ScriptedSource>(S::showAppsCmd, std::vector<std::vector<SearchResult>>{});
  Harness h;
  h.make({always(commandSource), standard(index), standard(crawl), standard(spotlight)});
  h.manager->searchFor(QueryContainer("report"));
  EXPECT_EQ(h.delegate->begun, 1);
  ASSERT_TRUE(h.runToEnd());

  // The folder "/t/reports" comes from the spotlight hit inside it; x.txt
  // itself fails the name test; hidden and system paths are dropped.
  EXPECT_EQ(h.delegate->paths(),
            (std::set<std::string>{"/t/report.txt", "/t/a/Report b.txt", "/t/reports"}));
  EXPECT_EQ(h.delegate->found.size(), 3u);
  EXPECT_EQ(h.delegate->lastTotal, 3);
  EXPECT_EQ(h.manager->numberOfResultsReturned(), 3);
  EXPECT_EQ(h.delegate->finished, 1);
  EXPECT_FALSE(h.manager->searchInProgress());
  EXPECT_TRUE(commandSource->ended);
  EXPECT_EQ(h.manager->allDataSources().size(), 4u);

  // The end came after one half-second pause, the pauses before it being
  // the quarter seconds of a loop waiting for sources.
  auto delays = h.scheduler.delays();
  ASSERT_FALSE(delays.empty());
  EXPECT_DOUBLE_EQ(delays.back(), 0.5);
  EXPECT_EQ(std::count(delays.begin(), delays.end(), 0.5), 1);
}

TEST(SearchManager, SameNamesInDifferentFoldersFromTwoSourcesAreAllListed) {
  using S = SearchResultSupplier;
  // Duplicates are the same path, never the same name: each source's file
  // lies in its own folder, and one path both report is listed once.
  auto crawl = std::make_shared<ScriptedSource>(
      S::fileSystem, std::vector<std::vector<SearchResult>>{{at("/t/x/report.txt", S::fileSystem),
                                                             at("/t/both/report.txt", S::fileSystem)}});
  auto index = std::make_shared<ScriptedSource>(
      S::CompactContentIndex, std::vector<std::vector<SearchResult>>{{at("/t/y/report.txt", S::CompactContentIndex),
                                                                      at("/t/both/report.txt", S::CompactContentIndex)}});
  Harness h;
  h.make({standard(crawl), standard(index)});
  h.manager->searchFor(QueryContainer("report"));
  ASSERT_TRUE(h.runToEnd());
  EXPECT_EQ(h.delegate->paths(), (std::set<std::string>{"/t/x/report.txt", "/t/y/report.txt", "/t/both/report.txt"}));
  EXPECT_EQ(h.delegate->found.size(), 3u);
}

TEST(SearchManager, FilterOnlyQueryRunsOnlyCommandSourcesAndEndsAfterTheHalfSecond) {
  auto standardSource = std::make_shared<ScriptedSource>(SearchResultSupplier::fileSystem,
                                                         std::vector<std::vector<SearchResult>>{});
  auto commandSource = std::make_shared<ScriptedSource>(SearchResultSupplier::KnownDirectoriesSearch,
                                                        std::vector<std::vector<SearchResult>>{});
  Harness h;
  h.make({always(commandSource), standard(standardSource)});
  QueryContainer filterOnly("-x");
  ASSERT_FALSE(filterOnly.isWordBasedSearch());
  h.manager->searchFor(filterOnly);
  ASSERT_TRUE(h.runToEnd());
  EXPECT_TRUE(commandSource->ended);
  EXPECT_FALSE(standardSource->started);
  EXPECT_TRUE(h.delegate->found.empty());
  auto delays = h.scheduler.delays();
  EXPECT_LE(std::count(delays.begin(), delays.end(), 0.25), 1);
  ASSERT_FALSE(delays.empty());
  EXPECT_DOUBLE_EQ(delays.back(), 0.5);
}

TEST(SearchManager, StopBeforeAnyResultStillReportsTheEnd) {
  auto slow = std::make_shared<ScriptedSource>(
      SearchResultSupplier::fileSystem,
      std::vector<std::vector<SearchResult>>{{at("/t/report.txt", SearchResultSupplier::fileSystem)}});
  slow->waitForGate = true;
  Harness h;
  h.make({standard(slow)});
  h.manager->searchFor(QueryContainer("report"));
  h.manager->stop();
  EXPECT_TRUE(h.manager->shouldStop());
  EXPECT_FALSE(h.manager->searchInProgress());
  h.manager->stop();  // no effect
  ASSERT_TRUE(h.runToEnd());
  EXPECT_EQ(h.delegate->finished, 1);
  EXPECT_TRUE(h.delegate->found.empty());
  EXPECT_TRUE(slow->ended);
}

TEST(SearchManager, AnEarlyEndDoesNotEndTheSearchButTheLastOtherSourceEndsSpotlight) {
  using S = SearchResultSupplier;
  auto quick = std::make_shared<ScriptedSource>(S::fileSystem, std::vector<std::vector<SearchResult>>{});
  auto late = std::make_shared<ScriptedSource>(
      S::CompactContentIndex, std::vector<std::vector<SearchResult>>{{at("/t/late report", S::CompactContentIndex)}});
  late->waitForGate = true;
  auto spotlight = std::make_shared<ScriptedSource>(S::spotlight, std::vector<std::vector<SearchResult>>{});
  spotlight->waitForStop = true;
  Harness h;
  h.make({standard(late), standard(quick), standard(spotlight)});
  h.manager->searchFor(QueryContainer("report"));

  auto deadline = std::chrono::steady_clock::now() + 20s;
  while (!quick->ended && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
  ASSERT_TRUE(quick->ended);
  EXPECT_FALSE(spotlight->stopped);  // the index still runs
  EXPECT_EQ(h.delegate->finished, 0);
  EXPECT_FALSE(h.manager->allSearchOperationsEnded());

  late->gateOpen = true;
  ASSERT_TRUE(h.runToEnd());
  EXPECT_TRUE(spotlight->stopped);
  EXPECT_EQ(h.delegate->paths(), std::set<std::string>{"/t/late report"});
}

TEST(SearchManager, IndexBatchesGoToTheFrontAndEmptyBatchesAreDropped) {
  using S = SearchResultSupplier;
  ScriptedSource crawl(S::fileSystem, {});
  ScriptedSource index(S::CompactContentIndex, {});
  ScriptedSource content(S::spotlightContent, {});
  Harness h;
  h.make({});
  h.manager->searchResults({at("/c1", S::fileSystem), at("/c2", S::fileSystem)}, crawl);
  h.manager->searchResults({at("/i1", S::CompactContentIndex), at("/i2", S::CompactContentIndex)}, index);
  h.manager->searchResults({}, content);
  h.manager->searchResults({at("/s1", S::spotlightContent)}, content);
  h.manager->searchResults({at("/c3", S::fileSystem)}, crawl);
  std::vector<std::string> order;
  for (const auto& r : h.manager->queuedResults()) order.push_back(r.path);
  EXPECT_EQ(order, (std::vector<std::string>{"/s1", "/i1", "/i2", "/c1", "/c2", "/c3"}));
}

TEST(SearchManager, ProgressIsThinnedToFiveReportsASecond) {
  Harness h;
  h.make({});
  ScriptedSource crawl(SearchResultSupplier::fileSystem, {});
  h.manager->searchDataSourceProgress(10);  // within 0.2 s of creation: counted, not reported
  h.drainMain();
  EXPECT_TRUE(h.delegate->progress.empty());
  h.clock.advance(Seconds(0.21));
  h.manager->searchDataSourceProgress(5);
  h.manager->searchDataSourceProgress(5);
  h.manager->searchInvalidQuery();
  h.drainMain();
  // One report, reading the count when it runs on the main queue.
  EXPECT_EQ(h.delegate->progress, std::vector<std::int64_t>{20});
  EXPECT_EQ(h.manager->numberOfFilesSearched(), 20);
  EXPECT_EQ(h.delegate->invalid, 1);
}

}  // namespace
}  // namespace velmora
