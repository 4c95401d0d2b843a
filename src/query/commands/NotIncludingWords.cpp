#include "query/commands/NotIncludingWords.h"

#include "query/NameMatching.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

NotIncludingWords::NotIncludingWords(std::vector<std::string> given) : rawWords(std::move(given)) {
  words.reserve(rawWords.size());
  for (const auto& w : rawWords) words.push_back(w.starts_with('-') ? w.substr(1) : w);
}

CommandApplyResult NotIncludingWords::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                      const QueryContainer&) {
  std::string name = TextCase::localizedLowercase(PathText::lastPathComponent(result.path));
  for (const auto& w : words)
    if (name.find(w) != std::string::npos) return CommandApplyResult::exclude;
  return CommandApplyResult::accept;
}

std::shared_ptr<Command> NotIncludingWords::copy() const {
  auto c = std::make_shared<NotIncludingWords>(rawWords);
  return c;
}

std::string NotIncludingWords::debugDescription() const {
  std::string text = "<NotIncludingWords";
  for (const auto& w : words) text += " -" + w;
  return text + ">";
}

}  // namespace velmora
