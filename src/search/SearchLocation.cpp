#include "search/SearchLocation.h"

#include "common/AppDirectories.h"

namespace velmora {

// First cut: url targets by plain path prefix; the preset lists and the
// boot-volume rules come with the volume layer.

SearchLocation::SearchLocation(std::vector<SearchTarget> targets, std::string name)
    : allTargets(std::move(targets)), locationName(std::move(name)) {}

SearchLocation SearchLocation::fromURLs(const std::vector<std::string>& urls, std::string name) {
  std::vector<SearchTarget> targets;
  for (const auto& u : urls) targets.push_back(SearchTarget::forURL(u));
  return SearchLocation(std::move(targets), std::move(name));
}

SearchLocation SearchLocation::fromPreset(SearchLocationURLSet preset, std::string name) {
  SearchLocation location;
  location.locationSet = preset;
  location.locationName = name.empty() ? "in home" : std::move(name);
  if (preset == SearchLocationURLSet::home)
    location.allTargets.push_back(SearchTarget::forURL(AppDirectories::homeDirectory().string()));
  return location;
}

std::vector<std::string> SearchLocation::locationURLs() const {
  std::vector<std::string> urls;
  for (const auto& t : allTargets)
    if (t.kind == SearchTarget::Kind::url) urls.push_back(t.url);
  return urls;
}

std::vector<std::string> SearchLocation::disksForLocations() const { return locationURLs(); }

bool SearchLocation::pathIsInLocation(const std::string& path) const {
  for (const auto& t : allTargets) {
    if (t.kind == SearchTarget::Kind::url) {
      if (t.url == "/" || path.rfind(t.url, 0) == 0) return true;
    } else if (t.offline && !t.offline->targetPath().empty() &&
               path.rfind(t.offline->targetPath(), 0) == 0) {
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
