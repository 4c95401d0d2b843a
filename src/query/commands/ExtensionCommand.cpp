#include "query/commands/ExtensionCommand.h"

#include <typeinfo>

#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

ExtensionCommand::ExtensionCommand(std::string extension, bool notExtension)
    : wantedFileNameExtension(TextCase::plainLowercase(extension)), not_(notExtension) {}

std::string ExtensionCommand::commandToString() const {
  return (not_ ? "not ." : ".") + wantedFileNameExtension;
}

std::string ExtensionCommand::commandExample() const {
  return (not_ ? "not .**" : ".**") + wantedFileNameExtension + "**";
}

std::vector<std::string> ExtensionCommand::commandImpExtraSearchStrings() const {
  if (not_) return {};
  return {wantedFileNameExtension};
}

std::vector<std::string> ExtensionCommand::commandExtraHighlightStrings() const {
  return {"." + wantedFileNameExtension};
}

CommandApplyResult ExtensionCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                     const QueryContainer&) {
  std::string_view extension = PathText::pathExtension(result.path);
  if (extension.empty()) return CommandApplyResult::skip;
  bool equal = TextCase::plainLowercase(extension) == wantedFileNameExtension;
  if (not_) return equal ? CommandApplyResult::exclude : CommandApplyResult::accept;
  return equal ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

bool ExtensionCommand::isTemplateEqualTo(const Command& other) const {
  if (typeid(other) != typeid(ExtensionCommand)) return false;
  return static_cast<const ExtensionCommand&>(other).not_ == not_;
}

std::shared_ptr<Command> ExtensionCommandFactory::create(const std::string& name, const Args& args,
                                                         const Flags&) const {
  auto extension = commandsupport::textArg(args, 0);
  if (!extension || extension->empty()) return nullptr;
  if (name == "extension") return std::make_shared<ExtensionCommand>(*extension, false);
  if (name == "extensionNot") return std::make_shared<ExtensionCommand>(*extension, true);
  return nullptr;
}

}  // namespace velmora
