#include "model/SearchLocation.h"

#include <gtest/gtest.h>

#include "common/MainQueue.h"
#include "platform/PathConventions.h"
#include "platform/VolumeTable.h"
#include "search/DiskInfoManager.h"
#include "search/FSUtilities.h"
#include "search/IgnoreItems.h"
#include "stores/PreferenceStore.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

const PathConventions mac = PathConventions::macOS("Boot Disk", "/Users/a");

struct FakeIndex : CacheVC_IndexInterface {
  explicit FakeIndex(std::string target) : target(std::move(target)) {}
  std::string target;
  std::string targetPath() const override { return target; }
  std::string displayName() const override { return "Index of " + target; }
};

TEST(SearchLocation, DisksNamesAndOfflineTargets) {
  auto root = SearchLocation::fromURLs({"/"}, {});
  EXPECT_EQ(root.disksForLocations(mac),
            (std::vector<std::string>{"/Volumes/Boot Disk", "/System/Volumes/Data"}));
  auto index = std::make_shared<FakeIndex>("/Volumes/Data/Projects");
  SearchLocation mixed({SearchTarget::forIndex(index), SearchTarget::forURL("/Volumes/Data")}, {});
  EXPECT_EQ(mixed.locationName, "Index of /Volumes/Data/Projects");
  EXPECT_EQ(mixed.locationURLs(), (std::vector<std::string>{"/Volumes/Data"}));
  EXPECT_EQ(mixed.disksForLocations(mac), (std::vector<std::string>{"/Volumes/Data"}));
  EXPECT_EQ(SearchLocation::fromURLs({"/home/u/Documents"}, {}).locationName, "Documents");

  auto two = SearchLocation::fromURLs({"/a", "/b"}, "two");
  EXPECT_TRUE(two.singleMatchFor("/a"));
  EXPECT_FALSE(two.singleMatchFor("/b"));

  auto other = std::make_shared<FakeIndex>("/elsewhere");
  auto caches = SearchLocation::fromURLs({"/srv"}, {}).cachesForLocations({other, std::make_shared<FakeIndex>("/srv/x")});
  ASSERT_EQ(caches.size(), 1u);
  EXPECT_EQ(caches[0]->targetPath(), "/srv/x");
}

TEST(SearchLocation, PathsAreInALocationByPlainPrefix) {
  auto pro = SearchLocation::fromURLs({"/Volumes/Data/Pro"}, {});
  EXPECT_TRUE(pro.pathIsInLocation("/Volumes/Data/Projects/x", mac));
  EXPECT_FALSE(pro.pathIsInLocation("/Volumes/Other/x", mac));
  // Two spellings of the boot volume meet.
  auto users = SearchLocation::fromURLs({"/Users/a"}, {});
  EXPECT_TRUE(users.pathIsInLocation("/Volumes/Boot Disk/Users/a/x", mac));
  EXPECT_TRUE(users.pathIsInLocation("/System/Volumes/Data/Users/a/x", mac));
  auto root = SearchLocation::fromURLs({"/"}, {});
  EXPECT_TRUE(root.pathIsInLocation("/System/Volumes/Data/x", mac));
  EXPECT_TRUE(root.pathIsInLocation("/etc/x", PathConventions::linux()));
  SearchLocation offline({SearchTarget::forIndex(std::make_shared<FakeIndex>("/Volumes/Data/Old"))}, {});
  EXPECT_TRUE(offline.pathIsInLocation("/Volumes/Data/Old/x", mac));
  SearchLocation empty({SearchTarget::forIndex(std::make_shared<FakeIndex>(""))}, {});
  EXPECT_FALSE(empty.pathIsInLocation("/x", mac));
}

