#include "search/FSUtilities.h"

#include <sys/stat.h>

#include "search/DirectoryIterator.h"

namespace velmora {

namespace {

std::string_view pathExtension(std::string_view component) {
  auto dot = component.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return {};
  return component.substr(dot + 1);
}

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

bool FSUtilities::isInvisibleOrInsidePackage(const std::string& fullPath) {
  std::string_view path = fullPath;
  std::vector<std::string_view> parts;
  for (std::size_t start = 0; start < path.size();) {
    auto slash = path.find('/', start);
    auto end = slash == std::string_view::npos ? path.size() : slash;
    if (end > start) parts.push_back(path.substr(start, end - start));
    start = end + 1;
  }
  std::string running = "/";
  for (std::size_t i = 0; i < parts.size(); ++i) {
    std::string_view part = parts[i];
    bool last = i + 1 == parts.size();
    if (part.front() == '.') return true;
    if (i > 0) running += '/';
    running.append(part);
    if (part.find('.') == std::string_view::npos) continue;
    std::string_view extension = pathExtension(part);
    if (extension == "framework") return true;
    if (extension.empty()) continue;
    auto cached = packageExtensionCache_.access([&](auto& cache) -> std::optional<bool> {
      auto it = cache.find(extension);
      if (it == cache.end()) return std::nullopt;
      return it->second;
    });
    if (!cached) {
      // Asked of the file system once per extension, outside the lock.
      std::optional<bool> package = isPackage_ ? isPackage_(running + "/") : std::nullopt;
      cached = package.value_or(false);
      packageExtensionCache_.access([&](auto& cache) { cache.insert_or_assign(std::string(extension), *cached); });
    }
    if (*cached) return !last;
  }
  return false;
}

bool FSUtilities::hasPackageExtension(const std::string& path) {
  std::string_view whole = path;
  auto slash = whole.rfind('/');
  std::string_view extension = pathExtension(slash == std::string_view::npos ? whole : whole.substr(slash + 1));
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
