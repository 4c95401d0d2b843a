#include "query/commands/ExcludeFolderCommand.h"

#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"
#include "common/PathText.h"

namespace velmora {

ExcludeFolderCommand::ExcludeFolderCommand(std::string path, bool complete)
    : insidePath(std::move(path)), completePathComponent(complete) {
  if (!insidePath.empty() && insidePath.front() == '-') insidePath.erase(0, 1);
}

CommandApplyResult ExcludeFolderCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                         const QueryContainer&) {
  const std::string folder = std::string(PathText::deletingLastPathComponent(result.path)) + "/";
  if (folder.find(insidePath) != std::string::npos || folder == insidePath) return CommandApplyResult::exclude;
  return CommandApplyResult::accept;
}

std::shared_ptr<Command> ExcludeFolderFactory::create(const std::string& name, const Args& args, const Flags&) const {
  const SentenceComponent* word = commandsupport::arg<SentenceComponent>(args, 0);
  if (name != "excludingFolder" || !word) return nullptr;
  return std::make_shared<ExcludeFolderCommand>(word->textLowered, word->wasInQuotes);
}

}  // namespace velmora
