#pragma once
#include <string>
#include <vector>

#include "query/Command.h"

namespace velmora {

// The words typed with a leading "-": a name holding any of them is left out.
class NotIncludingWords final : public Command {
 public:
  // Each word as typed; one leading "-" is dropped for matching.
  explicit NotIncludingWords(std::vector<std::string> words);

  std::vector<std::string> words;
  std::vector<std::string> rawWords;

  std::string commandToString() const override { return {}; }
  std::string commandExample() const override { return {}; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate* feedback,
                                     const QueryContainer& query) override;
  bool commandIsOnlyAFilter() const override { return true; }
  std::shared_ptr<Command> copy() const override;
  std::string debugDescription() const override;
};

}  // namespace velmora
