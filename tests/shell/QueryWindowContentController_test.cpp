#include <gtest/gtest.h>

#include <mutex>

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
    QueryWindowEnvironment environment;
    environment.scheduler = &scheduler;
    environment.delays = &delays;
    environment.mainQueue = main.runner();
    environment.currentLocation = [this]() -> std::optional<SearchLocation> {
      ++locationRequests;
      if (!diskPresent) return std::nullopt;
      return SearchLocation::fromURLs({"/data"}, "data");
    };
    environment.searchEnvironment.osItemFilter = nullptr;
    environment.searchEnvironment.sources = {};
    if (!found.empty())
      environment.searchEnvironment.sources.push_back(
          {SourceCondition::wordBasedWithoutOwnLocations, "list",
           [found] { return std::make_shared<ListSource>(found); }});
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
  auto running = window->currentSearchManager();
  ASSERT_TRUE(running);
  EXPECT_EQ(locationRequests, 1);
  window->controlTextDidChange("budget : bigger than 5 mb");
  EXPECT_TRUE(running->shouldStop());
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
  EXPECT_EQ(locationRequests, 2);
}

TEST_F(QueryWindow, ResultsOfAStoppedSearchNeverReachTheList) {
  window->changeCurrentSearchTextAndLocation("report", true);
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
  EXPECT_EQ(window->state(), QueryWindowContentController::State::idle);
  EXPECT_FALSE(window->currentSearchManager());
}

TEST_F(QueryWindow, AScriptCommandRunsOnTheSelectionWithoutClearingIt) {
  test::writeFile(home.path() / "scripts" / "tidy.sh", "#!/bin/sh\n");
  window->changeCurrentSearchTextAndLocation("report", true);
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
