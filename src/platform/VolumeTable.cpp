#include "platform/VolumeTable.h"

#include <blkid/blkid.h>
#include <libmount/libmount.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <array>
#include <memory>

#include "common/Logger.h"

namespace velmora {

namespace {

struct TableDeleter {
  void operator()(libmnt_table* table) const { mnt_unref_table(table); }
};
struct IterDeleter {
  void operator()(libmnt_iter* iter) const { mnt_free_iter(iter); }
};
struct CacheDeleter {
  void operator()(blkid_struct_cache* cache) const { blkid_put_cache(cache); }
};
using TableHandle = std::unique_ptr<libmnt_table, TableDeleter>;
using IterHandle = std::unique_ptr<libmnt_iter, IterDeleter>;
using CacheHandle = std::unique_ptr<blkid_struct_cache, CacheDeleter>;

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

template <std::size_t N>
bool contains(const std::array<std::string_view, N>& list, std::string_view value) {
  for (auto entry : list)
    if (entry == value) return true;
  return false;
}

// A label is read from the blkid cache when it is there; probing a device
// needs read access to it, which an ordinary user mostly lacks, so a missing
// label is normal.
std::optional<std::string> labelOf(blkid_cache cache, const std::string& source) {
  if (!cache || !startsWith(source, "/dev/")) return std::nullopt;
  char* value = blkid_get_tag_value(cache, "LABEL", source.c_str());
  if (!value) return std::nullopt;
  std::string label = value;
  free(value);
  if (label.empty()) return std::nullopt;
  return label;
}

}  // namespace

bool pathIsAtOrBelow(std::string_view path, std::string_view folder) {
  if (folder == "/") return startsWith(path, "/");
  if (!startsWith(path, folder)) return false;
  return path.size() == folder.size() || path[folder.size()] == '/';
}

VolumeTable::VolumeTable(std::vector<MountedVolume> volumes) : volumes_(std::move(volumes)) {}

bool VolumeTable::isNetworkFileSystem(std::string_view fsType) {
  static constexpr std::array<std::string_view, 14> network = {
      "nfs", "nfs4", "cifs", "smb3", "smbfs", "fuse.sshfs", "sshfs", "9p", "afs", "ceph",
      "davfs", "fuse.davfs", "fuse.rclone", "glusterfs"};
  return contains(network, fsType);
}

bool VolumeTable::isBrowsable(const MountedVolume& volume) {
  static constexpr std::array<std::string_view, 30> pseudo = {
      "proc",      "sysfs",      "cgroup",     "cgroup2",    "devtmpfs",   "devpts",
      "overlay",   "securityfs", "debugfs",    "tracefs",    "pstore",     "bpf",
      "mqueue",    "hugetlbfs",  "configfs",   "fusectl",    "autofs",     "binfmt_misc",
      "efivarfs",  "nsfs",       "rpc_pipefs", "ramfs",      "fuse.gvfsd-fuse", "fuse.portal",
      "selinuxfs", "nfsd",       "rootfs",     "fuse.lxcfs", "shm",        "none"};
  const auto& type = volume.fsType;
  if (contains(pseudo, type)) return false;
  // tmpfs holds run-time state unless a person mounted one to keep files on.
  if (type == "tmpfs")
    return startsWith(volume.mountPoint, "/media/") || startsWith(volume.mountPoint, "/run/media/") ||
           startsWith(volume.mountPoint, "/mnt/");
  // Snap packages are squashfs images below /snap.
  if (type == "squashfs") return !startsWith(volume.mountPoint, "/snap/");
  return true;
}

VolumeTable VolumeTable::current() {
  std::vector<MountedVolume> volumes;
  TableHandle table(mnt_new_table());
  if (!table || mnt_table_parse_mtab(table.get(), nullptr) != 0) {
    VLOG("mount table unreadable");
    return VolumeTable();
  }
  IterHandle iter(mnt_new_iter(MNT_ITER_FORWARD));
  blkid_cache rawCache = nullptr;
  if (blkid_get_cache(&rawCache, nullptr) != 0) rawCache = nullptr;
  CacheHandle cache(rawCache);

  libmnt_fs* fs = nullptr;
  while (iter && mnt_table_next_fs(table.get(), iter.get(), &fs) == 0) {
    const char* target = mnt_fs_get_target(fs);
    if (!target || target[0] != '/') continue;
    MountedVolume volume;
    volume.mountPoint = target;
    if (const char* source = mnt_fs_get_source(fs)) volume.source = source;
    if (const char* type = mnt_fs_get_fstype(fs)) volume.fsType = type;
    volume.isLocal = !mnt_fs_is_netfs(fs) && !isNetworkFileSystem(volume.fsType);
    volume.isBrowsable = !mnt_fs_is_pseudofs(fs) && isBrowsable(volume);
    if (volume.isBrowsable) {
      // A file bind-mounted over another (containers do this for
      // /etc/hosts) is no volume to show.
      struct stat info {};
      if (::stat(target, &info) != 0 || !S_ISDIR(info.st_mode)) volume.isBrowsable = false;
    }
    if (volume.isBrowsable) {
      struct statvfs space {};
      if (::statvfs(target, &space) == 0)
        volume.totalCapacity = static_cast<std::uint64_t>(space.f_blocks) * space.f_frsize;
      volume.label = labelOf(cache.get(), volume.source);
    }
    // A later mount on the same point hides the earlier one.
    std::erase_if(volumes, [&](const MountedVolume& v) { return v.mountPoint == volume.mountPoint; });
    volumes.push_back(std::move(volume));
  }
  return VolumeTable(std::move(volumes));
}

std::optional<MountedVolume> VolumeTable::volumeFor(std::string_view path) const {
  const MountedVolume* best = nullptr;
  for (const auto& volume : volumes_)
    if (pathIsAtOrBelow(path, volume.mountPoint) &&
        (!best || volume.mountPoint.size() > best->mountPoint.size()))
      best = &volume;
  if (!best) return std::nullopt;
  return *best;
}

const MountedVolume* VolumeTable::find(std::string_view mountPoint) const {
  for (const auto& volume : volumes_)
    if (volume.mountPoint == mountPoint) return &volume;
  return nullptr;
}

std::vector<std::string> VolumeTable::mountPointsBelow(std::string_view folder) const {
  std::vector<std::string> below;
  for (const auto& volume : volumes_)
    if (volume.mountPoint != folder && pathIsAtOrBelow(volume.mountPoint, folder))
      below.push_back(volume.mountPoint);
  return below;
}

}  // namespace velmora
