#pragma once
#include <map>
#include <string>

namespace velmora {

class PreferenceStore;

// The user's settings that change how a query is understood. A value handed
// to each QueryContainer, so parsing reads no global store: the front-ends
// read it from the preferences, tests write it out.
struct QuerySettings {
  // "showAppsFoundAnywhere": applications named like the query are found
  // outside the location too.
  bool showAppsFoundAnywhere = false;
  // The remembered folders by name, for "~remembered".
  std::map<std::string, std::string> rememberedFolders;

  static QuerySettings fromPreferences(const PreferenceStore& store);
};

}  // namespace velmora
