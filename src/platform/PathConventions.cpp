#include "platform/PathConventions.h"

#include <cstdio>
#include <cstdlib>

#include "platform/VolumeTable.h"

namespace velmora {

namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

[[noreturn]] void fatal(const char* what) {
  std::fprintf(stderr, "velmora: fatal: %s\n", what);
  std::abort();
}

std::vector<std::string_view> components(std::string_view path) {
  std::vector<std::string_view> parts;
  std::size_t start = 0;
  while (start <= path.size()) {
    auto slash = path.find('/', start);
    auto end = slash == std::string_view::npos ? path.size() : slash;
    if (end > start) parts.push_back(path.substr(start, end - start));
    if (slash == std::string_view::npos) break;
    start = slash + 1;
  }
  return parts;
}

}  // namespace

PathConventions PathConventions::macOS(std::optional<std::string> bootVolumeName, std::string homeDirectory) {
  PathConventions c;
  c.name = "macOS";
  if (bootVolumeName) c.bootVolume = "/Volumes/" + *bootVolumeName;
  c.namesBootVolume = true;
  c.volumesPrefix = "/Volumes/";
  c.removableMountRoots = {"/Volumes/"};
  c.systemDataVolume = "/System/Volumes/Data";
  c.findableAppsPrefix = "/System/Applications/";
  c.osDirectoryPrefixes = {"/bin",    "/cores",   "/dev",     "/etc",  "/home",
                           "/Library", "/net",    "/Network", "/nfs",  "/private",
                           "/sbin",   "/System",  "/tmp",     "/usr",  "/var"};
  c.osDirectoryExact = {"/Volumes", "/User", "/"};
  while (!homeDirectory.empty() && homeDirectory.back() == '/') homeDirectory.pop_back();
  c.homeLibraryFolder = homeDirectory + "/Library/";
  c.homeLibraryExceptions = {"CloudStorage", "Mobile Documents"};
  c.crawlSkipBelowDisk = {"/Volumes", "/System/Volumes", "/Network"};
  c.crawlSkipIncludes = {"/Backups.backupdb"};
  c.backupMarkers = {"Backups.backupdb", "backup_manifest.plist"};
  c.systemDiskMarkers = {"System", "Applications"};
  c.nativeFileSystems = {"hfs", "apfs"};
  c.rootIsListable = false;
  return c;
}

PathConventions PathConventions::linux() {
  PathConventions c;
  c.name = "linux";
  c.bootVolume = "/";
  c.namesBootVolume = false;
  c.removableMountRoots = {"/media/", "/run/media/", "/mnt/"};
  c.findableAppsPrefix = "/usr/share/applications/";
  c.osDirectoryPrefixes = {"/bin",  "/boot", "/dev", "/etc",  "/lib",  "/lib32",
                           "/lib64", "/libx32", "/lost+found", "/proc", "/run", "/sbin",
                           "/snap", "/sys",  "/tmp", "/usr",  "/var"};
  c.osDirectoryExact = {"/", "/media", "/mnt"};
  c.systemVolumeFolders = {"/bin", "/boot", "/efi", "/etc", "/lib", "/lib32", "/lib64", "/libx32",
                           "/sbin", "/snap", "/usr", "/var"};
  c.crawlSkipsOtherMounts = true;
  c.crawlSkipOnRoot = {"/proc", "/sys", "/dev", "/run"};
  c.crawlSkipIncludes = {"/Backups.backupdb"};
  c.backupMarkers = {"Backups.backupdb", "backup_manifest.plist"};
  c.systemDiskMarkers = {"usr", "etc"};
  c.nativeFileSystems = {"ext2", "ext3", "ext4", "btrfs", "xfs", "f2fs", "zfs", "bcachefs"};
  c.rootVolumeName = "Root";
  c.rootIsListable = true;
  return c;
}

const PathConventions& PathConventions::current() {
  static const PathConventions conventions = linux();
  return conventions;
}

bool PathConventions::isInsideOSDirectory(std::string_view path) const {
  if (!findableAppsPrefix.empty() && startsWith(path, findableAppsPrefix)) return false;
  if (!systemDataVolume.empty() && startsWith(path, systemDataVolume))
    return isInsideOSDirectory(path.substr(systemDataVolume.size()));
  std::string_view rest = path;
  if (!volumesPrefix.empty() && startsWith(rest, volumesPrefix)) {
    rest.remove_prefix(volumesPrefix.size());
    auto slash = rest.find('/');
    if (slash != std::string_view::npos) rest = rest.substr(slash);
  }
  for (const auto& prefix : osDirectoryPrefixes)
    if (startsWith(rest, prefix)) return true;
  for (const auto& exact : osDirectoryExact)
    if (rest == exact) return true;
  if (homeLibraryFolder.empty()) return false;
  for (const auto& exception : homeLibraryExceptions)
    if (startsWith(rest, homeLibraryFolder + exception)) return false;
  return startsWith(rest, homeLibraryFolder);
}

