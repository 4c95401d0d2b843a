#pragma once
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Lock.h"
#include "platform/PathConventions.h"
#include "platform/VolumeTable.h"
#include "model/OSItemFilter.h"

namespace velmora {

// The file-system facts the engine asks for: operating-system folders,
// invisible and package paths, disks and their keys, how boot-volume paths
// are written. Safe to call from many threads: the package cache is locked.
class FSUtilities final : public OSItemFilter {
 public:
  // Whether a folder is a package (an application bundle); absent when it
  // cannot be told. No folder is one on Linux.
  using PackageTest = std::function<std::optional<bool>(const std::string& directoryPath)>;
  using VolumeSource = std::function<VolumeTable()>;

  explicit FSUtilities(PathConventions conventions = PathConventions::current(), PackageTest isPackage = {},
                       VolumeSource volumes = {});
  static FSUtilities& shared();

  const PathConventions& conventions() const { return conventions_; }
  VolumeTable volumes() const;

  // A disk mounted inside a system folder ("/run/media/<user>/<disk>") is
  // judged as a disk, not as that folder.
  bool isInsideOSDirectory(const std::string& path) override;
  // The mount table a search has just read: the system-folder test follows
  // it from now on. Before the first one, the test reads the table itself.
  void noteVolumes(const VolumeTable& volumes);
  bool isInvisibleOrInsidePackage(const std::string& path) override;
  bool hasPackageExtension(const std::string& path);

  // The stable key of a disk: volume name, capacity and format, so a disk is
  // known again from one run to the next. Empty without a name.
  std::string keyForDisk(const std::string& path) const;
  std::optional<bool> isDiskAPFS(const std::string& path) const;
  bool isBackupDisk(const std::string& path) const;
  static std::vector<std::string> listExtendedAttributes(const std::string& path);

  // The disk (mount point) holding a path; the boot volume for "/".
  std::string disk(const std::string& path) const;
  std::optional<std::string> volumeName(const std::string& path) const;
  std::optional<std::string> diskFormatRaw(const std::string& path) const;
  // Native to the platform (Linux: ext2/3/4, btrfs, xfs, f2fs, zfs, bcachefs).
  bool isMacFormatted(const std::string& path) const;
  const std::optional<std::string>& bootVolume() const { return conventions_.bootVolume; }
  std::string correctRootBasedPath(std::string_view path) const { return conventions_.correctRootBasedPath(path); }

 private:
  PathConventions conventions_;
  PackageTest isPackage_;
  VolumeSource volumes_;
  Locked<std::map<std::string, bool, std::less<>>> packageExtensionCache_;
  Locked<std::shared_ptr<const std::vector<std::string>>> userVolumeRoots_;
};

}  // namespace velmora
