#pragma once
#include "query/CommandFactory.h"

namespace velmora {

// ".pdf" keeps items with that extension (and searches for it as a word);
// "not .pdf" drops them. Items without any extension are left to the rest
// of the query.
class ExtensionCommand : public Command {
 public:
  ExtensionCommand(std::string extension, bool notExtension);

  std::string wantedFileNameExtension;
  bool not_ = false;

  std::string commandToString() const override;
  std::string commandExample() const override;
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  std::vector<std::string> commandImpExtraSearchStrings() const override;
  std::vector<std::string> commandExtraHighlightStrings() const override;
  bool isTemplateEqualTo(const Command& other) const override;
  std::shared_ptr<Command> copy() const override {
    return std::make_shared<ExtensionCommand>(wantedFileNameExtension, not_);
  }
};

class ExtensionCommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"extension", "extensionNot"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
