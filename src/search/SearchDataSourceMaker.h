#pragma once
#include <functional>
#include <memory>
#include <string>

#include "model/SearchDataSource.h"

namespace velmora {

// When the search manager starts a source made by a maker.
enum class SourceCondition {
  // Every search, first: the command-based sources (listed apps, remembered
  // folders). They find their command in the query or do nothing.
  always,
  // Word-based searches where no source already covers its own folders:
  // the standard sources (content index, file-system crawl, metadata index).
  wordBasedWithoutOwnLocations,
};

// One row of the table of sources a search manager starts. The table is
// assembled by the application (shell/SearchSources) and handed to each
// manager in its environment, so the engine never names a source of a
// subsystem above it.
struct SearchDataSourceMaker {
  SourceCondition condition = SourceCondition::always;
  std::string name;
  std::function<std::shared_ptr<SearchDataSource>()> make;
};

}  // namespace velmora
