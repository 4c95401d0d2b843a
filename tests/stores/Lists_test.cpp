#include <nlohmann/json.hpp>

#include "StoreFixture.h"
#include "stores/FavoriteFolders.h"
#include "stores/HistoryController.h"
#include "stores/OpenedFilesNotification.h"
#include "stores/Preferences.h"
#include "stores/PreferencesArray.h"
#include "stores/RecentItems.h"
#include "stores/RecentLocations.h"
#include "stores/SavedSearches.h"
#include "support/ManualScheduler.h"

namespace velmora::test {

using nlohmann::json;

class ListsTest : public StoreFixture {
 protected:
  void SetUp() override {
    StoreFixture::SetUp();
    velmora::Preferences::startup();
  }
};

TEST_F(ListsTest, PreferencesArrayMovesToFrontTrimsAndReloads) {
  PreferencesArray<std::string> list(std::string("testList"), 2);
  int changes = 0;
  list.didChange([&] { ++changes; });
  list.add("a");
  list.add("b");
  list.add("a");
  EXPECT_EQ(list.contents(), (std::vector<std::string>{"a", "b"}));
  list.add("c");
  EXPECT_EQ(list.contents(), (std::vector<std::string>{"c", "a"}));
  MainQueue::poll();
  EXPECT_EQ(changes, 4);

  PreferenceStore::shared().set("testList", json::array({"x", 5, "y"}));
  list.load();
  EXPECT_EQ(list.contents(), (std::vector<std::string>{"x", "y"}));

  PreferencesArray<std::string> memoryOnly(std::nullopt, 3);
  memoryOnly.add("z");
  EXPECT_FALSE(PreferenceStore::shared().hasUserValue("z"));
  EXPECT_EQ(memoryOnly.contents().size(), 1u);
}

TEST_F(ListsTest, RecentLocationsKeepsAbsolutePathsUpToTheLimit) {
  PreferenceStore::shared().set("recentItemsMaxCount", 2);
  RecentLocations recent;
  recent.add("/a");
  recent.add("/b");
  recent.add("/c");
  PreferenceStore::shared().set(RecentLocations::defaultsKeyName, json::array({"/c", "relative", "/b"}));
  RecentLocations reloaded;
  reloaded.load();
  EXPECT_EQ(reloaded.contents(), (std::vector<std::string>{"/c", "/b"}));
  PreferenceStore::shared().set("recentItemsMaxCount", 1);  // the limit is read live
  reloaded.add("/d");
  EXPECT_EQ(reloaded.contents(), (std::vector<std::string>{"/d"}));
}

// A command-line tool uses a list without the application's start-up.
class ListsWithoutStartupTest : public StoreFixture {};

TEST_F(ListsWithoutStartupTest, ListsRegisterTheirDefaults) {
  HistoryController history;
  history.startup();
  history.addQuery("kept");
  EXPECT_EQ(history.queries(), std::vector<std::string>{"kept"});
  EXPECT_EQ(PreferenceStore::shared().defaultValue("historyMaxCount"), 20);
  EXPECT_FALSE(PreferenceStore::shared().hasUserValue("historyMaxCount"));
}

TEST_F(ListsTest, HistoryOrderRepeatsAndLimit) {
  ManualClock clock;
  HistoryController history(clock);
  history.startup();
  history.addQuery("  alpha ");
  history.addQuery("beta");
  history.addQuery("alpha");
  EXPECT_EQ(history.queries(), (std::vector<std::string>{"beta", "alpha"}));
  EXPECT_EQ(PreferenceStore::shared().integerForKey("historyVersion"), HistoryController::currentHistoryVersion);

  for (int i = 0; i < 18; ++i) history.addQuery("q" + std::to_string(i));
  ASSERT_EQ(history.items().size(), 20u);
  EXPECT_EQ(history.queries().front(), "beta");
  history.addQuery("q18");  // the 21st query removes the oldest
  EXPECT_EQ(history.items().size(), 20u);
  EXPECT_EQ(history.queries().front(), "alpha");
  EXPECT_EQ(history.queries().back(), "q18");

  // What was saved reads back; an ill-formed entry is skipped.
  json stored = PreferenceStore::shared().objectForKey("history");
  stored.push_back({{"id", 3}});
  PreferenceStore::shared().set("history", stored);
  HistoryController reloaded(clock);
  reloaded.startup();
  EXPECT_EQ(reloaded.queries(), history.queries());
  EXPECT_EQ(reloaded.items().back().performedDate, history.items().back().performedDate);

  PreferenceStore::shared().set("historyEnabled", false);
  reloaded.addQuery("not kept");
  EXPECT_EQ(reloaded.queries().back(), "q18");
  EXPECT_TRUE(reloaded.deleteQuery("q18").ok());
  EXPECT_EQ(reloaded.queries().back(), "q17");
}

TEST_F(ListsTest, RecentItemsPurgeAtMostOnceADay) {
  ManualClock clock(dateFromReferenceSeconds(800000000.0 + 3600));  // early in a UTC day
  PreferenceStore::shared().set("recentItemsMaxCount", 2);
  RecentItems recent(clock);
  recent.startup();  // first run: notes today, cuts nothing
  for (const char* path : {"/1", "/2", "/3"}) {
    recent.addPopularItem({path});
    clock.advance(Seconds(1));
  }
  recent.purge();
  EXPECT_EQ(recent.items().size(), 3u);  // same day

  recent.addPopularItem({"/1"});  // seen again: moves to the front
  EXPECT_EQ(recent.itemsForDisplay().front().path, "/1");

  clock.advance(Seconds(86400));
  RecentItems nextDay(clock);
  nextDay.startup();
  ASSERT_EQ(nextDay.items().size(), 2u);
  EXPECT_EQ(nextDay.items()[0].path, "/1");
  EXPECT_EQ(nextDay.items()[1].path, "/3");

  std::vector<std::string> menu;
  nextDay.setRecentDocumentSink([&](const std::string& p) { menu.push_back(p); });
  nextDay.tryBuildRecentMenu();
  EXPECT_EQ(menu, (std::vector<std::string>{"/3", "/1"}));

  // Opening a file from the results adds it once the main loop runs.
  OpenedFilesNotification::post({"/opened"});
  MainQueue::poll();
  EXPECT_EQ(nextDay.items().front().path, "/opened");

  PreferenceStore::shared().set("recentSmartItems", "not json");
  RecentItems damaged(clock);
  damaged.load();
  EXPECT_TRUE(damaged.items().empty());
}

TEST_F(ListsTest, FavoriteFoldersNameCollisions) {
  FavoriteFolders favorites;
  favorites.startup();
  EXPECT_EQ(favorites.downloadsName(), "Downloads");
  EXPECT_TRUE(favorites.pathFor("Downloads").has_value());

  EXPECT_EQ(favorites.add("/home/ann/Projects").valueOr(""), "Projects");
  EXPECT_EQ(favorites.add("/work/Projects/").valueOr(""), "Projects-work");
  EXPECT_EQ(favorites.add("/home/ann/Projects").valueOr(""), "Projects");  // same path: nothing changes
  EXPECT_EQ(favorites.add("/other/work/Projects").valueOr(""), "Projects-work 2");
  EXPECT_EQ(favorites.add("relative/path").status().code(), Status::Code::invalidArgument);
  EXPECT_EQ(favorites.keyFolderPairs().size(), 4u);

  FavoriteFolders reloaded;
  reloaded.startup();  // not the first run: Downloads is not added again
  EXPECT_EQ(reloaded.keyFolderPairs(), favorites.keyFolderPairs());
  auto items = reloaded.displayItems();
  ASSERT_EQ(items[0].first, "Downloads");
  EXPECT_TRUE(reloaded.deleteDisplayItem(0).ok());
  EXPECT_FALSE(reloaded.pathFor("Downloads"));
  EXPECT_EQ(reloaded.deleteDisplayItem(99).code(), Status::Code::notFound);
}

TEST_F(ListsTest, SavedSearchesLoadSaveAndUniqueNames) {
  SavedSearches saved;
  EXPECT_EQ(saved.makeUniqueName("Photos"), "Photos");
  SavedSearchItem item{"id1", "Photos", "cat : is image", true, "/home", true};
  SavedSearchItem second{"id2", "Photos 2", "dog", false, "", false};
  int changes = 0;
  saved.didChange([&] { ++changes; });
  saved.save({{"id1", item}, {"id2", second}});
  EXPECT_FALSE(saved.item("id1")->dirty);
  EXPECT_EQ(saved.makeUniqueName("Photos"), "Photos 3");
  MainQueue::poll();
  EXPECT_EQ(changes, 1);

  json stored = PreferenceStore::shared().objectForKey("savedSearches");
  stored["broken"] = "not a record";
  PreferenceStore::shared().set("savedSearches", stored);
  SavedSearches reloaded;
  reloaded.load();
  ASSERT_EQ(reloaded.contents().size(), 2u);
  EXPECT_EQ(reloaded.item("id1")->queryString, "cat : is image");
  EXPECT_TRUE(reloaded.item("id1")->searchHiddenLocations);
}

}  // namespace velmora::test
