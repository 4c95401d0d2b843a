#pragma once
#include "query/CommandFactory.h"

namespace velmora {

// "inside work" keeps items whose folder path holds "work"; with the name in
// quotes ("inside \"work\"") one folder must be named exactly so.
class InsideCommand : public Command {
 public:
  InsideCommand(std::string insidePath, bool completePathComponent)
      : insidePath(std::move(insidePath)), completePathComponent(completePathComponent) {}

  std::string insidePath;
  bool completePathComponent = false;

  std::string commandToString() const override { return "inside " + insidePath; }
  std::string commandExample() const override { return "inside **folder**"; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  std::shared_ptr<Command> copy() const override {
    return std::make_shared<InsideCommand>(insidePath, completePathComponent);
  }
};

class InsideCommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"inside"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
