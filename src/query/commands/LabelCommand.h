#pragma once
#include <optional>

#include "query/CommandFactory.h"

namespace velmora {

// "tag red" keeps items whose tags hold the name; "not tag red" drops them.
// Tags are the freedesktop extended attribute "user.xdg.tags" (comma-separated).
class LabelCommand : public Command {
 public:
  LabelCommand(std::string labelName, bool notTag);

  std::string labelName;
  bool notTag = false;

  static constexpr const char* kTagsAttribute = "user.xdg.tags";
  // Nothing when the item has no tag attribute at all.
  static std::optional<std::vector<std::string>> tagNames(const std::string& path);

  std::string commandToString() const override { return (notTag ? "not tag " : "tag ") + labelName; }
  std::string commandExample() const override { return (notTag ? "not tag **" : "tag **") + labelName + "**"; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  std::shared_ptr<Command> copy() const override { return std::make_shared<LabelCommand>(labelName, notTag); }
};

class LabelCommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"label", "labelExcluding"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
