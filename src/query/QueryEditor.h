#pragma once
#include <memory>
#include <string>
#include <vector>

#include "query/Command.h"

namespace velmora {

// Rewrites a query's text when the user interface adds or removes a command:
// the word area stays as typed, the command area is written anew.
class QueryEditor {
 public:
  explicit QueryEditor(std::string query) : query(std::move(query)) {}

  std::string query;

  // Text before the first ":", trimmed of blanks and tabs; all of it without one.
  std::string preCommandsQueryPortion() const;
  // Replaces every command of the same type by `command`.
  std::string insert(const std::shared_ptr<Command>& command, bool useExample) const;
  // Removes the commands of the same type that the command stands for.
  std::string remove(const Command& command) const;

  // ": " and the commands joined by blanks (empty for none); a command of the
  // example's type writes its example.
  static std::string commandsString(const std::vector<std::shared_ptr<Command>>& commands,
                                    const Command* example = nullptr);
};

}  // namespace velmora
