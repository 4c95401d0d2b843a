#include "stores/HistoryItem.h"

namespace velmora {

using nlohmann::json;

json HistoryItem::toJSON() const {
  json out = {{"id", id},
              {"type", static_cast<int>(type)},
              {"queryString", queryString},
              {"performedDate", performedDate}};
  if (url) out["url"] = *url;
  return out;
}

std::optional<HistoryItem> HistoryItem::fromJSON(const json& value) {
  if (!value.is_object()) return std::nullopt;
  auto id = value.find("id");
  auto type = value.find("type");
  auto query = value.find("queryString");
  auto date = value.find("performedDate");
  if (id == value.end() || !id->is_string() || query == value.end() || !query->is_string() ||
      date == value.end() || !date->is_number() || type == value.end() || !type->is_number_integer())
    return std::nullopt;
  int rawType = type->get<int>();
  if (rawType != 0 && rawType != 1) return std::nullopt;
  HistoryItem item;
  item.id = id->get<std::string>();
  item.type = static_cast<HistoryType>(rawType);
  item.queryString = query->get<std::string>();
  item.performedDate = date->get<double>();
  if (auto url = value.find("url"); url != value.end()) {
    if (!url->is_string()) return std::nullopt;
    item.url = url->get<std::string>();
  }
  return item;
}

}  // namespace velmora
