#include "query/LanguageParse.h"

namespace velmora {

// The sentence templates and the factories they name are not loaded here
// yet: without templates no word of a command area is recognised, and
// queries work by their words alone.

LanguageParse::LanguageParse() = default;

const std::vector<std::shared_ptr<CommandFactory>>& LanguageParse::factories() {
  static const std::vector<std::shared_ptr<CommandFactory>> table;
  return table;
}

std::shared_ptr<CommandFactory> LanguageParse::findFactory(std::string_view commandName) {
  for (const auto& factory : factories())
    if (factory->implementsCommand(commandName)) return factory;
  return nullptr;
}

CommandRecogniserResult LanguageParse::doesMatch(const std::vector<SentenceComponent>& /*inputWords*/) const {
  return {};
}

std::optional<CommandRecogniserResult> LanguageParse::allMatches(const std::vector<SentenceComponent>& inputWords) const {
  CommandRecogniserResult all;
  std::vector<SentenceComponent> remaining = inputWords;
  while (!remaining.empty()) {
    SentenceComponent first = remaining.front();
    CommandRecogniserResult found = doesMatch(remaining);
    all.commands.insert(all.commands.end(), found.commands.begin(), found.commands.end());
    all.recognisedParts.insert(all.recognisedParts.end(), found.recognisedParts.begin(), found.recognisedParts.end());
    std::erase_if(remaining, [&](const SentenceComponent& w) { return containsComponent(found.recognisedParts, w); });
    if (!containsComponent(found.recognisedParts, first)) {
      auto it = std::find(remaining.begin(), remaining.end(), first);
      if (it != remaining.end()) remaining.erase(it);
    }
  }
  return all;
}

}  // namespace velmora
