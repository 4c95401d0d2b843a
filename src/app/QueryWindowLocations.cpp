#include "app/QueryWindowLocations.h"

#include <algorithm>
#include <ctime>
#include <filesystem>

#include "common/AppDirectories.h"
#include "common/SharedAdditions.h"
#include "index/ContentIndexManager.h"
#include "platform/MountMonitor.h"
#include "platform/PathConventions.h"
#include "search/DiskInfoManager.h"
#include "search/FSUtilities.h"
#include "stores/PreferenceStore.h"

namespace velmora::app {

namespace {
constexpr const char* kAddedKey = "contentsOfSearchLocationPopup";
constexpr const char* kLastKey = "lastSearchlocationPopupSelectedItemName";
constexpr const char* kPreviousKey = "previousSearchlocationPopupSelectedItemName";
constexpr const char* kLastBuiltInKey = "lastBuiltInSearchlocationPopupSelectedItemName";
constexpr const char* kFromOutsideKey = "lastSearchlocationPopupSelectedItemNameWasFinderSelection";
constexpr const char* kHome = "in home";

// As the location menu does: a folder the person points at inside a system
// folder, or an invisible one, is searched all the same.
void searchInsideSystemIfNeeded(const std::string& folder) {
  auto& fs = FSUtilities::shared();
  if (fs.isInsideOSDirectory(folder) || fs.isInvisibleOrInsidePackage(folder))
    PreferenceStore::shared().set("searchInsideSystemAndApps", true);
}

std::string absoluteFolder(const std::string& path) {
  std::error_code error;
  std::string expanded = path;
  if (expanded == "~" || expanded.rfind("~/", 0) == 0)
    expanded = AppDirectories::homeDirectory().string() + expanded.substr(1);
  auto absolute = std::filesystem::weakly_canonical(std::filesystem::absolute(expanded, error), error);
  return error ? expanded : absolute.string();
}

std::string diskName(const MountedVolume& volume) {
  if (volume.label && !volume.label->empty()) return *volume.label;
  if (volume.mountPoint == "/") return PathConventions::current().rootVolumeName;
  return SharedAdditions::displayName(volume.mountPoint);
}
}  // namespace

QueryWindowLocations::QueryWindowLocations(std::vector<std::string> folders, VolumeSource volumes)
    : volumes_(std::move(volumes)) {
  const bool live = !volumes_;
  if (live) volumes_ = [] { return VolumeTable::current(); };
  for (auto& folder : folders) {
    std::string absolute = absoluteFolder(folder);
    if (std::find(givenFolders_.begin(), givenFolders_.end(), absolute) != givenFolders_.end()) continue;
    givenFolders_.push_back(absolute);
    searchInsideSystemIfNeeded(absolute);
  }
  loadAddedFolders();
  rebuild();

  auto& store = PreferenceStore::shared();
  if (!givenFolders_.empty()) {
    select(items_.front());
  } else {
    std::vector<std::string> candidates{store.stringForKey(kLastKey), store.stringForKey(kPreviousKey)};
    if (store.boolForKey(kFromOutsideKey)) candidates.push_back(store.stringForKey(kLastBuiltInKey));
    candidates.push_back(kHome);
    // An item no longer in the menu (a disk not mounted, a folder given
    // last time) is passed over.
    for (const auto& name : candidates)
      if (const Item* item = find(name)) {
        chosen_ = *item;
        break;
      }
  }
  if (live)
    monitor_ = std::make_unique<MountMonitor>([this] {
      rebuild();
      if (onChange) onChange();
    });
}

QueryWindowLocations::~QueryWindowLocations() = default;

void QueryWindowLocations::loadAddedFolders() {
  auto stored = PreferenceStore::shared().objectForKey(kAddedKey);
  if (!stored.is_array()) return;
  for (const auto& entry : stored) {
    // Each entry is one added folder; anything else in the list is skipped.
    if (!entry.is_object() || !entry.contains("folder") || !entry["folder"].is_string()) continue;
    std::string folder = entry["folder"].get<std::string>();
    if (folder.empty() || folder.front() != '/') continue;
    if (std::find(addedFolders_.begin(), addedFolders_.end(), folder) == addedFolders_.end())
      addedFolders_.push_back(std::move(folder));
  }
}

void QueryWindowLocations::saveAddedFolders() const {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& item : items_)
    if (item.added) list.push_back({{"name", item.name}, {"folder", item.folders.front()}});
  PreferenceStore::shared().set(kAddedKey, std::move(list));
}

std::string QueryWindowLocations::uniqueName(const std::string& folder, const std::vector<Item>& taken) const {
  std::string name = "in " + SharedAdditions::displayName(folder);
  auto used = [&](const std::string& candidate) {
    return std::any_of(taken.begin(), taken.end(), [&](const Item& item) { return item.name == candidate; });
  };
  // Two folders of one name are told apart by their paths.
  return used(name) ? "in " + folder : name;
}