bool PathConventions::isInsideOSDirectory(std::string_view path,
                                          const std::vector<std::string>& userVolumeRoots) const {
  const std::string* holder = nullptr;
  for (const auto& root : userVolumeRoots)
    if (pathIsAtOrBelow(path, root) && (!holder || root.size() > holder->size())) holder = &root;
  if (!holder) return isInsideOSDirectory(path);
  std::string_view within = path.substr(holder->size());
  if (within.empty() || within == "/") return false;
  return isInsideOSDirectory(within);
}

std::vector<std::string> PathConventions::userVolumeRootsInsideOSDirectories(const VolumeTable& volumes) const {
  std::vector<std::string> roots;
  // Where volumes have a folder of their own ("/Volumes/"), the plain rules
  // already judge a disk by its part within.
  if (!volumesPrefix.empty()) return roots;
  for (const auto& volume : volumes.volumes()) {
    if (!volume.isBrowsable || volume.mountPoint == "/") continue;
    if (!isInsideOSDirectory(volume.mountPoint)) continue;
    bool system = false;
    for (const auto& folder : systemVolumeFolders)
      if (pathIsAtOrBelow(volume.mountPoint, folder)) system = true;
    if (!system) roots.push_back(volume.mountPoint);
  }
  return roots;
}

std::string PathConventions::correctRootBasedPath(std::string_view path) const {
  if (!namesBootVolume) return std::string(path);
  if (!startsWith(path, "/") || startsWith(path, volumesPrefix)) return std::string(path);
  if (!bootVolume) fatal("the boot volume has no name");
  std::string_view rest = path;
  if (!systemDataVolume.empty() && startsWith(rest, systemDataVolume)) rest.remove_prefix(systemDataVolume.size());
  return *bootVolume + std::string(rest);
}

std::vector<std::string> PathConventions::fixBootVolumeURLs(const std::vector<std::string>& urls) const {
  if (!bootVolume || !namesBootVolume) return urls;
  std::vector<std::string> fixed{*bootVolume};
  for (const auto& url : urls)
    if (url != "/") fixed.push_back(url);
  return fixed;
}

std::vector<std::string> PathConventions::namedBootVolumeURLsToSlashRoot(const std::vector<std::string>& urls) const {
  if (!bootVolume || !namesBootVolume) return urls;
  std::vector<std::string> kept;
  for (const auto& url : urls)
    if (url != *bootVolume) kept.push_back(url);
  if (kept.size() == urls.size()) return urls;
  kept.push_back("/");
  return kept;
}

std::vector<std::string> PathConventions::disksForLocations(const std::vector<std::string>& urls) const {
  if (systemDataVolume.empty()) return urls;
  std::vector<std::string> disks = urls;
  for (auto it = disks.begin(); it != disks.end(); ++it) {
    if (*it != "/") continue;
    if (!bootVolume) fatal("the boot volume has no name");
    disks.erase(it);
    disks.insert(disks.begin(), {*bootVolume, systemDataVolume});
    break;
  }
  return disks;
}

int PathConventions::depthOf(std::string_view path, std::string_view volumeRoot) const {
  bool onVolume = false;
  if (!volumesPrefix.empty()) {
    // Counted from the disk's root: "/Volumes/Data/a" is as deep as "/a".
    std::string_view bare = std::string_view(volumesPrefix).substr(0, volumesPrefix.size() - 1);
    onVolume = startsWith(path, volumesPrefix);
    if (startsWith(path, bare)) path.remove_prefix(bare.size());
  } else if (volumeRoot.size() > 1 && startsWith(path, volumeRoot)) {
    path.remove_prefix(volumeRoot.size());
  }
  if (startsWith(path, "/")) path.remove_prefix(1);
  if (path.empty() && !onVolume) return 0;
  int pieces = 1;
  for (char ch : path)
    if (ch == '/') ++pieces;
  return pieces - (onVolume ? 1 : 0);
}

bool PathConventions::isNativeFileSystem(std::string_view fsType) const {
  for (const auto& native : nativeFileSystems)
    if (native == fsType) return true;
  return false;
}

std::vector<std::string> PathConventions::crawlSkipPaths(std::string_view disk, const VolumeTable& volumes) const {
  std::vector<std::string> skip;
  std::string base(disk);
  if (base == "/") base.clear();
  for (const auto& below : crawlSkipBelowDisk) skip.push_back(base + below);
  if (crawlSkipsOtherMounts)
    for (auto& mountPoint : volumes.mountPointsBelow(disk)) skip.push_back(std::move(mountPoint));
  if (disk == "/")
    for (const auto& folder : crawlSkipOnRoot) skip.push_back(folder);
  return skip;
}

std::optional<std::string> PathConventions::volumeNameFromPath(std::string_view mountPoint) const {
  auto parts = components(mountPoint);
  if (parts.empty()) {
    if (rootVolumeName.empty()) return std::nullopt;
    return rootVolumeName;
  }
  if (!volumesPrefix.empty()) {
    // "/Volumes/Data" is "Data"; a path outside "/Volumes" by its first part.
    if (parts.size() < 2) return std::nullopt;
    return std::string(parts[0] != "Volumes" ? parts[0] : parts[1]);
  }
  return std::string(parts.back());
}

}  // namespace velmora
