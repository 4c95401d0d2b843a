#pragma once
#include <vector>

#include "model/SearchResult.h"
#include "search/results/Column.h"
#include "search/results/UINodeSortable.h"

namespace velmora {

// Results in the order the results list shows them for a column and
// direction (same keys, same collation, same last key by name).
std::vector<SearchResult> sortedSearchResults(const std::vector<SearchResult>& results, Column column,
                                              bool reversed, const SortOptions& options = {});

}  // namespace velmora
