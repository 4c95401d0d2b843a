#include <gtest/gtest.h>

#include <condition_variable>
#include <mutex>
#include <thread>

#include "common/GCDAdditions.h"
#include "query/commands/ScriptCommand.h"
#include "shell/QueryWindowContentController.h"
#include "shell/ScriptRunner.h"
#include "stores/PreferenceStore.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

// The main thread of these tests: tasks wait until the test runs them.
class MainTasks {
 public:
  std::function<void(std::function<void()>)> runner() {
    return [this](std::function<void()> task) {
      std::lock_guard guard(mutex_);
      tasks_.push_back(std::move(task));
    };
  }
  void drain() {
    while (true) {
      std::function<void()> task;
      {
        std::lock_guard guard(mutex_);
        if (tasks_.empty()) return;
        task = std::move(tasks_.front());
        tasks_.erase(tasks_.begin());
      }
      task();
    }
  }

 private:
  std::mutex mutex_;
  std::vector<std::function<void()>> tasks_;
};

// Hands a fixed list of results to the search and ends.
class ListSource : public SearchDataSource {
 public:
  explicit ListSource(std::vector<SearchResult> results) : results_(std::move(results)) {}
  SearchResultSupplier type() const override { return SearchResultSupplier::fileSystem; }
  void search(const QueryContainer&, SearchDataSourceDelegate& handler) override {
    handler.searchResults(results_, *this);
  }
  void searchShouldStop() override {}

 private:
  std::vector<SearchResult> results_;
};

SearchResult result(const std::string& path) {
  SearchResult r;
  r.path = path;
  r.searchResultSuppliedBy = SearchResultSupplier::fileSystem;
  return r;
}

class QueryWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    PreferenceStore::resetShared(home.path() / "preferences.json");
    PreferenceStore::shared().set("historyEnabled", false);
    make({});
  }
  void make(std::vector<SearchResult> found) {
    std::vector<SearchDataSourceMaker> sources;
    if (!found.empty())
      sources.push_back({SourceCondition::wordBasedWithoutOwnLocations, "list",
                         [found] { return std::make_shared<ListSource>(found); }});
    makeWith(std::move(sources));
  }
  void makeWith(std::vector<SearchDataSourceMaker> sources) {
    QueryWindowEnvironment environment;
    environment.scheduler = &scheduler;
    environment.delays = &delays;
    environment.mainQueue = [this, runner = main.runner()](std::function<void()> task) {
      if (std::this_thread::get_id() != testThread) {
        std::function<void()> hook;
        {
          std::lock_guard guard(hookMutex);
          hook = std::exchange(offMainHook, nullptr);
        }
        if (hook) hook();
      }
      runner(std::move(task));
    };
    // Parses run when the test says so, or at once on the test's thread.
    environment.parseQueue = [this](std::function<void()> parse) {
      if (holdParses)
        heldParses.push_back(std::move(parse));
      else
        parse();
    };
    environment.currentLocation = [this]() -> std::optional<SearchLocation> {
      ++locationRequests;
      if (!diskPresent) return std::nullopt;
      return SearchLocation::fromURLs({"/data"}, "data");
    };
    environment.searchEnvironment.osItemFilter = nullptr;
    environment.searchEnvironment.sources = std::move(sources);
    environment.runScript = [this](const ScriptCommand& command, const std::vector<std::string>& files) {
      scriptRuns.push_back({command.type.value, files});
    };
    window.reset();
    window = QueryWindowContentController::make(environment);
    window->onFocusSearchField = [this] { ++focusRequests; };
  }
  void TearDown() override {
    if (window && window->currentSearchManager()) {
      window->currentSearchManager()->stop();
      window->currentSearchManager()->waitUntilDone();
    }
    main.drain();
    window.reset();
  }
  void runHeldParses() {
    auto parses = std::move(heldParses);
    heldParses.clear();
    for (auto& parse : parses) parse();
    main.drain();
  }
  void advance(double seconds) {
    scheduler.advance(Seconds(seconds));
    main.drain();
  }
  void finishSearch() {
    window->currentSearchManager()->waitUntilDone();
    main.drain();
    window->outline().waitUntilMergesFinished();
    main.drain();
  }
  std::size_t listed() { return window->outline().displayContent().size(); }

  test::TempHome home;
  test::ManualClock clock;
  test::ManualScheduler scheduler{clock};
  GCDAdditions delays{scheduler};
  MainTasks main;
  int locationRequests = 0;
  bool diskPresent = true;
  int focusRequests = 0;
  std::vector<std::pair<std::string, std::vector<std::string>>> scriptRuns;
  bool holdParses = false;
  std::vector<std::function<void()>> heldParses;
  const std::thread::id testThread = std::this_thread::get_id();
  // Called once, on the first task posted from another thread.
  std::mutex hookMutex;
  std::function<void()> offMainHook;
  std::shared_ptr<QueryWindowContentController> window;
};

