#include "query/QuerySettings.h"

#include <nlohmann/json.hpp>

#include "stores/FavoriteFolders.h"
#include "stores/PreferenceStore.h"

namespace velmora {

QuerySettings QuerySettings::fromPreferences(const PreferenceStore& store) {
  QuerySettings settings;
  settings.showAppsFoundAnywhere = store.boolForKey("showAppsFoundAnywhere");
  // Read from the store itself rather than FavoriteFolders::shared(), whose
  // map belongs to the main thread: queries are made on any thread.
  nlohmann::json stored = store.objectForKey(FavoriteFolders::defaultsKey);
  if (stored.is_object())
    for (const auto& [name, path] : stored.items())
      if (path.is_string()) settings.rememberedFolders[name] = path.get<std::string>();
  return settings;
}

}  // namespace velmora
