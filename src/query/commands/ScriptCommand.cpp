#include "query/commands/ScriptCommand.h"

#include <algorithm>
#include <system_error>

#include "common/AppDirectories.h"
#include "query/commands/CommandSupport.h"
#include "common/TextCase.h"

namespace velmora {

std::vector<std::pair<std::string, std::filesystem::path>> ScriptCommandFactory::scripts(
    const std::filesystem::path& folder) {
  std::vector<std::pair<std::string, std::filesystem::path>> found;
  std::error_code error;
  for (std::filesystem::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const std::string file = it->path().filename().string();
    if (file.empty() || file.front() == '.') continue;
    if (!it->is_regular_file(error)) continue;
    found.emplace_back(TextCase::plainLowercase(it->path().stem().string()), it->path());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::optional<VariableParserResult> ScriptCommandFactory::scriptName(std::span<const SentenceComponent> words,
                                                                     const std::filesystem::path& folder) {
  if (words.empty()) return std::nullopt;
  auto all = scripts(folder);
  std::optional<VariableParserResult> best;
  std::string name;
  for (std::size_t i = 0; i < words.size() && i < 8; ++i) {
    if (i) name += ' ';
    name += words[i].textLowered;
    for (const auto& [scriptName, path] : all)
      if (scriptName == name)
        best = VariableParserResult{ScriptCommand::TargetType{ScriptCommand::TargetType::Kind::appleScript, path.string()},
                                    int(i) + 1};
  }
  return best;
}

std::optional<VariableParserResult> ScriptCommandFactory::scriptName(std::span<const SentenceComponent> words) {
  return scriptName(words, AppDirectories::applicationScriptsDirectory());
}

std::optional<std::string> ScriptCommandFactory::scriptNameCompletor(const std::vector<SentenceComponent>& words) {
  if (words.empty()) return std::nullopt;
  for (const auto& [name, path] : scripts(AppDirectories::applicationScriptsDirectory()))
    if (name.starts_with(words.front().textLowered)) return name;
  return std::nullopt;
}

std::shared_ptr<Command> ScriptCommandFactory::create(const std::string& name, const Args& args, const Flags&) const {
  if (name != "scriptCommand") return nullptr;
  auto type = commandsupport::arg<ScriptCommand::TargetType>(args, 0);
  if (!type) return nullptr;
  std::vector<SentenceComponent> rest;
  if (auto words = commandsupport::arg<std::vector<SentenceComponent>>(args, 1)) rest = *words;
  return std::make_shared<ScriptCommand>(*type, rest);
}

}  // namespace velmora
