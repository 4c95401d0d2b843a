#include "search/FSUtilities.h"

#include "common/PathText.h"

#include <sys/stat.h>

#include "search/DirectoryIterator.h"

namespace velmora {

namespace {

bool exists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

std::string joined(const std::string& folder, std::string_view name) {
  return folder == "/" ? "/" + std::string(name) : folder + "/" + std::string(name);
}

}  // namespace

FSUtilities::FSUtilities(PathConventions conventions, PackageTest isPackage, VolumeSource volumes)
    : conventions_(std::move(conventions)), isPackage_(std::move(isPackage)), volumes_(std::move(volumes)) {}

FSUtilities& FSUtilities::shared() {
  static FSUtilities* instance = new FSUtilities();
  return *instance;
}

VolumeTable FSUtilities::volumes() const { return volumes_ ? volumes_() : VolumeTable::current(); }

void FSUtilities::noteVolumes(const VolumeTable& volumes) {
  userVolumeRoots_.set(
      std::make_shared<const std::vector<std::string>>(conventions_.userVolumeRootsInsideOSDirectories(volumes)));
}

bool FSUtilities::isInsideOSDirectory(const std::string& path) {
  auto roots = userVolumeRoots_.value();
  if (!roots) {
    noteVolumes(volumes());
    roots = userVolumeRoots_.value();
  }
  if (roots->empty()) return conventions_.isInsideOSDirectory(path);
  return conventions_.isInsideOSDirectory(path, *roots);
}

bool FSUtilities::isInvisibleOrInsidePackage(const std::string& fullPath) {
  // Runs for every directory of a crawl and every result, so the walk goes
  // over the text in place and builds the running path only for a question
  // to the file system.
  std::string_view path = fullPath;
  std::size_t start = 0;
  while (start < path.size()) {
    auto slash = path.find('/', start);
    auto end = slash == std::string_view::npos ? path.size() : slash;
    if (end == start) {
      start = end + 1;
      continue;
    }
    std::string_view part = path.substr(start, end - start);
    bool last = path.find_first_not_of('/', end) == std::string_view::npos;
    start = end + 1;
    if (part.front() == '.') return true;
    if (part.find('.') == std::string_view::npos) continue;
    std::string_view extension = PathText::pathExtension(part);
    if (extension == "framework") return true;
    // Without a package test every extension is known to be no package.
    if (extension.empty() || !isPackage_) continue;
    auto cached = packageExtensionCache_.access([&](auto& cache) -> std::optional<bool> {
      auto it = cache.find(extension);
      if (it == cache.end()) return std::nullopt;
      return it->second;
    });
    if (!cached) {
      // Asked once per extension, outside the lock.
      std::string running = "/";
      running.append(path.substr(0, end)).append("/");
      while (running.size() > 1 && running[1] == '/') running.erase(0, 1);
      cached = isPackage_(running).value_or(false);
      packageExtensionCache_.access([&](auto& cache) { cache.insert_or_assign(std::string(extension), *cached); });
    }
    if (*cached) return !last;
  }
  return false;
}

bool FSUtilities::hasPackageExtension(const std::string& path) {
  std::string_view extension = PathText::pathExtension(path);
  if (extension.empty()) return false;
  auto lookup = [&]() {
    return packageExtensionCache_.access([&](auto& cache) -> std::optional<bool> {
      auto it = cache.find(extension);
      if (it == cache.end()) return std::nullopt;
      return it->second;
    });
  };
  if (auto known = lookup()) return *known;
  isInvisibleOrInsidePackage(path);
  return lookup().value_or(false);
}

std::string FSUtilities::disk(const std::string& path) const {
  auto volume = volumes().volumeFor(path);
  if (!volume) return path;
  if (volume->mountPoint == "/") return conventions_.bootVolume.value_or("/");
  return volume->mountPoint;
}

std::optional<std::string> FSUtilities::volumeName(const std::string& path) const {
  auto table = volumes();
  auto volume = table.volumeFor(path);
  if (volume && volume->label) return volume->label;
  std::string diskPath = disk(path);
  if (conventions_.bootVolume && diskPath == *conventions_.bootVolume && conventions_.namesBootVolume) {
    // The boot volume's own name is its last component under "/Volumes/".
    return conventions_.volumeNameFromPath(diskPath);
  }
  return conventions_.volumeNameFromPath(volume ? volume->mountPoint : diskPath);
}

std::optional<std::string> FSUtilities::diskFormatRaw(const std::string& path) const {
  auto volume = volumes().volumeFor(path);
  if (!volume || volume->fsType.empty()) return std::nullopt;
  return volume->fsType;
}

bool FSUtilities::isMacFormatted(const std::string& path) const {
  auto format = diskFormatRaw(path);
  return format && conventions_.isNativeFileSystem(*format);
}

std::optional<bool> FSUtilities::isDiskAPFS(const std::string& path) const {
  auto format = diskFormatRaw(path);
  if (!format) return std::nullopt;
  return *format == "apfs";
}

bool FSUtilities::isBackupDisk(const std::string& path) const {
  for (const auto& marker : conventions_.backupMarkers)
    if (exists(joined(path, marker))) return true;
  return false;
}

std::string FSUtilities::keyForDisk(const std::string& path) const {
  auto name = volumeName(path);
  if (!name) return {};
  auto volume = volumes().volumeFor(path);
  if (!volume) return {};
  std::string format = volume->fsType.empty() ? "unknown" : volume->fsType;
  return *name + " " + std::to_string(volume->totalCapacity.value_or(0)) + " " + format;
}

std::vector<std::string> FSUtilities::listExtendedAttributes(const std::string& path) {
  return DirectoryIterator::listExtendedAttributes(path);
}

}  // namespace velmora
