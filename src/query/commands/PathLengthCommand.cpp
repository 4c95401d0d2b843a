#include "query/commands/PathLengthCommand.h"

#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"

namespace velmora {

std::string PathLengthCommand::commandToString() const {
  return std::string(choice == Choice::min ? "min" : "max") + " path length " + std::to_string(count);
}

std::string PathLengthCommand::commandExample() const {
  return std::string(choice == Choice::min ? "min" : "max") + " path length **" + std::to_string(count) + "**";
}

CommandApplyResult PathLengthCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                      const QueryContainer&) {
  return NameLengthCommand::apply(commandsupport::characterCount(result.path), count, choice);
}

const std::map<std::string, PathLengthCommand::Choice>& PathLengthCommandFactory::map() {
  static const std::map<std::string, PathLengthCommand::Choice> m = {{"pathMaxLength", PathLengthCommand::Choice::max},
                                                                     {"pathMinLength", PathLengthCommand::Choice::min}};
  return m;
}

std::shared_ptr<Command> PathLengthCommandFactory::create(const std::string& name, const Args& args,
                                                          const Flags&) const {
  auto choice = map().find(name);
  auto count = commandsupport::intArg(args, 0);
  if (choice == map().end() || !count || *count < INT32_MIN || *count > INT32_MAX) return nullptr;
  return std::make_shared<PathLengthCommand>(int(*count), choice->second);
}

}  // namespace velmora
