#pragma once
#include <span>
#include <filesystem>
#include <optional>
#include <string>
#include <typeinfo>
#include <variant>
#include <vector>

#include "query/CommandFactory.h"
#include "query/LanguageParse.h"

namespace velmora {

// "run NAME [words]": picks a script of the user's scripts folder to run on
// the selected results. The query window runs it instead of searching.
class ScriptCommand : public Command {
 public:
  // A script file, or a shortcut known by name.
  struct TargetType {
    enum class Kind { appleScript, shortcut };
    Kind kind = Kind::appleScript;
    std::string value;  // the script's path, or the shortcut's name
    bool operator==(const TargetType&) const = default;
  };

  ScriptCommand(TargetType type, std::vector<SentenceComponent> varArg)
      : type(std::move(type)), varArg(std::move(varArg)) {}

  TargetType type;
  std::vector<SentenceComponent> varArg;

  std::string commandToString() const override { return {}; }
  std::string commandExample() const override { return {}; }
  CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*, const QueryContainer&) override {
    return CommandApplyResult::accept;
  }
  bool commandStopsWordBasedSearches() const override { return true; }
  bool isTemplateEqualTo(const Command& other) const override { return typeid(other) == typeid(ScriptCommand); }
  std::shared_ptr<Command> copy() const override { return std::make_shared<ScriptCommand>(type, varArg); }
};

class ScriptCommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"scriptCommand"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;

  // The scripts of a folder by name (file name without extension), sorted.
  static std::vector<std::pair<std::string, std::filesystem::path>> scripts(const std::filesystem::path& folder);
  // The "~scriptName" variable over the user's scripts folder: the longest
  // run of words that names a script (case-insensitive).
  static std::optional<VariableParserResult> scriptName(std::span<const SentenceComponent> words);
  static std::optional<VariableParserResult> scriptName(std::span<const SentenceComponent> words,
                                                        const std::filesystem::path& folder);
  static std::optional<std::string> scriptNameCompletor(const std::vector<SentenceComponent>& words);
};

}  // namespace velmora