TEST_F(QueryWindow, OneSearchStartsAfterTheLastOfSeveralKeystrokes) {
  PreferenceStore::shared().set("startSearchesAutomatically", true);
  window->controlTextDidChange("rep");
  advance(0.5);
  window->controlTextDidChange("report\nsecond line");
  EXPECT_EQ(window->textFields().text(), "report");
  advance(0.65);
  EXPECT_EQ(locationRequests, 0);
  advance(0.02);
  EXPECT_EQ(locationRequests, 1);
  ASSERT_TRUE(window->currentQuery());
  EXPECT_EQ(window->currentQuery()->baseString, "report");
  EXPECT_EQ(window->windowTitle(), "Find \u201Creport\u201D");
  advance(2.0);
  EXPECT_EQ(locationRequests, 1);
}

TEST_F(QueryWindow, WithoutAutostartTypingOnlyParsesButStillStops) {
  window->changeCurrentSearchTextAndLocation("report", false);
  window->startSearchAction();
  main.drain();
  auto running = window->currentSearchManager();
  ASSERT_TRUE(running);
  EXPECT_EQ(locationRequests, 1);
  window->controlTextDidChange("budget : bigger than 5 mb");
  EXPECT_TRUE(running->shouldStop());
  main.drain();
  ASSERT_TRUE(window->textFields().currentQuery());
  EXPECT_FALSE(window->textFields().styleRuns().empty());
  // Words not understood stay marked for three seconds after the last keystroke.
  EXPECT_TRUE(window->textFields().showsBadRanges());
  advance(2.9);
  EXPECT_TRUE(window->textFields().showsBadRanges());
  advance(0.2);
  EXPECT_FALSE(window->textFields().showsBadRanges());
  EXPECT_EQ(locationRequests, 1);
  // Return always starts.
  window->startSearchAction();
  main.drain();
  EXPECT_EQ(locationRequests, 2);
  EXPECT_EQ(window->currentQuery()->baseString, "budget : bigger than 5 mb");
}

TEST_F(QueryWindow, ResultsOfAStoppedSearchNeverReachTheList) {
  window->changeCurrentSearchTextAndLocation("report", true);
  main.drain();
  QueryContainer query = *window->currentQuery();
  window->searchManagerFoundItems({result("/data/report 1")}, 1, query);
  advance(0.3);
  window->outline().waitUntilMergesFinished();
  main.drain();
  EXPECT_EQ(listed(), 1u);
  // Arrivals within half a second wait in the bucket; then the search stops.
  window->searchManagerFoundItems({result("/data/report 2"), result("/data/report 3")}, 3, query);
  window->cancel();
  EXPECT_EQ(window->stopCounter(), 1);
  window->searchManagerFoundItems({result("/data/report 4")}, 4, query);
  advance(2.0);
  window->outline().waitUntilMergesFinished();
  main.drain();
  EXPECT_EQ(listed(), 1u);
  EXPECT_EQ(window->progress().text(), "1 item found. Search complete.");
  // Escape twice in a row returns to the query field.
  window->cancel();
  EXPECT_EQ(focusRequests, 1);
  EXPECT_EQ(window->stopCounter(), 0);
}

