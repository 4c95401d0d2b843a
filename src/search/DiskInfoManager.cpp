#include "search/DiskInfoManager.h"

#include <sys/stat.h>

#include <algorithm>
#include <set>

#include "common/Logger.h"
#include "common/MainQueue.h"
#include "common/ObserverList.h"
#include "platform/MountMonitor.h"
#include "platform/VolumeTable.h"
#include "search/FSUtilities.h"

namespace velmora {

namespace {

// Never destroyed: observers may unregister during exit.
ObserverList<>& observers() {
  static auto* instance = new ObserverList<>();
  return *instance;
}

bool existsOn(const std::string& disk, const std::string& name) {
  struct stat info {};
  std::string path = disk == "/" ? "/" + name : disk + "/" + name;
  return ::lstat(path.c_str(), &info) == 0;
}

}  // namespace

DiskInfoManager::DiskInfoManager(FSUtilities& fsUtilities) : fsUtilities_(fsUtilities) {}

DiskInfoManager::~DiskInfoManager() = default;

DiskInfoManager& DiskInfoManager::shared() {
  static DiskInfoManager* manager = [] {
    auto* made = new DiskInfoManager(FSUtilities::shared());
    made->buildAll(FSUtilities::shared().volumes());
    return made;
  }();
  return *manager;
}

void DiskInfoManager::buildAll(const VolumeTable& table) {
  std::set<std::string> seen;
  for (const auto& volume : table.volumes()) {
    add(volume.mountPoint, table);
    seen.insert(volume.mountPoint);
  }
  seenMountPoints_.access([&](std::set<std::string>& all) { all.insert(seen.begin(), seen.end()); });
}

void DiskInfoManager::add(const std::string& disk, const VolumeTable& table) {
  const MountedVolume* volume = table.find(disk);
  if (disk != "/" && volume && !volume->isBrowsable) return;
  DiskInfo info;
  info.url = disk;
  info.isMacFS = volume && fsUtilities_.conventions().isNativeFileSystem(volume->fsType);
  info.isBackup = info.isMacFS && fsUtilities_.isBackupDisk(disk);
  info.isLocal = volume ? volume->isLocal : true;
  if (info.isMacFS) {
    const auto& markers = fsUtilities_.conventions().systemDiskMarkers;
    info.isSystemDisk = !markers.empty() && std::all_of(markers.begin(), markers.end(),
                                                        [&](const std::string& m) { return existsOn(disk, m); });
  }
  disks_.access([&](std::vector<DiskInfo>& disks) {
    std::erase_if(disks, [&](const DiskInfo& d) { return d.url == disk; });
    disks.push_back(std::move(info));
  });
}

std::vector<DiskInfo> DiskInfoManager::volumes() const {
  auto disks = disks_.value();
  std::sort(disks.begin(), disks.end(), [](const DiskInfo& a, const DiskInfo& b) { return a.url < b.url; });
  const auto& boot = fsUtilities_.bootVolume();
  if (boot)
    std::stable_partition(disks.begin(), disks.end(), [&](const DiskInfo& d) { return d.url == *boot; });
  return disks;
}

void DiskInfoManager::didMount(const std::string& path, const VolumeTable& table) {
  if (path.empty()) return;
  seenMountPoints_.access([&](std::set<std::string>& all) { all.insert(path); });
  add(path, table);
  postRebuildLocationPopupNotification();
}

void DiskInfoManager::didUnmount(const std::string& path) {
  if (path.empty()) return;
  std::string bare = path;
  while (bare.size() > 1 && bare.back() == '/') bare.pop_back();
  seenMountPoints_.access([&](std::set<std::string>& all) { all.erase(bare); });
  disks_.access([&](std::vector<DiskInfo>& disks) { std::erase_if(disks, [&](const DiskInfo& d) { return d.url == bare; }); });
  postRebuildLocationPopupNotification();
}

void DiskInfoManager::startMonitoring() {
  if (monitor_) return;
  monitor_ = std::make_unique<MountMonitor>([this] { tableChanged(fsUtilities_.volumes()); });
}

bool DiskInfoManager::isMonitoring() const { return monitor_ && monitor_->isWatching(); }

void DiskInfoManager::tableChanged(const VolumeTable& table) {
  // The monitor says only that the table changed; the difference between the
  // listed mount points and the table's tells what came and went.
  // Mount points that are not listed (pseudo file systems) are remembered
  // too, so that each mount is told once, listed or not.
  fsUtilities_.noteVolumes(table);
  std::set<std::string> mounted;
  for (const auto& volume : table.volumes()) mounted.insert(volume.mountPoint);
  std::set<std::string> known = seenMountPoints_.value();
  for (const auto& disk : disks_.value()) known.insert(disk.url);
  for (const auto& disk : known)
    if (!mounted.count(disk)) {
      VLOG("unmounted {}", disk);
      didUnmount(disk);
    }
  for (const auto& volume : table.volumes())
    if (!known.count(volume.mountPoint)) {
      VLOG("mounted {}", volume.mountPoint);
      didMount(volume.mountPoint, table);
    }
  seenMountPoints_.set(std::move(mounted));
}

int DiskInfoManager::didChange(Observer observer) { return observers().add(std::move(observer)); }

void DiskInfoManager::removeObserver(int token) { observers().remove(token); }

void DiskInfoManager::postRebuildLocationPopupNotification() {
  MainQueue::async([] { observers().notify(); });
}

}  // namespace velmora
