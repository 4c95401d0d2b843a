#include "stores/SavedSearchItem.h"

namespace velmora {

using nlohmann::json;

json SavedSearchItem::toJSON() const {
  return {{"id", id},
          {"displayName", displayName},
          {"queryString", queryString},
          {"searchHiddenLocations", searchHiddenLocations},
          {"location", location}};
}

std::optional<SavedSearchItem> SavedSearchItem::fromJSON(const json& value) {
  if (!value.is_object()) return std::nullopt;
  auto text = [&](const char* key) -> const json* {
    auto it = value.find(key);
    return it != value.end() && it->is_string() ? &*it : nullptr;
  };
  const json* id = text("id");
  const json* name = text("displayName");
  const json* query = text("queryString");
  if (!id || !name || !query) return std::nullopt;
  SavedSearchItem item;
  item.id = id->get<std::string>();
  item.displayName = name->get<std::string>();
  item.queryString = query->get<std::string>();
  if (const json* location = text("location")) item.location = location->get<std::string>();
  if (auto hidden = value.find("searchHiddenLocations"); hidden != value.end() && hidden->is_boolean())
    item.searchHiddenLocations = hidden->get<bool>();
  return item;
}

}  // namespace velmora
