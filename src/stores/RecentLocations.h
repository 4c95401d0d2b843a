#pragma once
#include <string>

#include "stores/PreferencesArray.h"

namespace velmora {

// The folders searched lately, newest first, as absolute paths; as many as
// "recentItemsMaxCount" allows.
class RecentLocations : public PreferencesArray<std::string> {
 public:
  static constexpr const char* defaultsKeyName = "recentLocations";
  RecentLocations();
  static RecentLocations& shared();
  // "recentItemsMaxCount" as it is set now.
  std::size_t maxElements() const override;

 protected:
  // Only absolute paths are locations; anything else in the file is dropped.
  std::optional<std::string> toRuntimeType(const nlohmann::json& value) const override;
};

}  // namespace velmora
