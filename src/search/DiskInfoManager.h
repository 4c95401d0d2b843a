#pragma once
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "common/Lock.h"
#include "model/DiskInfo.h"

namespace velmora {

class FSUtilities;
class MountMonitor;
class VolumeTable;

// The live list of mounted volumes. Search threads take a snapshot through
// volumes() at the start of a search; mounts and unmounts change it on the
// main queue and tell the observers (the location menu rebuilds).
class DiskInfoManager {
 public:
  static constexpr const char* RebuildLocationPopupNotification = "DiskInfoManager.RebuildLocationPopup";
  using Observer = std::function<void()>;

  explicit DiskInfoManager(FSUtilities& fsUtilities);
  ~DiskInfoManager();
  // Built from the mount table on first use.
  static DiskInfoManager& shared();

  // Adds every volume of the table (buildAll).
  void buildAll(const VolumeTable& table);
  // Sorted by path, the boot volume first.
  std::vector<DiskInfo> volumes() const;
  // Lists one volume unless it is not browsable ("/" always is).
  void add(const std::string& disk, const VolumeTable& table);
  // A mount or unmount at a path: the list changes, then observers are told
  // on the main queue (also when a non-browsable volume was left out).
  void didMount(const std::string& path, const VolumeTable& table);
  void didUnmount(const std::string& path);

  // Follows the kernel's mount table from the main loop; call on the main
  // thread.
  void startMonitoring();
  bool isMonitoring() const;
  // What the monitor does with a fresh mount table: every mount point that
  // came or went since the last table is told, listed or not.
  void tableChanged(const VolumeTable& table);

  // Observers run on the main queue after each change of the disks.
  static int didChange(Observer observer);
  static void removeObserver(int token);
  static void postRebuildLocationPopupNotification();

 private:

  FSUtilities& fsUtilities_;
  Locked<std::vector<DiskInfo>> disks_;
  Locked<std::set<std::string>> seenMountPoints_;
  std::unique_ptr<MountMonitor> monitor_;
};

}  // namespace velmora
