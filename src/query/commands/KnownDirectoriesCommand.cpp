#include "query/commands/KnownDirectoriesCommand.h"

#include "query/commands/CommandSupport.h"
#include "query/QuerySettings.h"
#include "stores/PreferenceStore.h"
#include "common/TextCase.h"

namespace velmora {

std::optional<VariableParserResult> KnownDirectoriesFactory::rememberedVariable(
    std::span<const SentenceComponent> words, const std::map<std::string, std::string>& folders) {
  if (words.empty()) return std::nullopt;
  for (const auto& [name, path] : folders)
    if (TextCase::plainLowercase(name) == words.front().textLowered) return VariableParserResult{path, 1};
  return std::nullopt;
}

std::optional<std::string> KnownDirectoriesFactory::rememberedCompletor(std::span<const SentenceComponent> words) {
  if (words.empty()) return std::nullopt;
  for (const auto& [name, path] : QuerySettings::fromPreferences(PreferenceStore::shared()).rememberedFolders)
    if (TextCase::plainLowercase(name).starts_with(words.front().textLowered)) return TextCase::plainLowercase(name);
  return std::nullopt;
}

std::shared_ptr<Command> KnownDirectoriesFactory::create(const std::string& name, const Args& args,
                                                         const Flags&) const {
  auto directory = commandsupport::textArg(args, 0);
  if (!directory) return nullptr;
  if (name == "remembered") return std::make_shared<KnownDirectoriesCommand>(*directory, false);
  if (name == "rememberedShallow") return std::make_shared<KnownDirectoriesCommand>(*directory, true);
  return nullptr;
}

}  // namespace velmora
