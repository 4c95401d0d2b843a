#include "stores/RecentItem.h"

namespace velmora {

nlohmann::json RecentItem::toJSON() const {
  return {{"path", path}, {"lastSeen", secondsSinceReferenceDate(lastSeen)}};
}

std::optional<RecentItem> RecentItem::fromJSON(const nlohmann::json& value) {
  if (!value.is_object()) return std::nullopt;
  auto path = value.find("path");
  auto seen = value.find("lastSeen");
  if (path == value.end() || !path->is_string() || seen == value.end() || !seen->is_number()) return std::nullopt;
  return RecentItem{path->get<std::string>(), dateFromReferenceSeconds(seen->get<double>())};
}

}  // namespace velmora
