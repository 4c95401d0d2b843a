#pragma once
#include <typeinfo>

#include "query/CommandFactory.h"

namespace velmora {

// "excluding folder \"build\"" drops items whose folder path holds the text.
class ExcludeFolderCommand : public Command {
 public:
  // One leading "-" of the path is dropped.
  ExcludeFolderCommand(std::string insidePath, bool completePathComponent);

  std::string insidePath;
  bool completePathComponent = false;

  std::string commandToString() const override { return "excluding folder \"" + insidePath + "\""; }
  std::string commandExample() const override { return "excluding folder \"**folder**\""; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  bool isTemplateEqualTo(const Command& other) const override {
    return typeid(other) == typeid(ExcludeFolderCommand);
  }
  std::shared_ptr<Command> copy() const override {
    return std::make_shared<ExcludeFolderCommand>(insidePath, completePathComponent);
  }
};

class ExcludeFolderFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"excludingFolder"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