void QueryWindowLocations::rebuild() {
  std::vector<Item> items;
  for (const auto& folder : givenFolders_) {
    Item item{uniqueName(folder, items), std::nullopt, {folder}, {}};
    item.given = true;
    items.push_back(std::move(item));
  }
  items.push_back({kHome, SearchLocationURLSet::home, {AppDirectories::homeDirectory().string()}, {}});
  items.push_back({"on all disks", SearchLocationURLSet::allDisks, {}, {}});
  items.push_back({"on local disks", SearchLocationURLSet::localDisks, {}, {}});
  items.push_back({"on network disks", SearchLocationURLSet::networkDisks, {}, {}});
  // The table is kept while its volumes are read.
  const VolumeTable table = volumes_();
  for (const auto& volume : table.volumes()) {
    if (!volume.isBrowsable) continue;
    std::string name = "on " + diskName(volume);
    if (std::any_of(items.begin(), items.end(), [&](const Item& item) { return item.name == name; }))
      name = "on " + volume.mountPoint;
    items.push_back({name, std::nullopt, {volume.mountPoint}, volume.mountPoint});
  }
  for (const auto& folder : addedFolders_) {
    if (std::find(givenFolders_.begin(), givenFolders_.end(), folder) != givenFolders_.end()) continue;
    Item item{uniqueName(folder, items), std::nullopt, {folder}, {}};
    item.added = true;
    items.push_back(std::move(item));
  }
  // Indexed folders and disks, searchable also when they are not there.
  for (const auto& index : ContentIndexManager::shared().indexes()) {
    if (!index->targetURL) continue;
    std::time_t t = std::chrono::system_clock::to_time_t(index->documentInfo.lastUpdated);
    std::tm tm{};
    localtime_r(&t, &tm);
    char date[16];
    std::strftime(date, sizeof date, "%m/%d/%Y", &tm);
    items.push_back({"in " + index->displayName + " (Cached " + date + ")", std::nullopt, {*index->targetURL}, {}});
  }
  items_ = std::move(items);
}

const QueryWindowLocations::Item* QueryWindowLocations::find(const std::string& name) const {
  auto it = std::find_if(items_.begin(), items_.end(), [&](const Item& item) { return item.name == name; });
  return it == items_.end() ? nullptr : &*it;
}

void QueryWindowLocations::select(const Item& item) {
  chosen_ = item;
  auto& store = PreferenceStore::shared();
  std::string earlier = store.stringForKey(kLastKey);
  if (!earlier.empty() && earlier != item.name) store.set(kPreviousKey, earlier);
  store.set(kLastKey, item.name);
  if (item.builtIn()) store.set(kLastBuiltInKey, item.name);
  store.set(kFromOutsideKey, item.given);
}

void QueryWindowLocations::choose(const std::string& name) {
  const Item* item = find(name);
  if (!item) return;
  select(*item);
  if (onChange) onChange();
}

Status QueryWindowLocations::chooseFolder(const std::string& path) {
  std::string absolute = absoluteFolder(path);
  std::error_code error;
  if (!std::filesystem::is_directory(absolute, error)) return Status::invalidArgument("\"" + path + "\" is no folder.");
  for (const auto& item : items_)
    if (!item.disk.empty() && item.disk == absolute) return Status::invalidArgument(diskRootRefusal);
  bool known = std::find(addedFolders_.begin(), addedFolders_.end(), absolute) != addedFolders_.end() ||
               std::find(givenFolders_.begin(), givenFolders_.end(), absolute) != givenFolders_.end();
  if (!known) addedFolders_.push_back(absolute);
  searchInsideSystemIfNeeded(absolute);
  rebuild();
  if (!known) saveAddedFolders();
  auto it = std::find_if(items_.begin(), items_.end(), [&](const Item& item) {
    return item.disk.empty() && !item.preset && item.folders == std::vector<std::string>{absolute};
  });
  if (it != items_.end()) select(*it);
  if (onChange) onChange();
  return Status::success();
}

std::optional<SearchLocation> QueryWindowLocations::currentLocation() const {
  // The chosen item as it was chosen: its disk may have gone since.
  const Item* listed = find(chosen_.name);
  const Item& item = listed ? *listed : chosen_;
  if (!item.disk.empty()) {
    const VolumeTable table = volumes_();
    if (!table.find(item.disk)) return std::nullopt;
  }
  if (item.preset && *item.preset != SearchLocationURLSet::home)
    return SearchLocation::fromPreset(*item.preset, DiskInfoManager::shared().volumes(), item.name);
  return SearchLocation::fromURLs(item.folders, item.name);
}

}  // namespace velmora::app
