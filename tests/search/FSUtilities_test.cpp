#include "search/FSUtilities.h"

#include <gtest/gtest.h>

#include <atomic>

#include "support/TempHome.h"

namespace velmora {
namespace {

VolumeTable macVolumes() {
  MountedVolume boot{"/", "/dev/disk1", "apfs", std::string("Boot Disk"), 500000000000ull};
  MountedVolume data{"/Volumes/Data", "/dev/disk2", "hfs", std::nullopt, 1000ull};
  MountedVolume stick{"/Volumes/STICK", "/dev/disk3", "msdos", std::string("STICK"), std::nullopt};
  return VolumeTable({boot, data, stick});
}

struct MacFixture {
  std::atomic<int> asked{0};
  FSUtilities fs{PathConventions::macOS("Boot Disk", "/Users/a"),
                 [this](const std::string& path) -> std::optional<bool> {
                   ++asked;
                   return path.find(".app/") != std::string::npos || path.find(".pkgdir/") != std::string::npos;
                 },
                 [] { return macVolumes(); }};
};

TEST(FSUtilities, InvisibleAndPackagePathsAreLearnedPerExtension) {
  MacFixture mac;
  EXPECT_FALSE(mac.fs.isInvisibleOrInsidePackage("/A/Foo.app"));
  EXPECT_TRUE(mac.fs.isInvisibleOrInsidePackage("/A/Foo.app/Contents"));
  EXPECT_TRUE(mac.fs.isInvisibleOrInsidePackage("/A/.git/x"));
  EXPECT_TRUE(mac.fs.isInvisibleOrInsidePackage("/A/Foo.framework"));
  int before = mac.asked;
  EXPECT_TRUE(mac.fs.isInvisibleOrInsidePackage("/B/Bar.app/Contents/MacOS"));
  EXPECT_EQ(mac.asked, before);  // one question per extension
  EXPECT_TRUE(mac.fs.hasPackageExtension("/Z/Other.app"));

  // A plain folder "a.pkgdir" teaches that the extension is no package,
  // so a later real one is not recognised.
  FSUtilities fresh(PathConventions::macOS(), [](const std::string& path) -> std::optional<bool> {
    return path.find("Real.pkgdir") != std::string::npos;
  });
  EXPECT_FALSE(fresh.isInvisibleOrInsidePackage("/x/a.pkgdir/y"));
  EXPECT_FALSE(fresh.isInvisibleOrInsidePackage("/x/Real.pkgdir/Contents"));
  EXPECT_FALSE(fresh.hasPackageExtension("/x/noextension"));

  FSUtilities lin(PathConventions::linux());
  EXPECT_FALSE(lin.isInvisibleOrInsidePackage("/home/a/Foo.app/Contents"));
  EXPECT_TRUE(lin.isInvisibleOrInsidePackage("/home/a/.cache/x"));
}

TEST(FSUtilities, DisksNamesAndKeys) {
  MacFixture mac;
  EXPECT_EQ(mac.fs.disk("/Users/a/x"), "/Volumes/Boot Disk");
  EXPECT_EQ(mac.fs.disk("/Volumes/Data/x"), "/Volumes/Data");
  EXPECT_EQ(mac.fs.volumeName("/Volumes/Data/x"), "Data");
  EXPECT_EQ(mac.fs.keyForDisk("/Volumes/Data"), "Data 1000 hfs");
  EXPECT_EQ(mac.fs.keyForDisk("/Volumes/STICK/a"), "STICK 0 msdos");
  EXPECT_EQ(mac.fs.keyForDisk("/Users/a"), "Boot Disk 500000000000 apfs");
  EXPECT_TRUE(mac.fs.isMacFormatted("/Volumes/Data/x"));
  EXPECT_FALSE(mac.fs.isMacFormatted("/Volumes/STICK"));
  EXPECT_EQ(mac.fs.isDiskAPFS("/Users"), true);

  FSUtilities nameless(PathConventions::macOS(), {}, [] { return VolumeTable({{"/Volumes", "x", "hfs"}}); });
  EXPECT_EQ(nameless.keyForDisk("/Volumes"), "");  // a volume without a name has no key

  FSUtilities lin(PathConventions::linux(), {}, [] {
    return VolumeTable({{"/", "/dev/sda1", "ext4", std::nullopt, 10}, {"/media/u/Stick", "/dev/sdb1", "vfat"}});
  });
  EXPECT_EQ(lin.keyForDisk("/home/u"), "Root 10 ext4");
  EXPECT_EQ(lin.keyForDisk("/media/u/Stick/x"), "Stick 0 vfat");
  EXPECT_EQ(lin.disk("/home/u"), "/");

  test::TempHome home;
  EXPECT_FALSE(lin.isBackupDisk(home.path().string()));
  test::writeFile(home.path() / "Backups.backupdb" / "x");
  EXPECT_TRUE(lin.isBackupDisk(home.path().string()));
}

}  // namespace
}  // namespace velmora
