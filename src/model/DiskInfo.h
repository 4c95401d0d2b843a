#pragma once
#include <string>

namespace velmora {

// What the engine wants to know of one mounted volume.
struct DiskInfo {
  std::string url;  // the mount point
  bool isMacFS = false;  // a file system native to the platform
  bool isBackup = false;
  bool isLocal = true;
  bool isSystemDisk = false;

  bool operator==(const DiskInfo&) const = default;
};

}  // namespace velmora
