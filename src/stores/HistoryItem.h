#pragma once
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace velmora {

// One query the user ran, as kept in the history.
struct HistoryItem {
  enum class HistoryType { query = 0, url = 1 };

  std::string id;  // a UUID string
  HistoryType type = HistoryType::query;
  std::string queryString;
  std::optional<std::string> url;
  double performedDate = 0;  // seconds since 1970

  nlohmann::json toJSON() const;
  // Nothing for an ill-formed entry.
  static std::optional<HistoryItem> fromJSON(const nlohmann::json& value);
};

}  // namespace velmora
