#include "index/ContentIndexManager.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "platform/VolumeTable.h"
#include "stores/PreferenceStore.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

class ContentIndexManagerTest : public ::testing::Test {
 protected:
  test::TempHome home;
  PreferenceStore store{home.path() / "prefs.json"};
  test::ManualClock clock{dateFromReferenceSeconds(800000000.0)};
  std::vector<std::string> started;

  ContentIndexManager::Environment environment() {
    ContentIndexManager::Environment env;
    env.preferences = &store;
    env.clock = &clock;
    env.folder = home.path() / "indexes";
    fs::create_directories(env.folder);
    env.volumes = [] {
      return VolumeTable({{"/", "/dev/sda1", "ext4", std::nullopt, 0, true, true},
                          {"/mnt/backup", "/dev/sdb1", "ext4", std::string("Backup"), 0, true, true}});
    };
    env.startRefresh = [this](std::shared_ptr<ContentIndex> index, bool) {
      started.push_back(index->displayName);
      index->state = ContentIndexLMDBState::none;
    };
    return env;
  }
};

TEST_F(ContentIndexManagerTest, NamesFilesAndTheSavedListInItsKeyOrder) {
  ContentIndexManager manager(environment());
  EXPECT_EQ(manager.suggestNiceName("/"), "Boot Drive");
  EXPECT_EQ(manager.suggestNiceName("/home/ann/Documents"), "Documents on Boot Drive");
  EXPECT_EQ(manager.suggestNiceName("/mnt/backup"), "Backup");
  EXPECT_EQ(manager.suggestNiceName("/mnt/backup/photos/"), "photos on Backup");
  EXPECT_EQ(manager.suggestNiceName("/x/Shared.vlcache"), "Shared");

  fs::path folder = home.path() / "indexes";
  EXPECT_EQ(manager.newLocalIndex("/mnt/backup").value(), folder / "Backup.vlcache");
  test::writeFile(folder / "Backup.vlcache", "x");
  EXPECT_EQ(manager.newLocalIndex("/mnt/backup", true).value(), folder / "Backup.vlcache");
  for (int n = 1; n <= 99; ++n) {
    EXPECT_EQ(manager.newLocalIndex("/mnt/backup").value(), folder / ("Backup-" + std::to_string(n) + ".vlcache"));
    test::writeFile(folder / ("Backup-" + std::to_string(n) + ".vlcache"), "x");
  }
  auto hundredth = manager.newLocalIndex("/mnt/backup");
  ASSERT_FALSE(hundredth);
  EXPECT_NE(hundredth.status().message().find("error 17"), std::string::npos);

  auto index = manager.newIndex("/mnt/backup/photos", folder / "p.vlcache");
  index->updatesEvery = CachingUpdatesTag::week;
  ASSERT_TRUE(manager.save().ok());
  auto saved = nlohmann::ordered_json::parse(store.stringForKey("SavedIndexInfo"));
  ASSERT_EQ(saved.size(), 1u);
  std::vector<std::string> keys;
  for (const auto& [key, value] : saved[0].items()) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"displayName", "localDBFilePath", "updatesEvery", "indexMode", "targetURL",
                                            "uuidString"}));
  EXPECT_EQ(saved[0]["updatesEvery"], 5);
  EXPECT_EQ(saved[0]["targetURL"], "file:///mnt/backup/photos/");

  ContentIndexManager again(environment());
  ASSERT_EQ(again.indexes().size(), 1u);
  EXPECT_EQ(again.indexes()[0]->id, index->id);
  EXPECT_EQ(again.indexes()[0]->displayName, "photos on Backup");
  EXPECT_EQ(again.indexes()[0]->updatesEvery, CachingUpdatesTag::week);
  EXPECT_EQ(again.cachesForItem("/mnt/backup/photos/2020/a.jpg").size(), 1u);
  EXPECT_TRUE(again.cachesForItem("/mnt/backup/photosets").empty());
  EXPECT_TRUE(again.cachesForItem("/mnt/backup").empty());

  // A damaged list is reported once and lists nothing; a reset forgets it.
  store.set("SavedIndexInfo", "[{");
  ContentIndexManager damaged(environment());
  EXPECT_TRUE(damaged.indexes().empty());
  EXPECT_EQ(damaged.loadProblems().size(), 1u);
  auto reset = environment();
  reset.resetCaches = true;
  ContentIndexManager fresh(reset);
  EXPECT_FALSE(store.hasUserValue("SavedIndexInfo"));
}

