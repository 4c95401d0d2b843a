#pragma once
#include <span>
#include <map>
#include <optional>
#include <string>

#include "query/CommandFactory.h"
#include "query/LanguageParse.h"

namespace velmora {

// "downloads", "in documents": lists one of the user's remembered folders
// (deep, or one level when shallow) instead of searching. Its listing comes
// from KnownDirectoriesSearch.
class KnownDirectoriesCommand : public Command {
 public:
  KnownDirectoriesCommand(std::optional<std::string> directory, bool shallow)
      : directory(std::move(directory)), shallow(shallow) {}

  std::optional<std::string> directory;
  bool shallow = false;

  std::string commandToString() const override { return {}; }
  std::string commandExample() const override { return {}; }
  CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*, const QueryContainer&) override {
    return CommandApplyResult::accept;
  }
  void commandImpQuerySearchArguments(QuerySearchArguments& arguments) const override {
    arguments.checkPathForResults = false;
  }
  bool commandStopsWordBasedSearches() const override { return true; }
  std::shared_ptr<Command> copy() const override { return std::make_shared<KnownDirectoriesCommand>(directory, shallow); }
};

class KnownDirectoriesFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"remembered", "rememberedShallow"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;

  // The "~remembered" variable: the folder path stored under the word.
  static std::optional<VariableParserResult> rememberedVariable(std::span<const SentenceComponent> words,
                                                                const std::map<std::string, std::string>& folders);
  // Completes a remembered name from the folders the preferences hold now.
  static std::optional<std::string> rememberedCompletor(std::span<const SentenceComponent> words);
};

}  // namespace velmora
