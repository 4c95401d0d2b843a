#pragma once
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace velmora {

// A query the user saved under a name.
struct SavedSearchItem {
  std::string id;
  std::string displayName;
  std::string queryString;
  bool searchHiddenLocations = false;
  std::string location;
  bool dirty = false;  // changed since the last save; never stored

  nlohmann::json toJSON() const;
  static std::optional<SavedSearchItem> fromJSON(const nlohmann::json& value);
};

}  // namespace velmora
