#include "search/results/SearchResultSort.h"

#include "search/results/UINode.h"

namespace velmora {

std::vector<SearchResult> sortedSearchResults(const std::vector<SearchResult>& results, Column column,
                                              bool reversed, const SortOptions& options) {
  std::vector<UINodePtr> nodes;
  nodes.reserve(results.size());
  for (const auto& result : results) nodes.push_back(std::make_shared<UINode>(result));
  std::vector<SearchResult> sorted;
  sorted.reserve(results.size());
  for (const auto& node : UINode::sortNodes(nodes, column, reversed, options))
    sorted.push_back(*node->suppliedSearchResult.value());
  return sorted;
}

}  // namespace velmora
