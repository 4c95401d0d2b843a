#pragma once
#include <memory>
#include <string>
#include <vector>

#include "query/Command.h"
#include "query/QuerySettings.h"

namespace velmora {

// Rewrites a query's text when the user interface adds or removes a command:
// the word area stays as typed, the command area is written anew.
class QueryEditor {
 public:
  explicit QueryEditor(std::string query, QuerySettings settings = {})
      : query(std::move(query)), settings(std::move(settings)) {}

  std::string query;
  QuerySettings settings;

  // Text before the first ":", trimmed of blanks and tabs; all of it without one.
  std::string preCommandsQueryPortion() const;
  // Replaces every command of the same type by `command`.
  std::string insert(const std::shared_ptr<Command>& command, bool useExample) const;
  // Removes the commands of the same type that the command stands for.
  std::string remove(const Command& command) const;

  // ": " and the commands' query texts joined by blanks (empty for none); a
  // command of the example's type writes its example.
  static std::string commandsString(const std::vector<std::shared_ptr<Command>>& commands,
                                    const Command* example = nullptr);
};

}  // namespace velmora
