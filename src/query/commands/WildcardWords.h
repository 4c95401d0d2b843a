#pragma once
#include <string>
#include <string_view>
#include <vector>

#include "query/Command.h"
#include "query/SentenceComponent.h"

namespace velmora {

// Words typed as "word*" (the name begins with it) or "*word" (ends with it).
class WildcardWords final : public Command {
 public:
  explicit WildcardWords(std::vector<SentenceComponent> words);

  std::vector<SentenceComponent> words;
  std::vector<std::string> prefixes;
  std::vector<std::string> suffixes;

  // The rules on a name that is already lowercase.
  CommandApplyResult checkWildCardsFor(std::string_view name) const;

  std::string commandToString() const override { return {}; }
  std::string commandExample() const override { return {}; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate* feedback,
                                     const QueryContainer& query) override;
  bool commandIsOnlyAFilter() const override { return true; }
  std::shared_ptr<Command> copy() const override;
  std::string debugDescription() const override;
};

}  // namespace velmora
