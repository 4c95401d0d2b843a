#pragma once
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "search/OSItemFilter.h"
#include "search/SearchDataSource.h"

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

struct SearchDataSourceMaker {
  SourceCondition condition = SourceCondition::always;
  std::string name;
  std::function<std::shared_ptr<SearchDataSource>()> make;
};

// The one table of data sources a search starts, in start order. A new
// source joins with one line in SearchDataSourceRegistry.cpp.
namespace SearchDataSourceRegistry {
const std::vector<SearchDataSourceMaker>& makers();
// The test for system and invisible items; null when none is available.
std::shared_ptr<OSItemFilter> makeOSItemFilter();
}  // namespace SearchDataSourceRegistry

}  // namespace velmora