TEST_F(QueryWindow, FoundItemsFlowIntoTheListAndTheEndCompletesTheProgress) {
  std::vector<SearchResult> found;
  for (int i = 0; i < 1234; ++i) found.push_back(result("/data/report " + std::to_string(i)));
  found.push_back(result("/elsewhere/report x"));  // outside the location
  make(found);
  window->changeCurrentSearchTextAndLocation("report", true);
  main.drain();
  EXPECT_EQ(window->state(), QueryWindowContentController::State::searching);
  finishSearch();
  EXPECT_EQ(listed(), 1234u);
  EXPECT_EQ(window->progress().text(), "1,234 items found. Search complete.");
  EXPECT_EQ(window->state(), QueryWindowContentController::State::finished);

  // The late end of an earlier search leaves a running one's progress alone.
  window->changeCurrentSearchTextAndLocation("zzz", true);
  main.drain();
  QueryContainer earlier("report");
  window->searchManagerHasFinishedAllSearches(earlier);
  main.drain();
  EXPECT_TRUE(window->progress().searchInProgress);
  finishSearch();
  EXPECT_EQ(window->progress().text(), "No items found. Search complete.");
}

TEST_F(QueryWindow, WaitingForDiskInvalidQueryAndEmptyField) {
  diskPresent = false;
  window->changeCurrentSearchTextAndLocation("report", true);
  EXPECT_EQ(window->progress().text(), "Waiting for disk to become available. Search will start shortly.");
  EXPECT_EQ(window->state(), QueryWindowContentController::State::waitingForDisk);
  diskPresent = true;
  advance(1.0);
  EXPECT_EQ(window->state(), QueryWindowContentController::State::searching);
  window->searchInvalidQuery();
  EXPECT_EQ(window->progress().text(), "Invalid Query Text");
  EXPECT_TRUE(window->progress().showsErrorPicture());

  window->changeCurrentSearchTextAndLocation("", true);
  main.drain();
  EXPECT_EQ(window->state(), QueryWindowContentController::State::idle);
  EXPECT_FALSE(window->currentSearchManager());
}

TEST_F(QueryWindow, AScriptCommandRunsOnTheSelectionWithoutClearingIt) {
  test::writeFile(home.path() / "scripts" / "tidy.sh", "#!/bin/sh\n");
  window->changeCurrentSearchTextAndLocation("report", true);
  main.drain();
  QueryContainer query = *window->currentQuery();
  window->searchManagerFoundItems({result("/data/report a"), result("/data/report b")}, 2, query);
  window->outline().waitUntilMergesFinished();
  main.drain();
  ASSERT_EQ(listed(), 2u);
  window->outline().displayContent()[1]->isSelected = true;
  window->changeCurrentSearchTextAndLocation(": run tidy", true);
  main.drain();
  ASSERT_EQ(scriptRuns.size(), 1u);
  EXPECT_EQ(fs::path(scriptRuns[0].first).filename(), "tidy.sh");
  EXPECT_EQ(scriptRuns[0].second, std::vector<std::string>{"/data/report b"});
  window->outline().waitUntilMergesFinished();
  main.drain();
  EXPECT_EQ(listed(), 2u);
}

