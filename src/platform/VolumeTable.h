#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/MountedVolume.h"

namespace velmora {

// A snapshot of the mounted file systems. The live one comes from libmount
// (with labels from libblkid and sizes from statvfs); tests build one from a
// list, so every volume rule can be checked without touching the machine.
class VolumeTable {
 public:
  VolumeTable() = default;
  explicit VolumeTable(std::vector<MountedVolume> volumes);

  // Reads /proc/self/mountinfo now. An unreadable table gives an empty one.
  static VolumeTable current();

  const std::vector<MountedVolume>& volumes() const { return volumes_; }
  // The volume holding a path: its longest mount-point prefix that ends at a
  // component boundary. Absent only for a relative path or an empty table.
  std::optional<MountedVolume> volumeFor(std::string_view path) const;
  const MountedVolume* find(std::string_view mountPoint) const;
  // Mount points strictly below a folder, in table order.
  std::vector<std::string> mountPointsBelow(std::string_view folder) const;

  // The classification rules, public so that they can be tested alone.
  static bool isNetworkFileSystem(std::string_view fsType);
  static bool isBrowsable(const MountedVolume& volume);

 private:
  std::vector<MountedVolume> volumes_;
};

// True when `path` is `folder` or lies below it ("/a" holds "/a/b", not "/ab").
bool pathIsAtOrBelow(std::string_view path, std::string_view folder);

}  // namespace velmora
