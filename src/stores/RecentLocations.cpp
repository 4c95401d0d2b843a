#include "stores/RecentLocations.h"

#include "stores/Preferences.h"

namespace velmora {

RecentLocations::RecentLocations() : PreferencesArray(std::string(defaultsKeyName), 0) {}

std::size_t RecentLocations::maxElements() const {
  Preferences::registerDefaultsIfNeeded();
  auto count = Preferences::recentItemsMaxCount();
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

RecentLocations& RecentLocations::shared() {
  static RecentLocations instance;
  return instance;
}

std::optional<std::string> RecentLocations::toRuntimeType(const nlohmann::json& value) const {
  if (!value.is_string()) return std::nullopt;
  auto path = value.get<std::string>();
  if (path.empty() || path.front() != '/') return std::nullopt;
  return path;
}

}  // namespace velmora
