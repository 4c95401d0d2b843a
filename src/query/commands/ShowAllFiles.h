#pragma once
#include <typeinfo>

#include "query/CommandFactory.h"

namespace velmora {

// Lists everything in the location: with no words it still starts the
// standard searches, which then match every name.
class ShowAllFiles : public Command {
 public:
  std::string commandToString() const override { return "show all files"; }
  std::string commandExample() const override { return "show all files"; }
  CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*, const QueryContainer&) override {
    return CommandApplyResult::accept;
  }
  bool isTemplateEqualTo(const Command& other) const override { return typeid(other) == typeid(ShowAllFiles); }
  std::shared_ptr<Command> copy() const override { return std::make_shared<ShowAllFiles>(); }
};

class ShowAllFilesFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"showAllFiles"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args&, const Flags&) const override {
    return name == "showAllFiles" ? std::make_shared<ShowAllFiles>() : nullptr;
  }
};

}  // namespace velmora
