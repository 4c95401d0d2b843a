#include "query/commands/KnownDirectoriesCommand.h"

#include "query/commands/CommandSupport.h"
#include "stores/FavoriteFolders.h"
#include "stores/PreferenceStore.h"

namespace velmora {

std::map<std::string, std::string> KnownDirectoriesFactory::rememberedFolders() {
  std::map<std::string, std::string> folders;
  // Read from the store itself rather than FavoriteFolders::shared(), whose
  // map belongs to the main thread: queries are parsed on any thread.
  nlohmann::json stored = PreferenceStore::shared().objectForKey(FavoriteFolders::defaultsKey);
  if (!stored.is_object()) return folders;
  for (const auto& [name, path] : stored.items())
    if (path.is_string()) folders[name] = path.get<std::string>();
  return folders;
}

std::optional<VariableParserResult> KnownDirectoriesFactory::rememberedVariable(
    const std::vector<SentenceComponent>& words) {
  if (words.empty()) return std::nullopt;
  for (const auto& [name, path] : rememberedFolders())
    if (plainLowercase(name) == words.front().textLowered) return VariableParserResult{path, 1};
  return std::nullopt;
}

std::optional<std::string> KnownDirectoriesFactory::rememberedCompletor(const std::vector<SentenceComponent>& words) {
  if (words.empty()) return std::nullopt;
  for (const auto& [name, path] : rememberedFolders())
    if (plainLowercase(name).starts_with(words.front().textLowered)) return plainLowercase(name);
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
