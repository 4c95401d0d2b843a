#pragma once
#include <typeinfo>

#include "query/CommandFactory.h"

namespace velmora {

// Matches search words only against whole words of a name ("cat" finds
// "my cat.jpg", not "catalog.pdf"). The name test does the work; the command
// is a marker it looks for.
class WholeWords : public Command {
 public:
  std::string commandToString() const override { return "whole words"; }
  std::string commandExample() const override { return "whole words"; }
  CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*, const QueryContainer&) override {
    return CommandApplyResult::accept;
  }
  bool isTemplateEqualTo(const Command& other) const override { return typeid(other) == typeid(WholeWords); }
  std::shared_ptr<Command> copy() const override { return std::make_shared<WholeWords>(); }
};

class WholeWordsFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"wholeWords"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args&, const Flags&) const override {
    return name == "wholeWords" ? std::make_shared<WholeWords>() : nullptr;
  }
};

}  // namespace velmora
