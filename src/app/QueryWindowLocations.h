#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/SearchLocation.h"

namespace velmora {
class MountMonitor;
}

namespace velmora::app {

// The window's location menu: home, all disks, local disks, network disks,
// each other mounted disk by name, and folders given or typed. The list is
// built again when a disk is mounted or unmounted; the choice is remembered
// by name ("lastSearchlocationPopupSelectedItemName").
class QueryWindowLocations {
 public:
  struct Item {
    std::string name;  // "in home", "on all disks", "on USB STICK", "in Projects"
    std::optional<SearchLocationURLSet> preset;
    std::vector<std::string> folders;
    std::string disk;  // mount point of a disk item
  };

  // Folders given on the command line become the first choice.
  explicit QueryWindowLocations(std::vector<std::string> folders);
  ~QueryWindowLocations();

  void rebuild();
  const std::vector<Item>& items() const { return items_; }
  const std::string& chosenName() const { return chosen_; }
  void choose(const std::string& name);
  // Adds a typed folder and chooses it; false when it is no folder.
  bool chooseFolder(const std::string& path);
  // The location of the choice; none while its disk is not mounted.
  std::optional<SearchLocation> currentLocation() const;
  std::function<void()> onChange;

 private:
  std::vector<std::string> extraFolders_;
  std::vector<Item> items_;
  std::string chosen_;
  std::unique_ptr<MountMonitor> monitor_;
};

}  // namespace velmora::app
