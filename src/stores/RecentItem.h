#pragma once
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "common/Clock.h"

namespace velmora {

// A file the user opened from the results, and when.
struct RecentItem {
  std::string path;
  Date lastSeen;

  // {"path": ..., "lastSeen": seconds since 2001-01-01}
  nlohmann::json toJSON() const;
  static std::optional<RecentItem> fromJSON(const nlohmann::json& value);
};

}  // namespace velmora
