#include "query/commands/InsideCommand.h"

#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

CommandApplyResult InsideCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                  const QueryContainer&) {
  const std::string path = TextCase::plainLowercase(result.path);
  bool inside = false;
  if (!completePathComponent) {
    inside = std::string(PathText::deletingLastPathComponent(path)).find(insidePath) != std::string::npos;
  } else {
    std::size_t start = 0;
    while (start <= path.size() && !inside) {
      std::size_t end = path.find('/', start);
      if (end == std::string::npos) end = path.size();
      if (end > start && std::string_view(path).substr(start, end - start) == insidePath) inside = true;
      start = end + 1;
    }
  }
  return inside ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

std::shared_ptr<Command> InsideCommandFactory::create(const std::string& name, const Args& args, const Flags&) const {
  const SentenceComponent* word = commandsupport::arg<SentenceComponent>(args, 0);
  if (name != "inside" || !word) return nullptr;
  return std::make_shared<InsideCommand>(word->textLowered, word->wasInQuotes);
}

}  // namespace velmora
