#include "query/commands/NameLengthCommand.h"

#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"

namespace velmora {

CommandApplyResult NameLengthCommand::apply(std::size_t length, int count, Choice choice) {
  const long long len = static_cast<long long>(length);
  if (choice == Choice::max) return len >= count ? CommandApplyResult::exclude : CommandApplyResult::accept;
  return len <= count ? CommandApplyResult::exclude : CommandApplyResult::accept;
}

std::string NameLengthCommand::commandToString() const {
  return std::string(choice == Choice::min ? "min" : "max") + " name length " + std::to_string(count);
}

std::string NameLengthCommand::commandExample() const {
  return std::string(choice == Choice::min ? "min" : "max") + " name length **" + std::to_string(count) + "**";
}

CommandApplyResult NameLengthCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                      const QueryContainer&) {
  return apply(commandsupport::characterCount(commandsupport::lastPathComponent(result.path)), count, choice);
}

const std::map<std::string, NameLengthCommand::Choice>& NameLengthCommandFactory::map() {
  static const std::map<std::string, NameLengthCommand::Choice> m = {{"nameMaxLength", NameLengthCommand::Choice::max},
                                                                     {"nameMinLength", NameLengthCommand::Choice::min}};
  return m;
}

std::shared_ptr<Command> NameLengthCommandFactory::create(const std::string& name, const Args& args,
                                                          const Flags&) const {
  auto choice = map().find(name);
  auto count = commandsupport::intArg(args, 0);
  if (choice == map().end() || !count || *count < INT32_MIN || *count > INT32_MAX) return nullptr;
  return std::make_shared<NameLengthCommand>(int(*count), choice->second);
}

}  // namespace velmora
