#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

// One mounted file system as the mount table and the volume label tell it.
struct MountedVolume {
  std::string mountPoint;  // absolute, no trailing slash except for "/"
  std::string source;      // "/dev/sda1", "server:/export", "tmpfs", ...
  std::string fsType;      // "ext4", "btrfs", "vfat", ...
  std::optional<std::string> label;
  std::optional<std::uint64_t> totalCapacity;  // bytes
  bool isLocal = true;
  // False for pseudo file systems nobody wants to search (proc, sysfs, ...).
  bool isBrowsable = true;

  bool operator==(const MountedVolume&) const = default;
};

}  // namespace velmora
