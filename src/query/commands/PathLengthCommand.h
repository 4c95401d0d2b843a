#pragma once
#include <map>

#include "query/CommandFactory.h"
#include "query/commands/NameLengthCommand.h"

namespace velmora {

// Limits the length of the whole path in characters, strictly: "max path length
// 10" passes up to 9 characters, "min path length 10" from 11.
class PathLengthCommand : public Command {
 public:
  using Choice = NameLengthCommand::Choice;
  PathLengthCommand(int count, Choice choice) : count(count), choice(choice) {}

  int count;
  Choice choice;

  std::string commandToString() const override;
  std::string commandExample() const override;
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  std::shared_ptr<Command> copy() const override { return std::make_shared<PathLengthCommand>(count, choice); }
};

class PathLengthCommandFactory : public CommandFactory {
 public:
  static const std::map<std::string, PathLengthCommand::Choice>& map();
  std::vector<std::string> commandNames() const override { return {"pathMaxLength", "pathMinLength"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
