#include "stores/Preferences.h"

#include <nlohmann/json.hpp>

#include "StoreFixture.h"

namespace velmora::test {

using nlohmann::json;
using Prefs = velmora::Preferences;

class PreferencesTest : public StoreFixture {};

TEST_F(PreferencesTest, StartupRegistersTheTableWithoutWritingItBack) {
  Prefs::startup();
  auto& store = PreferenceStore::shared();
  json defaults = store.defaults();
  EXPECT_EQ(defaults.size(), 38u);
  EXPECT_EQ(defaults["updateCachesEvery"], 500);
  EXPECT_EQ(defaults["lastSearchlocationPopupSelectedItemName"], "in home");
  EXPECT_EQ(defaults["iconSizeSlider"], 290.0);
  EXPECT_TRUE(Prefs::historyEnabled());
  EXPECT_EQ(Prefs::historyMaxCount(), 20);
  EXPECT_EQ(Prefs::resultsViewStyle(), Prefs::ResultsViewStyle::automatic);
  EXPECT_FALSE(Prefs::startSearchesAutomatically());  // used without a default
  EXPECT_EQ(Prefs::knownKeys().front().key, "hasLaunchedBefore");
  EXPECT_EQ(Prefs::knownKeys()[35].key, "sidebarShouldShowDownloads");

  // A first launch: the two first-time values land in the user's layer.
  EXPECT_TRUE(Prefs::showInMenuBar());
  EXPECT_FALSE(Prefs::bringToFrontHotKey());
  EXPECT_TRUE(Prefs::isNewBuild());

  json onDisk = json::parse(readFile(prefsFile()));
  EXPECT_FALSE(onDisk.contains("historyEnabled"));
  EXPECT_FALSE(onDisk.contains("updateCachesEvery"));
  EXPECT_EQ(onDisk["showInMenuBar"], true);

  // A later launch keeps what the user chose and is not a new build.
  store.set("showInMenuBar", false);
  store.set("historyMaxCount", 5);
  PreferenceStore::resetShared(prefsFile());
  Prefs::startup();
  EXPECT_FALSE(Prefs::showInMenuBar());
  EXPECT_EQ(Prefs::historyMaxCount(), 5);
  EXPECT_FALSE(Prefs::isNewBuild());
}

TEST_F(PreferencesTest, CachingUpdatesTagIntervals) {
  Prefs::startup();
  EXPECT_EQ(Prefs::cachingUpdatesTag(), Prefs::CachingUpdatesTag::defaultTiming);
  EXPECT_EQ(Prefs::interval(Prefs::CachingUpdatesTag::defaultTiming), std::nullopt);
  EXPECT_EQ(Prefs::interval(Prefs::CachingUpdatesTag::appRestart), std::nullopt);
  PreferenceStore::shared().set("updateCachesEvery", static_cast<int>(Prefs::CachingUpdatesTag::week));
  ASSERT_EQ(Prefs::cachingUpdatesTag(), Prefs::CachingUpdatesTag::week);
  EXPECT_EQ(Prefs::interval(*Prefs::cachingUpdatesTag()), 604800);
  EXPECT_EQ(Prefs::interval(Prefs::CachingUpdatesTag::day), 86400);
  EXPECT_EQ(Prefs::interval(Prefs::CachingUpdatesTag::twoDays), 172800);
  EXPECT_EQ(Prefs::interval(Prefs::CachingUpdatesTag::threeDays), 259200);
  EXPECT_EQ(Prefs::interval(Prefs::CachingUpdatesTag::fortnight), 1209600);
  EXPECT_EQ(Prefs::interval(Prefs::CachingUpdatesTag::month), 2678400);
  // A value that is none of the choices reads as the default.
  PreferenceStore::shared().set("updateCachesEvery", 12345);
  EXPECT_EQ(Prefs::cachingUpdatesTag(), Prefs::CachingUpdatesTag::defaultTiming);
}

TEST_F(PreferencesTest, ChangesReachObserversOnTheMainQueue) {
  std::vector<std::string> changed;
  Prefs::preferencesDidChangeNotification([&](const std::string& key) { changed.push_back(key); });
  PreferenceStore::shared().set("listTextSize", 14);
  EXPECT_TRUE(changed.empty());  // not inline: delivered by the main loop
  MainQueue::poll();
  EXPECT_EQ(changed, std::vector<std::string>{"listTextSize"});
}

TEST_F(PreferencesTest, DamagedFileIsKeptAsideAndDefaultsServe) {
  writeFile(prefsFile(), "{\"historyMaxCount\": 3,,,");
  PreferenceStore::resetShared(prefsFile());
  Prefs::startup();
  EXPECT_EQ(Prefs::historyMaxCount(), 20);
  auto aside = prefsFile();
  aside += ".damaged-1";
  EXPECT_EQ(readFile(aside), "{\"historyMaxCount\": 3,,,");
  EXPECT_NE(logText().find("could not be read as settings"), std::string::npos);
  // The store keeps working after the damage.
  PreferenceStore::shared().set("historyMaxCount", 7);
  PreferenceStore::resetShared(prefsFile());
  EXPECT_EQ(PreferenceStore::shared().integerForKey("historyMaxCount"), 7);
}

TEST_F(PreferencesTest, OneBadValueFallsBackToItsDefaultAlone) {
  writeFile(prefsFile(), R"({"historyMaxCount": [1, 2], "recentItemsMaxCount": -5, "listTextSize": "14",
                             "iconSizeSlider": "wide", "hoverPreviews": true, "updateCachesEvery": 12345})");
  PreferenceStore::resetShared(prefsFile());
  Prefs::startup();
  EXPECT_EQ(Prefs::historyMaxCount(), 20);     // wrong type
  EXPECT_EQ(Prefs::recentItemsMaxCount(), 10);  // out of range
  EXPECT_EQ(Prefs::intValue("listTextSize"), 14);  // text that reads as the number
  EXPECT_EQ(Prefs::doubleValue("iconSizeSlider"), 290.0);
  EXPECT_TRUE(Prefs::boolValue("hoverPreviews"));  // the good values stay
  EXPECT_EQ(Prefs::cachingUpdatesTag(), Prefs::CachingUpdatesTag::defaultTiming);
  EXPECT_TRUE(PreferenceStore::shared().loadStatus().ok());
  auto aside = prefsFile();
  aside += ".damaged-1";
  EXPECT_FALSE(std::filesystem::exists(aside));
}

}  // namespace velmora::test
