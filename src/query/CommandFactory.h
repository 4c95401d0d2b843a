#pragma once
#include <any>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "query/Command.h"

namespace velmora {

// Makes the commands of one family from what the parser matched: the command
// name of the template, the values of its variables in order, and the
// template's flags.
class CommandFactory {
 public:
  using Args = std::vector<std::any>;
  using Flags = std::map<std::string, std::string>;

  virtual ~CommandFactory() = default;
  virtual std::vector<std::string> commandNames() const = 0;
  // Nothing when the arguments do not make a command.
  virtual std::shared_ptr<Command> create(const std::string& commandName, const Args& args,
                                          const Flags& flags) const = 0;

  // Exact, case-sensitive.
  bool implementsCommand(std::string_view name) const;
};

}  // namespace velmora
