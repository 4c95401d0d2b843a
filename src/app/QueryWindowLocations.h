#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/Result.h"
#include "platform/VolumeTable.h"
#include "model/SearchLocation.h"

namespace velmora {
class MountMonitor;
}

namespace velmora::app {

// The window's location menu: folders given on the command line, home, all
// disks, local disks, network disks, each mounted disk by name, and the
// folders the person added. The list is built again when a disk is mounted
// or unmounted.
//
// What it remembers in the preferences: the added folders
// ("contentsOfSearchLocationPopup"), the last and the previous choice, the
// last choice of a built-in item, and whether the last choice came from
// outside the menu (folders given with --in). At start it takes the given
// folders, else the first of the last choice, the previous one and (when
// the last came from outside) the last built-in one that still stands in the
// menu, else home.
class QueryWindowLocations {
 public:
  struct Item {
    std::string name;  // "in home", "on all disks", "on USB STICK", "in Projects"
    std::optional<SearchLocationURLSet> preset;
    std::vector<std::string> folders;
    std::string disk;    // mount point of a disk item
    bool added = false;  // a folder the person added
    bool given = false;  // a folder given on the command line
    bool builtIn() const { return !added && !given; }
  };
  // The volumes now; the live table unless a test gives its own.
  using VolumeSource = std::function<VolumeTable()>;
  static constexpr const char* diskRootRefusal =
      "To search an entire disk, choose it's name from the search location menu.";

  // Folders given on the command line become the choice. Without a volume
  // source the live table is read and mounts are watched.
  explicit QueryWindowLocations(std::vector<std::string> folders, VolumeSource volumes = {});
  ~QueryWindowLocations();

  void rebuild();
  const std::vector<Item>& items() const { return items_; }
  const std::string& chosenName() const { return chosen_.name; }
  // A choice from the menu, by name; an unknown name changes nothing.
  void choose(const std::string& name);
  // Adds a typed folder to the menu and chooses it. Refused: what is no
  // folder, and the root of a disk that the menu lists by name.
  Status chooseFolder(const std::string& path);
  // The location of the choice; none while its disk is not mounted.
  std::optional<SearchLocation> currentLocation() const;
  std::function<void()> onChange;

 private:
  void select(const Item& item);
  void loadAddedFolders();
  void saveAddedFolders() const;
  const Item* find(const std::string& name) const;
  std::string uniqueName(const std::string& folder, const std::vector<Item>& taken) const;

  VolumeSource volumes_;
  std::vector<std::string> givenFolders_;
  std::vector<std::string> addedFolders_;
  std::vector<Item> items_;
  Item chosen_;
  std::unique_ptr<MountMonitor> monitor_;
};

}  // namespace velmora::app