TEST_F(QueryWindow, ParsesNeverRunOnTheMainThreadAndAKeystrokeDropsAStartStillBeingParsed) {
  holdParses = true;
  window->changeCurrentSearchTextAndLocation("report", true);
  main.drain();
  // The main thread went on: nothing parsed, nothing started.
  EXPECT_FALSE(window->currentQuery());
  EXPECT_FALSE(window->currentSearchManager());
  EXPECT_FALSE(window->textFields().currentQuery());
  ASSERT_EQ(heldParses.size(), 2u);  // the field's colouring and the start
  // A keystroke while the parse is out: that start is for the old text.
  window->controlTextDidChange("report budget");
  runHeldParses();
  EXPECT_FALSE(window->currentSearchManager());
  ASSERT_TRUE(window->textFields().currentQuery());
  EXPECT_EQ(window->textFields().currentQuery()->baseString, "report budget");
  // Escape stops a start whose parse is still out.
  window->startSearchAction();
  window->cancel();
  runHeldParses();
  EXPECT_FALSE(window->currentSearchManager());
  // Of two starts in a row, only the second one searches.
  window->startSearchAction();
  window->startSearchAction();
  runHeldParses();
  ASSERT_TRUE(window->currentSearchManager());
  EXPECT_EQ(window->currentQuery()->baseString, "report budget");
  EXPECT_EQ(window->state(), QueryWindowContentController::State::searching);
}

TEST_F(QueryWindow, ASearchThreadNeverHoldsTheWindow) {
  // The end of a search is reported from the manager's own thread. Held
  // inside that report, the thread must not own the window: if it did, the
  // window's last reference could be dropped there and the window destroyed
  // on the search thread, after the test's main queue and clocks are gone.
  // A source that searches until the test lets it end.
  struct Gate : SearchDataSource {
    SearchResultSupplier type() const override { return SearchResultSupplier::fileSystem; }
    void search(const QueryContainer&, SearchDataSourceDelegate&) override {
      std::unique_lock lock(mutex);
      changed.wait(lock, [&] { return open; });
    }
    void searchShouldStop() override {}
    void letEnd() {
      std::lock_guard guard(mutex);
      open = true;
      changed.notify_all();
    }
    std::mutex mutex;
    std::condition_variable changed;
    bool open = false;
  };
  auto gate = std::make_shared<Gate>();
  makeWith({{SourceCondition::wordBasedWithoutOwnLocations, "gate", [gate] { return gate; }}});
  std::mutex mutex;
  std::condition_variable changed;
  bool inReport = false, release = false;
  auto hold = [&] {
    std::unique_lock lock(mutex);
    inReport = true;
    changed.notify_all();
    changed.wait(lock, [&] { return release; });
  };
  std::weak_ptr<QueryWindowContentController> weak = window;
  window->changeCurrentSearchTextAndLocation("report", true);
  main.drain();
  auto manager = window->currentSearchManager();
  ASSERT_TRUE(manager);
  // Whatever the list's merges post comes first; then the search may end.
  window->outline().waitUntilMergesFinished();
  main.drain();
  {
    std::lock_guard guard(hookMutex);
    offMainHook = hold;
  }
  gate->letEnd();
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return inReport; });
    EXPECT_EQ(weak.use_count(), 1);
    release = true;
  }
  changed.notify_all();
  manager->waitUntilDone();
  main.drain();
  EXPECT_EQ(window->progress().text(), "No items found. Search complete.");
}

TEST(ScriptRunner, PassesTheFilesAsArgumentsAndReportsFailures) {
  test::TempHome home;
  fs::path out = home.path() / "out.txt";
  fs::path script = home.path() / "scripts" / "list.sh";
  test::writeFile(script, "#!/bin/sh\nfor f in \"$@\"; do echo \"$f\" >> '" + out.string() + "'; done\n");
  auto outcome = ScriptRunner::runAndWait(script, {"/a b", "/c"});
  EXPECT_TRUE(outcome.started);
  EXPECT_EQ(outcome.error, "");
  EXPECT_EQ(test::readFile(out), "/a b\n/c\n");
  test::writeFile(script, "exit 3\n");
  EXPECT_EQ(ScriptRunner::runAndWait(script, {}).exitStatus, 3);
  EXPECT_FALSE(ScriptRunner::runAndWait(home.path() / "missing.sh", {}).error.empty());
}

}  // namespace
}  // namespace velmora