TEST(IgnoreItems, FoldersAndExtensionsFromThePreferences) {
  test::TempHome home;
  PreferenceStore store(home.path() / "prefs.json");
  store.set("ignoreFolders", nlohmann::json::array({"/Volumes/Data/Old", "node_modules"}));
  store.set("ignoreExtensions", nlohmann::json::array({"pdf"}));
  IgnoreItems items(store, mac);
  EXPECT_EQ(items.pathComponents[0].text, "Data/Old");
  EXPECT_TRUE(items.includesFolder("/Volumes/Data/Old/x"));
  EXPECT_TRUE(items.includesFolder("/Volumes/Data/Older"));
  EXPECT_TRUE(items.includesFolder("/a/node_modules/b"));
  EXPECT_FALSE(items.includesFolder("/a/node_modules2"));
  EXPECT_TRUE(items.includesFolder("/a/b.pdf/c"));
  EXPECT_TRUE(items.containsExtension("pdf"));

  items.addFileExtension("tmp");
  items.add("node_modules");  // already there
  auto display = items.itemsForDisplay();
  ASSERT_EQ(display.size(), 6u);
  EXPECT_EQ(display[0].text, "Files & Folders");
  EXPECT_EQ(display[3].text, "Extensions");
  EXPECT_EQ(display[4].text, ".pdf");
  items.changeDisplayItemValue(5, "bak", true);
  items.deleteItem(items.pathComponents[0].id);
  EXPECT_EQ(store.objectForKey("ignoreFolders"), nlohmann::json::array({"node_modules"}));
  EXPECT_EQ(store.objectForKey("ignoreExtensions"), nlohmann::json::array({"pdf", "bak"}));

  store.set("ignoreFolders", nlohmann::json::array({"ok", 3}));
  store.set("ignoreExtensions", "pdf");
  IgnoreItems damaged(store, mac);
  EXPECT_TRUE(damaged.pathComponents.empty());
  EXPECT_TRUE(damaged.pathExtensions.empty());
}

TEST(DiskInfoManager, BootVolumeFirstAndMountsChangeTheList) {
  MainQueue::adoptCurrentThread();
  MainQueue::poll();
  test::TempHome home;
  std::string stick = (home.path() / "Stick").string();
  std::string zram = (home.path() / "zram").string();
  std::filesystem::create_directories(stick + "/Backups.backupdb");
  VolumeTable table({{"/Volumes/Boot Disk", "/dev/disk1", "apfs"},
                     {"/Volumes/AAA", "/dev/disk2", "hfs"},
                     {"/Volumes/Net", "srv:/x", "nfs", std::nullopt, std::nullopt, false},
                     {stick, "/dev/sdb1", "vfat"}});
  FSUtilities fs(mac, {}, [&] { return table; });
  DiskInfoManager manager(fs);
  manager.buildAll(table);
  auto volumes = manager.volumes();
  ASSERT_EQ(volumes.size(), 4u);
  EXPECT_EQ(volumes[0].url, "/Volumes/Boot Disk");
  EXPECT_EQ(volumes[1].url, "/Volumes/AAA");
  EXPECT_TRUE(volumes[1].isMacFS);
  EXPECT_FALSE(volumes[2].isLocal);
  // Not native, so never a backup disk, whatever it holds.
  auto stickInfo = std::find_if(volumes.begin(), volumes.end(), [&](auto& d) { return d.url == stick; });
  EXPECT_FALSE(stickInfo->isBackup);

  int changes = 0;
  int token = DiskInfoManager::didChange([&] { ++changes; });
  VolumeTable withPseudo({{zram, "zram", "proc", std::nullopt, std::nullopt, true, false}});
  manager.didMount(zram, withPseudo);
  MainQueue::poll();
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(manager.volumes().size(), 4u);
  manager.didUnmount("/Volumes/AAA/");
  MainQueue::poll();
  EXPECT_EQ(changes, 2);
  EXPECT_EQ(manager.volumes().size(), 3u);

  // What the mount monitor hands over: a fresh table. A pseudo file system
  // appearing is not listed but is told, once; its going is told too.
  std::vector<MountedVolume> now(table.volumes().begin(), table.volumes().end());
  std::erase_if(now, [](const MountedVolume& v) { return v.mountPoint == "/Volumes/AAA"; });
  manager.tableChanged(VolumeTable(now));
  MainQueue::poll();
  EXPECT_EQ(changes, 3);  // the pseudo mount told above has gone
  now.push_back({zram, "zram", "proc", std::nullopt, std::nullopt, true, false});
  manager.tableChanged(VolumeTable(now));
  MainQueue::poll();
  EXPECT_EQ(changes, 4);
  EXPECT_EQ(manager.volumes().size(), 3u);
  manager.tableChanged(VolumeTable(now));
  MainQueue::poll();
  EXPECT_EQ(changes, 4);
  now.pop_back();
  manager.tableChanged(VolumeTable(now));
  MainQueue::poll();
  EXPECT_EQ(changes, 5);
  DiskInfoManager::removeObserver(token);
}

}  // namespace
}  // namespace velmora
