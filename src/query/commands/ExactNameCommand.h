#pragma once
#include <typeinfo>

#include "query/CommandFactory.h"

namespace velmora {

// The whole name, extension included, must equal the search words joined by
// blanks (or one "OR" group of them), ignoring case.
class ExactNameCommand : public Command {
 public:
  std::string commandToString() const override { return "exact"; }
  std::string commandExample() const override { return "exact"; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                     const QueryContainer& query) override;
  bool isTemplateEqualTo(const Command& other) const override { return typeid(other) == typeid(ExactNameCommand); }
  std::shared_ptr<Command> copy() const override { return std::make_shared<ExactNameCommand>(); }
};

class ExactNameCommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"exact"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args&, const Flags&) const override {
    return name == "exact" ? std::make_shared<ExactNameCommand>() : nullptr;
  }
};

}  // namespace velmora
