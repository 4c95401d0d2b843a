#include "app/QueryWindowLocations.h"

#include <algorithm>
#include <filesystem>

#include "common/AppDirectories.h"
#include "common/SharedAdditions.h"
#include "platform/MountMonitor.h"
#include "platform/VolumeTable.h"
#include "search/DiskInfoManager.h"
#include "search/FSUtilities.h"
#include "stores/PreferenceStore.h"

namespace velmora::app {

namespace {
constexpr const char* kChoiceKey = "lastSearchlocationPopupSelectedItemName";
constexpr const char* kHome = "in home";

// As the location menu does: a folder the person points at inside a system
// folder, or an invisible one, is searched all the same.
void searchInsideSystemIfNeeded(const std::string& folder) {
  auto& fs = FSUtilities::shared();
  if (fs.isInsideOSDirectory(folder) || fs.isInvisibleOrInsidePackage(folder))
    PreferenceStore::shared().set("searchInsideSystemAndApps", true);
}
}  // namespace

QueryWindowLocations::QueryWindowLocations(std::vector<std::string> folders) {
  for (auto& folder : folders) {
    std::error_code error;
    auto absolute = std::filesystem::weakly_canonical(std::filesystem::absolute(folder, error), error);
    extraFolders_.push_back(error ? folder : absolute.string());
    searchInsideSystemIfNeeded(extraFolders_.back());
  }
  rebuild();
  if (!extraFolders_.empty()) {
    chosen_ = items_.front().name;
  } else {
    chosen_ = PreferenceStore::shared().stringForKey(kChoiceKey);
    if (chosen_.empty()) chosen_ = kHome;
  }
  monitor_ = std::make_unique<MountMonitor>([this] {
    rebuild();
    if (onChange) onChange();
  });
}

QueryWindowLocations::~QueryWindowLocations() = default;

void QueryWindowLocations::rebuild() {
  std::vector<Item> items;
  for (const auto& folder : extraFolders_)
    items.push_back({"in " + SharedAdditions::displayName(folder), std::nullopt, {folder}, {}});
  items.push_back({kHome, SearchLocationURLSet::home, {AppDirectories::homeDirectory().string()}, {}});
  items.push_back({"on all disks", SearchLocationURLSet::allDisks, {}, {}});
  items.push_back({"on local disks", SearchLocationURLSet::localDisks, {}, {}});
  items.push_back({"on network disks", SearchLocationURLSet::networkDisks, {}, {}});
  for (const auto& volume : VolumeTable::current().volumes()) {
    if (!volume.isBrowsable || volume.mountPoint == "/") continue;
    std::string name = volume.label ? *volume.label : SharedAdditions::displayName(volume.mountPoint);
    items.push_back({"on " + name, std::nullopt, {volume.mountPoint}, volume.mountPoint});
  }
  items_ = std::move(items);
}

void QueryWindowLocations::choose(const std::string& name) {
  chosen_ = name;
  PreferenceStore::shared().set(kChoiceKey, name);
  if (onChange) onChange();
}

bool QueryWindowLocations::chooseFolder(const std::string& path) {
  std::error_code error;
  std::string expanded = path;
  if (expanded.rfind("~", 0) == 0) expanded = AppDirectories::homeDirectory().string() + expanded.substr(1);
  auto absolute = std::filesystem::weakly_canonical(std::filesystem::absolute(expanded, error), error);
  if (error || !std::filesystem::is_directory(absolute, error)) return false;
  if (std::find(extraFolders_.begin(), extraFolders_.end(), absolute.string()) == extraFolders_.end())
    extraFolders_.push_back(absolute.string());
  searchInsideSystemIfNeeded(absolute.string());
  rebuild();
  choose("in " + SharedAdditions::displayName(absolute.string()));
  return true;
}

std::optional<SearchLocation> QueryWindowLocations::currentLocation() const {
  auto it = std::find_if(items_.begin(), items_.end(), [&](const Item& item) { return item.name == chosen_; });
  if (it == items_.end()) {
    // A remembered disk that is not mounted now: the search waits for it.
    if (chosen_.rfind("on ", 0) == 0) return std::nullopt;
    return SearchLocation::fromURLs({AppDirectories::homeDirectory().string()}, kHome);
  }
  if (!it->disk.empty() && !VolumeTable::current().find(it->disk)) return std::nullopt;
  if (it->preset && *it->preset != SearchLocationURLSet::home) return SearchLocation::fromPreset(*it->preset, DiskInfoManager::shared().volumes(), it->name);
  return SearchLocation::fromURLs(it->folders, it->name);
}

}  // namespace velmora::app
