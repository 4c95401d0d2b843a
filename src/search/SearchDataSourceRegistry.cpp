#include "search/SearchDataSourceRegistry.h"

#include "query/commands/KnownDirectoriesSearch.h"
#include "search/FSUtilities.h"
#include "search/FileSystemSearch.h"

namespace velmora {

// The data sources of every search, in the order they start. Command-based
// sources come first and run for every query; the standard sources run for
// word-based queries that no source covers by its own folders. A new source
// is one line here.
const std::vector<SearchDataSourceMaker>& SearchDataSourceRegistry::makers() {
  static const std::vector<SearchDataSourceMaker> table = {
      {SourceCondition::always, "KnownDirectoriesSearch", [] { return std::make_shared<KnownDirectoriesSearch>(); }},
      {SourceCondition::wordBasedWithoutOwnLocations, "FileSystemSearch",
       [] { return std::make_shared<FileSystemSearch>(); }},
  };
  return table;
}

std::shared_ptr<OSItemFilter> SearchDataSourceRegistry::makeOSItemFilter() {
  return std::make_shared<FSUtilities>();
}

}  // namespace velmora
