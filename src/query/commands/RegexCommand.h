#pragma once
#include <memory>
#include <string>

#include "query/CommandFactory.h"

#include <unicode/uversion.h>

U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

namespace velmora {

// Names (lowercased) must hold a match of a regular expression, compared
// case-insensitively with Unicode word boundaries.
class RegexCommand : public Command {
 public:
  explicit RegexCommand(std::string regex);

  // Whether the text compiles with the options the command uses.
  static bool compiles(const std::string& pattern);

  const std::string& regex() const { return regex_; }
  bool hasMatcher() const { return matcher_ != nullptr; }

  std::string commandToString() const override { return "regex " + regex_; }
  std::string commandExample() const override { return "regex **" + regex_ + "**"; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  std::shared_ptr<Command> copy() const override;

 private:
  RegexCommand() = default;
  std::string regex_;
  // Compiled once; a pattern is safe to share, each match makes its own matcher.
  std::shared_ptr<const icu::RegexPattern> matcher_;
};

class RegexCommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"regex"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