TEST_F(ContentIndexManagerTest, ALegacyRecordBecomesAnEmptyIndexAndItsFileGoes) {
  test::writeFile(home.path() / "indexes/old.cache", "old");
  store.set("FSCompactIndexesManagerMetaData",
            nlohmann::json::array({{{"id", "1"}, {"cacheFileName", "old.cache"}, {"diskURL", "file:///mnt/backup/"},
                                    {"updatesEvery", 2}}}));
  ContentIndexManager manager(environment());
  ASSERT_EQ(manager.indexes().size(), 1u);
  EXPECT_FALSE(fs::exists(home.path() / "indexes/old.cache"));
  EXPECT_EQ(manager.indexes()[0]->targetURL, "/mnt/backup");
  EXPECT_EQ(manager.indexes()[0]->localDBFile, home.path() / "indexes/Backup.vlcache");
  EXPECT_EQ(manager.indexes()[0]->updatesEvery, CachingUpdatesTag::day);
  EXPECT_TRUE(store.hasUserValue("SavedIndexInfo"));
}

TEST_F(ContentIndexManagerTest, RefreshesFollowEachIndexsIntervalAndTheFixedTime) {
  ContentIndexManager manager(environment());
  auto index = manager.newIndex("/mnt/backup", home.path() / "indexes/b.vlcache");
  index->documentInfo.lastUpdated = clock.now();
  store.set("diskCatalogCaching", false);
  index->updatesEvery = CachingUpdatesTag::appRestart;
  EXPECT_FALSE(manager.scheduleRefreshIfNeeded(index));
  store.set("diskCatalogCaching", true);
  EXPECT_TRUE(manager.scheduleRefreshIfNeeded(index));
  EXPECT_FALSE(manager.scheduleRefreshIfNeeded(index));  // once per run

  index->updatesEvery = CachingUpdatesTag::never;
  clock.advance(Seconds(86400.0 * 400));
  EXPECT_FALSE(manager.scheduleRefreshIfNeeded(index));

  // "day": not twice in one calendar day, then again on the next.
  index->updatesEvery = CachingUpdatesTag::day;
  index->documentInfo.lastUpdated = clock.now();
  EXPECT_FALSE(manager.scheduleRefreshIfNeeded(index));
  clock.advance(Seconds(86400.0));
  EXPECT_TRUE(manager.scheduleRefreshIfNeeded(index));
  index->updatesEvery = CachingUpdatesTag::week;
  index->documentInfo.lastUpdated = clock.now();
  clock.advance(Seconds(604800.0));
  EXPECT_FALSE(manager.scheduleRefreshIfNeeded(index));
  clock.advance(Seconds(1.0));
  EXPECT_TRUE(manager.scheduleRefreshIfNeeded(index));
  index->state = ContentIndexLMDBState::building;
  EXPECT_FALSE(manager.scheduleRefreshIfNeeded(index));
  index->state = ContentIndexLMDBState::none;

  // The fixed time: one round in its minute, whatever the timer's beat.
  started.clear();
  manager.newIndex("/mnt/backup/photos", home.path() / "indexes/p.vlcache");
  std::time_t t = std::chrono::system_clock::to_time_t(clock.now());
  std::tm tm{};
  localtime_r(&t, &tm);
  store.set("fileContentCachingUpdateTime", fmt::format("{}:{}", tm.tm_hour, tm.tm_min));
  manager.startScheduledRefreshIfNeeded();
  EXPECT_TRUE(started.empty());  // switched off
  store.set("fileContentCachingTimeUpdatesEnabled", true);
  manager.startScheduledRefreshIfNeeded();
  manager.performNextTimedIndexRefresh();
  manager.performNextTimedIndexRefresh();
  manager.performNextTimedIndexRefresh();
  EXPECT_EQ(started, (std::vector<std::string>{"Backup", "photos on Backup"}));
  clock.advance(Seconds(50.0));
  manager.startScheduledRefreshIfNeeded();
  manager.performNextTimedIndexRefresh();
  EXPECT_EQ(started.size(), 2u);
}

TEST_F(ContentIndexManagerTest, ChildrenOfAFolderComeFromTheIndexThatHoldsIt) {
  fs::path tree = home.tree("disk");
  test::writeFile(tree / "a/one.txt", "1");
  test::writeFile(tree / "a/two.txt", "2");
  ContentIndexManager manager(environment());
  auto index = manager.newIndex(tree.string(), home.path() / "indexes/disk.vlcache");
  ASSERT_TRUE(manager.buildNow(index, true).ok());
  fs::remove_all(tree);
  auto children = manager.loadChildrenFromCache((tree / "a").string());
  ASSERT_TRUE(children);
  ASSERT_EQ(children->size(), 2u);
  EXPECT_EQ((*children)[0].first, (tree / "a/one.txt").string());
  EXPECT_EQ((*children)[1].second.size, 1);
  EXPECT_FALSE(manager.loadChildrenFromCache((tree / "b").string()));
  EXPECT_FALSE(manager.loadChildrenFromCache("/elsewhere"));
}

}  // namespace
}  // namespace velmora
