#include <gtest/gtest.h>

#include <filesystem>

#include "app/QueryWindowLocations.h"
#include "stores/PreferenceStore.h"
#include "support/TempHome.h"

namespace velmora::app {
namespace {

namespace fs = std::filesystem;

MountedVolume volume(std::string mountPoint, std::string fsType, std::optional<std::string> label = std::nullopt) {
  MountedVolume v;
  v.mountPoint = std::move(mountPoint);
  v.fsType = std::move(fsType);
  v.label = std::move(label);
  v.isBrowsable = VolumeTable::isBrowsable(v);
  return v;
}

class QueryWindowLocationsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    PreferenceStore::resetShared(home.path() / "preferences.json");
    disk = home.tree("usb");
    fs::create_directories(disk / "photos");
    mounted = {volume("/", "ext4"), volume(disk.string(), "vfat", "USB STICK"), volume("/proc", "proc")};
  }
  // What a start of the window sees.
  std::unique_ptr<QueryWindowLocations> start(std::vector<std::string> given = {}) {
    return std::make_unique<QueryWindowLocations>(std::move(given), [this] { return VolumeTable(mounted); });
  }
  static std::vector<std::string> urlsOf(const std::optional<SearchLocation>& location) {
    return location ? location->locationURLs() : std::vector<std::string>{"(waiting)"};
  }

  test::TempHome home;
  fs::path disk;
  std::vector<MountedVolume> mounted;
};

TEST_F(QueryWindowLocationsTest, ADiskEntrySearchesItsDiskAndWaitsOnlyWhileItIsAway) {
  auto menu = start();
  std::vector<std::string> names;
  for (const auto& item : menu->items()) names.push_back(item.name);
  EXPECT_NE(std::find(names.begin(), names.end(), "on Root"), names.end());
  EXPECT_NE(std::find(names.begin(), names.end(), "on USB STICK"), names.end());
  for (const auto& name : names) EXPECT_EQ(name.find("proc"), std::string::npos);

  menu->choose("on USB STICK");
  EXPECT_EQ(menu->chosenName(), "on USB STICK");
  EXPECT_EQ(urlsOf(menu->currentLocation()), std::vector<std::string>{disk.string()});
  // Unplugged: the header still names the disk and the search waits for it.
  mounted.erase(mounted.begin() + 1);
  menu->rebuild();
  EXPECT_EQ(menu->chosenName(), "on USB STICK");
  EXPECT_FALSE(menu->currentLocation());
  mounted.push_back(volume(disk.string(), "vfat", "USB STICK"));
  menu->rebuild();
  EXPECT_EQ(urlsOf(menu->currentLocation()), std::vector<std::string>{disk.string()});
}

TEST_F(QueryWindowLocationsTest, AnAddedFolderAndTheChoicesOutliveARestart) {
  fs::path projects = home.tree("Projects"), elsewhere = home.tree("Elsewhere");
  {
    auto menu = start();
    EXPECT_EQ(menu->chosenName(), "in home");
    ASSERT_TRUE(menu->chooseFolder(projects.string()).ok());
    EXPECT_EQ(menu->chosenName(), "in Projects");
  }
  {
    // The header and the search agree: the folder, never home in disguise.
    auto menu = start();
    EXPECT_EQ(menu->chosenName(), "in Projects");
    EXPECT_EQ(urlsOf(menu->currentLocation()), std::vector<std::string>{projects.string()});
    menu->choose("on all disks");
  }
  auto& store = PreferenceStore::shared();
  EXPECT_EQ(store.stringForKey("previousSearchlocationPopupSelectedItemName"), "in Projects");
  EXPECT_EQ(store.stringForKey("lastBuiltInSearchlocationPopupSelectedItemName"), "on all disks");
  {
    // A folder given on the command line is chosen, and marked as coming from outside.
    auto menu = start({elsewhere.string()});
    EXPECT_EQ(menu->chosenName(), "in Elsewhere");
    EXPECT_TRUE(store.boolForKey("lastSearchlocationPopupSelectedItemNameWasFinderSelection"));
  }
  {
    // Without it, the given folder is no longer in the menu: the previous choice comes back.
    auto menu = start();
    EXPECT_EQ(menu->chosenName(), "on all disks");
    std::size_t added = 0;
    for (const auto& item : menu->items()) added += item.added ? 1 : 0;
    EXPECT_EQ(added, 1u);
  }
  // Last and previous both gone: the last built-in choice, when the last came from outside.
  store.set("lastSearchlocationPopupSelectedItemName", "in Gone");
  store.set("previousSearchlocationPopupSelectedItemName", "on GONE DISK");
  store.set("lastBuiltInSearchlocationPopupSelectedItemName", "on local disks");
  EXPECT_EQ(start()->chosenName(), "on local disks");
  store.set("lastSearchlocationPopupSelectedItemNameWasFinderSelection", false);
  EXPECT_EQ(start()->chosenName(), "in home");
  // A damaged list of added folders loses nothing else.
  store.set("contentsOfSearchLocationPopup", nlohmann::json::array({42, "x", {{"folder", 7}}}));
  EXPECT_EQ(start()->chosenName(), "in home");
}

TEST_F(QueryWindowLocationsTest, TheRootOfADiskIsRefusedAsAFolder) {
  auto menu = start();
  Status refused = menu->chooseFolder(disk.string());
  EXPECT_FALSE(refused.ok());
  EXPECT_EQ(refused.message(), QueryWindowLocations::diskRootRefusal);
  EXPECT_FALSE(menu->chooseFolder("/").ok());
  EXPECT_FALSE(menu->chooseFolder((home.path() / "missing").string()).ok());
  EXPECT_EQ(menu->chosenName(), "in home");
  // A folder on that disk is fine.
  ASSERT_TRUE(menu->chooseFolder((disk / "photos").string()).ok());
  EXPECT_EQ(menu->chosenName(), "in photos");
}

}  // namespace
}  // namespace velmora::app
