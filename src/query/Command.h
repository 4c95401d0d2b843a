#pragma once
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "query/CommandApplyResult.h"
#include "query/QuerySearchArguments.h"
#include "query/SentenceComponent.h"

namespace velmora {

class QueryContainer;
class SearchDataSource;
class SearchDataSourceDelegate;
struct SearchResult;

// One command of the query language ("modified today", "is audio", ...).
// Commands are made by their factories when the parser recognises them, live
// in their QueryContainer, and are only ever applied through copy(), so that
// what a command keeps from parsing is never touched by a running search.
class Command {
 public:
  virtual ~Command() = default;

  // The words the parser took for this command; set after the factory made it.
  const std::vector<SentenceComponent>& commandConsumedParts() const { return consumedParts_; }
  void setCommandConsumedParts(std::vector<SentenceComponent> parts) { consumedParts_ = std::move(parts); }

  // The command as text for people (lists, explanations).
  virtual std::string commandToString() const = 0;
  // The command as query text that parses back to an equal command, as the
  // query editor writes it: the words it was made from, else
  // commandToString() (a command made by the user interface).
  std::string commandToQueryText() const;
  // The text inserted when the command is offered as an example.
  virtual std::string commandExample() const = 0;
  // Tests one result, and may fill in fields of it (summary lines, ranks).
  virtual CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate* feedback,
                                             const QueryContainer& query) = 0;
  // Once per command when a search begins, and when a running one is stopped.
  virtual void commandsStarting() {}
  virtual void commandStop() {}
  // Words added to the query's search words and highlight strings.
  virtual std::vector<std::string> commandImpExtraSearchStrings() const { return {}; }
  virtual std::vector<std::string> commandExtraHighlightStrings() const { return {}; }
  // Lets the command narrow what data sources enumerate.
  virtual void commandImpQuerySearchArguments(QuerySearchArguments& /*arguments*/) const {}
  // True: the standard word-based sources do not run for this query.
  virtual bool commandStopsWordBasedSearches() const { return false; }
  // True: the command reads the text inside files (content search).
  virtual bool commandReadsFileContents() const { return false; }
  // True: the command only narrows results and is no reason to search.
  virtual bool commandIsOnlyAFilter() const { return false; }
  // Data sources this command brings along.
  virtual std::vector<std::shared_ptr<SearchDataSource>> suppliedDataSources() const { return {}; }
  // The same command, for the editor. Commands without arguments answer true
  // for any command of their own type.
  virtual bool isTemplateEqualTo(const Command& /*realCmd*/) const { return false; }
  // A fresh instance for filtering; a stateless command gives a new empty one.
  virtual std::shared_ptr<Command> copy() const = 0;

  // The class name without namespace ("DateCommand"); the dynamic type.
  std::string typeName() const;
  // By default the type name and the command text.
  virtual std::string debugDescription() const;

 private:
  std::vector<SentenceComponent> consumedParts_;
};

using CommandPtr = std::shared_ptr<Command>;

}  // namespace velmora
