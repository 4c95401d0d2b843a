#include "query/commands/WildcardWords.h"

#include "query/NameMatching.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

WildcardWords::WildcardWords(std::vector<SentenceComponent> given) : words(std::move(given)) {
  for (const auto& w : words) {
    if (w.wildcard == SentenceComponent::Wildcard::prefix) prefixes.push_back(w.textLowered);
    if (w.wildcard == SentenceComponent::Wildcard::suffix) suffixes.push_back(w.textLowered);
  }
}

CommandApplyResult WildcardWords::checkWildCardsFor(std::string_view name) const {
  std::vector<std::string> pieces;
  for (std::size_t start = 0; start <= name.size();) {
    std::size_t blank = name.find(' ', start);
    if (blank == std::string_view::npos) blank = name.size();
    if (blank > start) pieces.push_back(TextCase::plainLowercase(name.substr(start, blank - start)));
    start = blank + 1;
  }
  // A single wildcard word speaks for the whole name; several only for its pieces.
  if (prefixes.size() == 1 && !name.starts_with(prefixes.front())) return CommandApplyResult::exclude;
  if (suffixes.size() == 1 && !name.ends_with(suffixes.front())) return CommandApplyResult::exclude;
  for (const auto& prefix : prefixes)
    for (const auto& piece : pieces)
      if (piece.find(prefix) != std::string::npos && !piece.starts_with(prefix)) return CommandApplyResult::exclude;
  for (const auto& suffix : suffixes)
    for (const auto& piece : pieces)
      if (piece.find(suffix) != std::string::npos && !piece.ends_with(suffix)) return CommandApplyResult::exclude;
  return CommandApplyResult::accept;
}

CommandApplyResult WildcardWords::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                  const QueryContainer&) {
  return checkWildCardsFor(TextCase::localizedLowercase(PathText::lastPathComponent(result.path)));
}

std::shared_ptr<Command> WildcardWords::copy() const { return std::make_shared<WildcardWords>(words); }

std::string WildcardWords::debugDescription() const {
  std::string text = "<WildcardWords";
  for (const auto& p : prefixes) text += " " + p + "*";
  for (const auto& s : suffixes) text += " *" + s;
  return text + ">";
}

}  // namespace velmora
