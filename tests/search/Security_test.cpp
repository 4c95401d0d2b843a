#include "search/Security.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "search/FSUtilities.h"
#include "stores/PreferenceStore.h"
#include "support/OrdinaryTemp.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

// A labelled disk that is mounted first at one folder, then at another.
struct MovingDisk {
  test::OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path first = home.tree("first");
  fs::path second = home.tree("second");
  std::string mountedAt = first.string();
  FSUtilities fsu{PathConventions::linux(), {}, [this] {
                    MountedVolume disk{mountedAt, "/dev/sdb1", "ext4", std::string("Photos"), 1000};
                    return VolumeTable({{"/", "/dev/sda1", "ext4"}, disk});
                  }};
  Security security{PreferenceStore::shared(), fsu};
};

TEST(Security, BookmarksResolveByPathThenByVolumeKeyAndFailCleanly) {
  MovingDisk disk;
  test::writeFile(disk.first / "album/a.jpg");
  std::string album = (disk.first / "album").string();
  disk.security.addScopedURLsSuppliedByOpenPanel({album});
  EXPECT_EQ(disk.security.currentlyScoped(), std::vector<std::string>{album});
  auto stored = PreferenceStore::shared().objectForKey(Security::bookmarksKey);
  ASSERT_TRUE(stored.is_array());
  ASSERT_EQ(stored.size(), 1u);
  // Adding it again, or a folder below it, keeps one bookmark.
  disk.security.addScopedURLsSuppliedByOpenPanel({album, album + "/inner"});
  EXPECT_EQ(PreferenceStore::shared().objectForKey(Security::bookmarksKey).size(), 1u);

  // By path.
  EXPECT_EQ(disk.security.resolve(stored[0]), album);
  Security fresh(PreferenceStore::shared(), disk.fsu);
  fresh.startup();
  EXPECT_EQ(fresh.bookmarkedLocations(), std::vector<std::string>{album});
  EXPECT_TRUE(fresh.startAccessKnownLocation(album + "/sub/folder"));
  EXPECT_FALSE(fresh.startAccessKnownLocation(disk.second.string()));

  // By the volume key: the same disk, mounted elsewhere now.
  fs::rename(disk.first / "album", disk.second / "album");
  disk.mountedAt = disk.second.string();
  EXPECT_EQ(disk.security.resolve(stored[0]), (disk.second / "album").string());

  // Neither: the folder is gone from both places. Nothing resolves, the
  // stored record stays, and a reset forgets it.
  fs::remove_all(disk.second / "album");
  EXPECT_EQ(disk.security.resolve(stored[0]), std::nullopt);
  EXPECT_EQ(disk.security.resolve(nlohmann::json("not a record")), std::nullopt);
  Security gone(PreferenceStore::shared(), disk.fsu);
  gone.startup();
  EXPECT_TRUE(gone.bookmarkedLocations().empty());
  EXPECT_FALSE(gone.startAccessKnownLocation(album));
  EXPECT_EQ(PreferenceStore::shared().objectForKey(Security::bookmarksKey).size(), 1u);
  gone.startup(true);
  EXPECT_TRUE(PreferenceStore::shared().objectForKey(Security::bookmarksKey).is_null());
}

}  // namespace
}  // namespace velmora
