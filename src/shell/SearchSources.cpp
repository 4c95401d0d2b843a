#include "shell/SearchSources.h"

#include "query/commands/KnownDirectoriesSearch.h"
#include "search/FSUtilities.h"
#include "search/FileSystemSearch.h"
#include "shell/ActivityController.h"

namespace velmora {

// Command-based sources come first and run for every query; the standard
// sources run for word-based queries that no source covers by its own
// folders. A new source is one line here.
SearchManagerEnvironment SearchSources::standardEnvironment() {
  SearchManagerEnvironment environment;
  environment.sources = {
      {SourceCondition::always, "KnownDirectoriesSearch", [] { return std::make_shared<KnownDirectoriesSearch>(); }},
      {SourceCondition::wordBasedWithoutOwnLocations, "FileSystemSearch",
       [] { return std::make_shared<FileSystemSearch>(FSUtilities::shared(), &ActivityController::shared()); }},
  };
  environment.osItemFilter = std::shared_ptr<OSItemFilter>(&FSUtilities::shared(), [](OSItemFilter*) {});
  return environment;
}

}  // namespace velmora
