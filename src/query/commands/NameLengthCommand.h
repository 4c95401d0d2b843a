#pragma once
#include <map>

#include "query/CommandFactory.h"

namespace velmora {

// Limits the length of the name in characters, strictly: "max name length
// 10" passes up to 9 characters, "min name length 10" from 11.
class NameLengthCommand : public Command {
 public:
  enum class Choice { min, max };
  NameLengthCommand(int count, Choice choice) : count(count), choice(choice) {}

  int count;
  Choice choice;

  std::string commandToString() const override;
  std::string commandExample() const override;
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  std::shared_ptr<Command> copy() const override { return std::make_shared<NameLengthCommand>(count, choice); }

  // The rule both length commands share.
  static CommandApplyResult apply(std::size_t length, int count, Choice choice);
};

class NameLengthCommandFactory : public CommandFactory {
 public:
  static const std::map<std::string, NameLengthCommand::Choice>& map();
  std::vector<std::string> commandNames() const override { return {"nameMaxLength", "nameMinLength"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
