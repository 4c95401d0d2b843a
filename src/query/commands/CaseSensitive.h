#pragma once
#include <typeinfo>

#include "query/CommandFactory.h"

namespace velmora {

// Names are compared in the user's case. Only narrows: a query of this
// command alone starts no search.
class CaseSensitive : public Command {
 public:
  std::string commandToString() const override { return "case sensitive"; }
  std::string commandExample() const override { return "case sensitive"; }
  CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*, const QueryContainer&) override {
    return CommandApplyResult::accept;
  }
  bool commandIsOnlyAFilter() const override { return true; }
  bool isTemplateEqualTo(const Command& other) const override { return typeid(other) == typeid(CaseSensitive); }
  std::shared_ptr<Command> copy() const override { return std::make_shared<CaseSensitive>(); }
};

class CaseSensitiveFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"caseSensitive"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args&, const Flags&) const override {
    return name == "caseSensitive" ? std::make_shared<CaseSensitive>() : nullptr;
  }
};

}  // namespace velmora
