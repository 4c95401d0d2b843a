#include "model/SearchLocation.h"

#include "common/AppDirectories.h"
#include "common/SharedAdditions.h"
#include "platform/PathConventions.h"

namespace velmora {

namespace {

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

std::string homeDirectory() {
  std::string home = AppDirectories::homeDirectory().string();
  while (home.size() > 1 && home.back() == '/') home.pop_back();
  return home;
}

std::vector<std::string> presetURLs(SearchLocationURLSet preset, const std::vector<DiskInfo>& volumes) {
  if (preset == SearchLocationURLSet::home) return {homeDirectory()};
  std::vector<std::string> urls;
  auto pick = [&](auto test) {
    for (const auto& disk : volumes)
      if (test(disk)) urls.push_back(disk.url);
  };
  auto local = [](const DiskInfo& d) { return d.isLocal && !d.isBackup; };
  switch (preset) {
    case SearchLocationURLSet::macDisks:
      pick([&](const DiskInfo& d) { return local(d) && d.isMacFS; });
      break;
    case SearchLocationURLSet::localDisks:
    case SearchLocationURLSet::allDisks:
      pick([&](const DiskInfo& d) { return local(d) && d.isMacFS; });
      pick([&](const DiskInfo& d) { return local(d) && !d.isMacFS; });
      if (preset == SearchLocationURLSet::allDisks) {
        pick([](const DiskInfo& d) { return !d.isLocal; });
        pick([](const DiskInfo& d) { return d.isBackup; });
      }
      break;
    case SearchLocationURLSet::networkDisks:
      pick([](const DiskInfo& d) { return !d.isLocal; });
      break;
    case SearchLocationURLSet::backups:
      pick([](const DiskInfo& d) { return d.isBackup; });
      break;
    case SearchLocationURLSet::home:
      break;
  }
  return urls;
}

}  // namespace

std::string locationName(SearchLocationURLSet preset) {
  switch (preset) {
    case SearchLocationURLSet::allDisks: return "All Disks";
    case SearchLocationURLSet::macDisks: return "Linux-Formatted Disks";
    case SearchLocationURLSet::localDisks: return "Local Disks";
    case SearchLocationURLSet::networkDisks: return "Network Disks";
    case SearchLocationURLSet::backups: return "Backup Disks";
    case SearchLocationURLSet::home: return "Home";
  }
  return {};
}

SearchLocation::SearchLocation(std::vector<SearchTarget> targets, std::string name)
    : allTargets(std::move(targets)), locationName(std::move(name)) {
  if (!locationName.empty() || allTargets.empty()) return;
  const auto& first = allTargets.front();
  if (first.kind == SearchTarget::Kind::url)
    locationName = SharedAdditions::displayName(first.url);
  else if (first.offline)
    locationName = first.offline->displayName();
}

SearchLocation SearchLocation::fromURLs(const std::vector<std::string>& urls, std::string name) {
  std::vector<SearchTarget> targets;
  for (const auto& u : urls) targets.push_back(SearchTarget::forURL(u));
  return SearchLocation(std::move(targets), std::move(name));
}

SearchLocation SearchLocation::fromPreset(SearchLocationURLSet preset, const std::vector<DiskInfo>& volumes,
                                          std::string name) {
  SearchLocation location;
  location.locationSet = preset;
  location.locationName = name.empty() ? velmora::locationName(preset) : std::move(name);
  for (auto& url : presetURLs(preset, volumes)) location.allTargets.push_back(SearchTarget::forURL(std::move(url)));
  return location;
}

std::vector<std::string> SearchLocation::locationURLs() const {
  std::vector<std::string> urls;
  for (const auto& t : allTargets)
    if (t.kind == SearchTarget::Kind::url) urls.push_back(t.url);
  return urls;
}

std::vector<std::string> SearchLocation::disksForLocations() const {
  return disksForLocations(PathConventions::current());
}

std::vector<std::string> SearchLocation::disksForLocations(const PathConventions& conventions) const {
  return conventions.disksForLocations(locationURLs());
}

std::vector<std::shared_ptr<CacheVC_IndexInterface>> SearchLocation::cachesForLocations(
    const std::vector<std::shared_ptr<CacheVC_IndexInterface>>& allIndexes) const {
  const auto& conventions = PathConventions::current();
  auto roots = conventions.namedBootVolumeURLsToSlashRoot(disksForLocations(conventions));
  std::vector<std::shared_ptr<CacheVC_IndexInterface>> caches;
  for (const auto& index : allIndexes) {
    if (!index) continue;
    std::string target = index->targetPath();
    for (const auto& root : roots)
      if (!target.empty() && startsWith(target, root)) {
        caches.push_back(index);
        break;
      }
  }
  for (const auto& t : allTargets)
    if (t.kind == SearchTarget::Kind::offline && t.offline) caches.push_back(t.offline);
  return caches;
}

bool SearchLocation::pathIsInLocation(const std::string& path) const {
  return pathIsInLocation(path, PathConventions::current());
}

bool SearchLocation::pathIsInLocation(const std::string& path, const PathConventions& conventions) const {
  if (locationSet == SearchLocationURLSet::home) {
    std::string_view rest = path;
    if (!conventions.systemDataVolume.empty() && startsWith(rest, conventions.systemDataVolume))
      rest.remove_prefix(conventions.systemDataVolume.size());
    else if (conventions.namesBootVolume && conventions.bootVolume && startsWith(rest, *conventions.bootVolume))
      rest.remove_prefix(conventions.bootVolume->size());
    return startsWith(rest, homeDirectory());
  }
  // Called for every entry of a crawl: where paths need no correction the
  // test makes no copies.
  std::string correctedPath;
  std::string_view corrected = path;
  if (conventions.namesBootVolume) corrected = correctedPath = conventions.correctRootBasedPath(path);
  auto correct = [&](const std::string& target) {
    return conventions.namesBootVolume ? conventions.correctRootBasedPath(target) : target;
  };
  for (const auto& t : allTargets) {
    if (t.kind == SearchTarget::Kind::offline) {
      if (!t.offline) continue;
      std::string target = t.offline->targetPath();
      if (!target.empty() && startsWith(corrected, correct(target))) return true;
    } else if (t.url == "/") {
      // The root stands for the data half of the boot volume where there is
      // one, and for everything where "/" is one walk.
      const auto& data = conventions.systemDataVolume;
      if (data.empty() ? startsWith(path, "/") : startsWith(path, data)) return true;
    } else if (conventions.namesBootVolume ? startsWith(corrected, correct(t.url)) : startsWith(corrected, t.url)) {
      return true;
    }
  }
  return false;
}

bool SearchLocation::singleMatchFor(const std::string& url) const {
  auto urls = locationURLs();
  return !urls.empty() && urls.front() == url;
}

}  // namespace velmora
