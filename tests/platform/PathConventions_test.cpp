#include "platform/PathConventions.h"

#include <gtest/gtest.h>

#include "platform/VolumeTable.h"

namespace velmora {
namespace {

const PathConventions mac = PathConventions::macOS("Boot Disk", "/Users/a");
const PathConventions lin = PathConventions::linux();

TEST(PathConventions, MacOperatingSystemFolders) {
  EXPECT_TRUE(mac.isInsideOSDirectory("/Volumes/Data/usr/x"));
  EXPECT_FALSE(mac.isInsideOSDirectory("/Volumes/Data"));  // only the name is left
  EXPECT_FALSE(mac.isInsideOSDirectory("/System/Volumes/Data/Users/a/Documents"));
  EXPECT_TRUE(mac.isInsideOSDirectory("/System/Volumes/Data/private/tmp"));
  EXPECT_FALSE(mac.isInsideOSDirectory("/System/Applications/Notes.app"));
  EXPECT_TRUE(mac.isInsideOSDirectory("/binary"));  // plain prefixes, as required
  EXPECT_TRUE(mac.isInsideOSDirectory("/Library2"));
  EXPECT_TRUE(mac.isInsideOSDirectory("/User"));
  EXPECT_FALSE(mac.isInsideOSDirectory("/Users"));
  EXPECT_TRUE(mac.isInsideOSDirectory("/Users/a/Library/Caches"));
  EXPECT_FALSE(mac.isInsideOSDirectory("/Users/a/Library/CloudStorage/Dropbox"));
  EXPECT_FALSE(mac.isInsideOSDirectory("/Users/a/Library/Mobile Documents/x"));
}

TEST(PathConventions, LinuxOperatingSystemFolders) {
  EXPECT_FALSE(lin.isInsideOSDirectory("/home/a/Documents"));
  EXPECT_TRUE(lin.isInsideOSDirectory("/tmp/x"));
  EXPECT_TRUE(lin.isInsideOSDirectory("/usr/lib/x"));
  EXPECT_FALSE(lin.isInsideOSDirectory("/usr/share/applications/gimp.desktop"));
  EXPECT_TRUE(lin.isInsideOSDirectory("/media"));
  EXPECT_FALSE(lin.isInsideOSDirectory("/media/a/Stick/usr"));
  EXPECT_TRUE(lin.isInsideOSDirectory("/"));
  EXPECT_FALSE(lin.isInsideOSDirectory("/srv/data"));
}

TEST(PathConventions, BootVolumeSpellings) {
  EXPECT_EQ(mac.correctRootBasedPath("/Users/a"), "/Volumes/Boot Disk/Users/a");
  EXPECT_EQ(mac.correctRootBasedPath("/System/Volumes/Data/Users/a"), mac.correctRootBasedPath("/Users/a"));
  EXPECT_EQ(mac.correctRootBasedPath("/Volumes/Data/x"), "/Volumes/Data/x");
  EXPECT_EQ(mac.correctRootBasedPath("relative"), "relative");
  EXPECT_EQ(lin.correctRootBasedPath("/home/a"), "/home/a");

  EXPECT_EQ(mac.disksForLocations({"/"}),
            (std::vector<std::string>{"/Volumes/Boot Disk", "/System/Volumes/Data"}));
  EXPECT_EQ(mac.disksForLocations({"/", "/Volumes/Data"}),
            (std::vector<std::string>{"/Volumes/Boot Disk", "/System/Volumes/Data", "/Volumes/Data"}));
  EXPECT_EQ(lin.disksForLocations({"/", "/mnt/x"}), (std::vector<std::string>{"/", "/mnt/x"}));

  EXPECT_EQ(mac.fixBootVolumeURLs({"/Volumes/Data", "/"}),
            (std::vector<std::string>{"/Volumes/Boot Disk", "/Volumes/Data"}));
  EXPECT_EQ(mac.fixBootVolumeURLs({}), (std::vector<std::string>{"/Volumes/Boot Disk"}));
  EXPECT_EQ(mac.namedBootVolumeURLsToSlashRoot({"/Volumes/Boot Disk", "/Volumes/Data"}),
            (std::vector<std::string>{"/Volumes/Data", "/"}));
  EXPECT_EQ(mac.namedBootVolumeURLsToSlashRoot({"/Volumes/Data"}), (std::vector<std::string>{"/Volumes/Data"}));

  auto nameless = PathConventions::macOS(std::nullopt);
  EXPECT_EQ(nameless.fixBootVolumeURLs({"/"}), (std::vector<std::string>{"/"}));
  EXPECT_DEATH(nameless.correctRootBasedPath("/Users"), "boot volume");
}

TEST(PathConventions, DepthCountsFromTheDiskRoot) {
  EXPECT_EQ(mac.depthOf("/Users/a/b", ""), 3);
  EXPECT_EQ(mac.depthOf("/Volumes/Data/Users/a/b", ""), 3);
  EXPECT_EQ(mac.depthOf("/Volumes/Data", ""), 0);
  EXPECT_EQ(lin.depthOf("/home/a/b", "/"), 3);
  EXPECT_EQ(lin.depthOf("/media/u/Stick/a/b", "/media/u/Stick"), 2);
  EXPECT_EQ(lin.depthOf("/media/u/Stick", "/media/u/Stick"), 0);
}

TEST(PathConventions, CrawlSkipPathsAndVolumeNames) {
  VolumeTable table({{"/", "/dev/sda1", "ext4"}, {"/home", "/dev/sda2", "ext4"},
                     {"/home/a/mnt", "/dev/sdb1", "vfat"}, {"/homework", "/dev/sdc1", "ext4"}});
  EXPECT_EQ(mac.crawlSkipPaths("/System/Volumes/Data", table),
            (std::vector<std::string>{"/System/Volumes/Data/Volumes", "/System/Volumes/Data/System/Volumes",
                                      "/System/Volumes/Data/Network"}));
  EXPECT_EQ(lin.crawlSkipPaths("/home", table), (std::vector<std::string>{"/home/a/mnt"}));
  auto root = lin.crawlSkipPaths("/", table);
  for (const char* expected : {"/home", "/home/a/mnt", "/homework", "/proc", "/sys", "/dev", "/run"})
    EXPECT_NE(std::find(root.begin(), root.end(), expected), root.end()) << expected;

  EXPECT_EQ(mac.volumeNameFromPath("/Volumes/Data"), "Data");
  EXPECT_EQ(mac.volumeNameFromPath("/Volumes"), std::nullopt);
  EXPECT_EQ(lin.volumeNameFromPath("/media/u/Stick"), "Stick");
  EXPECT_EQ(lin.volumeNameFromPath("/"), "Root");
}

TEST(VolumeTable, LongestMountPrefixAtAComponentBoundary) {
  VolumeTable table({{"/", "/dev/sda1", "ext4"}, {"/home", "/dev/sda2", "ext4"},
                     {"/home/a/mnt", "/dev/sdb1", "vfat"}});
  EXPECT_EQ(table.volumeFor("/homework/x")->mountPoint, "/");
  EXPECT_EQ(table.volumeFor("/home")->mountPoint, "/home");
  EXPECT_EQ(table.volumeFor("/home/a/mnt/x/y")->mountPoint, "/home/a/mnt");
  EXPECT_FALSE(table.volumeFor("relative"));
  EXPECT_FALSE(VolumeTable().volumeFor("/x"));
}

TEST(VolumeTable, WhichVolumesAreShownAndLocal) {
  auto volume = [](std::string mountPoint, std::string type) {
    MountedVolume v;
    v.mountPoint = std::move(mountPoint);
    v.fsType = std::move(type);
    return v;
  };
  EXPECT_FALSE(VolumeTable::isBrowsable(volume("/proc", "proc")));
  EXPECT_FALSE(VolumeTable::isBrowsable(volume("/run/user/1000", "tmpfs")));
  EXPECT_TRUE(VolumeTable::isBrowsable(volume("/media/a/ram", "tmpfs")));
  EXPECT_FALSE(VolumeTable::isBrowsable(volume("/snap/core/1", "squashfs")));
  EXPECT_TRUE(VolumeTable::isBrowsable(volume("/media/a/Stick", "vfat")));
  EXPECT_TRUE(VolumeTable::isNetworkFileSystem("nfs4"));
  EXPECT_TRUE(VolumeTable::isNetworkFileSystem("fuse.sshfs"));
  EXPECT_FALSE(VolumeTable::isNetworkFileSystem("ext4"));
}

}  // namespace
}  // namespace velmora
