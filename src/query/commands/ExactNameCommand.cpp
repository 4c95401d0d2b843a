#include "query/commands/ExactNameCommand.h"

#include "query/QueryContainer.h"
#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

namespace {
std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const auto& w : words) {
    if (!out.empty()) out += ' ';
    out += w;
  }
  return out;
}
}  // namespace

CommandApplyResult ExactNameCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                     const QueryContainer& query) {
  const std::string name = TextCase::plainLowercase(PathText::lastPathComponent(result.path));
  if (!query.includesORStatement)
    return joined(query.searchWords) == name ? CommandApplyResult::accept : CommandApplyResult::exclude;
  for (const auto& group : query.orStringGroups)
    if (joined(group) == name) return CommandApplyResult::accept;
  return CommandApplyResult::exclude;
}

}  // namespace velmora
