#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

class VolumeTable;

// Every path rule of the crawl and of search locations reads its literal
// values from one of these. `macOS()` holds the rules as they stand on that
// platform ("/Volumes/<name>", "/System/Volumes/Data", "~/Library/"), so
// tests can check those rules with a made-up volume table; `linux()` is what
// the program uses, where "/" is one walk and "/home" is no system folder.
struct PathConventions {
  std::string name;
  // Where the boot volume is walked and how its paths are written in
  // results; absent when its name could not be read.
  std::optional<std::string> bootVolume;
  // True when boot-volume paths are rewritten to the bootVolume form.
  bool namesBootVolume = false;
  // "/Volumes/" on macOS; empty where volumes are mounted anywhere.
  std::string volumesPrefix;
  // Where disks that come and go are mounted; a path below one belongs to a
  // disk that may be away.
  std::vector<std::string> removableMountRoots;
  // The data half of the boot volume, walked beside it; empty when none.
  std::string systemDataVolume;
  // Applications inside a system folder that must stay findable.
  std::string findableAppsPrefix;
  std::vector<std::string> osDirectoryPrefixes;  // plain string prefixes
  std::vector<std::string> osDirectoryExact;
  // The user's library folder with its trailing "/", empty when none.
  std::string homeLibraryFolder;
  std::vector<std::string> homeLibraryExceptions;
  // Folders below a disk that a crawl of it leaves out.
  std::vector<std::string> crawlSkipBelowDisk;
  // On a platform where volumes mount anywhere, a crawl never crosses into
  // another file system: the other mount points below a disk are skipped.
  bool crawlSkipsOtherMounts = false;
  std::vector<std::string> crawlSkipOnRoot;
  std::vector<std::string> crawlSkipIncludes;
  // Names directly on a volume that mark a backup disk and a system disk.
  std::vector<std::string> backupMarkers;
  std::vector<std::string> systemDiskMarkers;
  // File-system types native to the platform ("Mac-formatted" on macOS).
  std::vector<std::string> nativeFileSystems;
  // What the root volume is called when it has no label.
  std::string rootVolumeName;
  // Whether a listing of "/" itself may be made (one walk of "/").
  bool rootIsListable = false;

  static PathConventions macOS(std::optional<std::string> bootVolumeName = std::string("Boot Disk"),
                               std::string homeDirectory = "/Users/user");
  static PathConventions linux();
  // The conventions the program runs with (Linux).
  static const PathConventions& current();

  // Folders whose volumes belong to the system's own layout ("/boot/efi", a
  // "/var" partition). A volume mounted anywhere else inside a system folder
  // ("/run/media/<user>/<disk>") is the user's disk.
  std::vector<std::string> systemVolumeFolders;

  // Pure string rules.
  bool isInsideOSDirectory(std::string_view path) const;
  // As above, where `userVolumeRoots` are the mount points of the user's
  // disks that lie inside system folders: such a mount point is no system
  // folder, and a path on that disk is judged by its part within the disk,
  // as "/Volumes/<disk>/..." is.
  bool isInsideOSDirectory(std::string_view path, const std::vector<std::string>& userVolumeRoots) const;
  // Mount points of real volumes that the rules above would take for
  // system folders though they are the user's disks.
  std::vector<std::string> userVolumeRootsInsideOSDirectories(const VolumeTable& volumes) const;
  std::string correctRootBasedPath(std::string_view path) const;
  std::vector<std::string> fixBootVolumeURLs(const std::vector<std::string>& urls) const;
  std::vector<std::string> namedBootVolumeURLsToSlashRoot(const std::vector<std::string>& urls) const;
  // "/" stands for the walks of the boot volume; the rest keep their order.
  std::vector<std::string> disksForLocations(const std::vector<std::string>& urls) const;
  // Depth of a folder counted from the root of its disk, which on Linux is
  // the mount point holding it (`volumeRoot`).
  int depthOf(std::string_view path, std::string_view volumeRoot) const;
  bool isNativeFileSystem(std::string_view fsType) const;
  // What a crawl of `disk` must not enter.
  std::vector<std::string> crawlSkipPaths(std::string_view disk, const VolumeTable& volumes) const;
  // A volume is named by its label; without one, from its mount point.
  std::optional<std::string> volumeNameFromPath(std::string_view mountPoint) const;
};

}  // namespace velmora
