#pragma once
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "query/Command.h"
#include "query/QueryIgnoreList.h"
#include "query/QuerySearchArguments.h"
#include "query/QuerySettings.h"
#include "query/SentenceComponent.h"
#include "model/SearchLocation.h"

namespace velmora {

class LanguageParse;
class SearchDataSource;
class SearchDataSourceDelegate;
struct SearchResult;

// An RGBA colour, components from 0 to 1.
struct QueryColour {
  double red = 0, green = 0, blue = 0, alpha = 1;
  bool operator==(const QueryColour&) const = default;
};

// One colouring step of the query field: the range (in characters of
// baseString) takes the colour. Steps apply in order, later over earlier.
struct QueryStyleRun {
  int location = 0;
  int length = 0;
  QueryColour colour;
};

// The parsed form of one query: the words to look for, the commands, the
// data sources they bring, and the test a result must pass. Built once, then
// copied to every thread and never changed.
class QueryContainer {
 public:
  using IgnoreListMaker = std::function<std::shared_ptr<const QueryIgnoreList>()>;

  // The empty query.
  QueryContainer();
  QueryContainer(std::string_view text, std::optional<SearchLocation> whereLocation = std::nullopt,
                 bool soundex = false, const QuerySettings& settings = {});

  std::optional<SearchLocation> whereLocation;
  bool soundex = false;
  // From the settings' "showAppsFoundAnywhere".
  bool showAppsFromAnywhere = false;
  // What the name test needs to know of the commands, found once per query.
  bool isCaseSensitive = false;
  bool matchesWholeWords = false;
  // Some command reads the text inside files (the window says so).
  bool readsFileContents = false;
  // The text with each newline as one blank, and its lowercase.
  std::string baseString;
  std::string baseStringLowercase;
  std::vector<SentenceComponent> allWords;
  std::vector<std::string> searchWordStringsSoundexValues;
  // Words the command parser did not recognise.
  std::vector<SentenceComponent> searchWordParts;
  bool includesORStatement = false;
  std::vector<std::string> searchWords;
  std::vector<std::string> searchWordsOriginalCase;
  std::vector<std::vector<std::string>> orStringGroups;
  std::vector<std::vector<std::string>> orStringGroupsOriginalCase;
  std::vector<std::string> searchWordsHighlightStrings;
  // Command-area words that no template attempt recognised.
  std::vector<SentenceComponent> unusedCommandAreaWords;
  // Words of complete phrases whose command could not be made (a size too
  // large, a date that does not exist): shown as errors.
  std::vector<SentenceComponent> failedCommandAreaWords;
  // Command-area words that no finished command consumed.
  std::vector<SentenceComponent> invalidCommandAreaWords;
  std::vector<SentenceComponent> allRecoginsedParts;
  // Parsed commands, then the implicit NotIncludingWords and WildcardWords.
  std::vector<std::shared_ptr<Command>> commandsFoundInQuery;
  QuerySearchArguments querySearchArguments;
  // Null when no list maker is installed: nothing is ignored.
  std::shared_ptr<const QueryIgnoreList> ignoreList;
  // When set, stopping a search tells this command.
  std::shared_ptr<Command> currentCommandBeingApplied;

  // The language table, built once.
  static const LanguageParse& langauge();
  // How each query gets its fresh ignore list (installed at start-up).
  static void setIgnoreListMaker(IgnoreListMaker maker);

  // Each command's data sources, in command order.
  std::vector<std::shared_ptr<SearchDataSource>> suppliedDataSources() const;
  bool isWordBasedSearch() const;
  // The words end in an operator "OR": the name test or the commands.
  bool isORCommandSearch() const;

  // The first command whose dynamic type is exactly T (subclasses do not match).
  template <typename T>
  std::shared_ptr<T> findCommand() const {
    for (const auto& command : commandsFoundInQuery)
      if (command && typeid(*command) == typeid(T)) return std::static_pointer_cast<T>(command);
    return nullptr;
  }

  // The name test on a last path component.
  bool fsItemNameStringIncludesWordsFromQuery(std::string_view name) const;
  // The final test of a result; commands may fill in fields of it.
  bool searchResultPassesFiltering(SearchResult& searchResult, SearchDataSourceDelegate* feedback) const;
  bool pathIsInQueryLocation(const std::string& path) const;
  // Folder results for the folders in the result's path whose names hold a
  // search word; may hold duplicates.
  std::vector<SearchResult> expandMatchingItemsForSearchResult(const SearchResult& result) const;

  // The name split at blanks, punctuation and symbols, dropping empty pieces.
  static std::vector<std::string> wholeWordsFromFileName(std::string_view name);
  static bool isWholeWordsSplitCharacter(char32_t scalar);

  // The colouring of the query field (the font is the front-end's).
  static constexpr QueryColour kNormalColour{0, 0, 0, 1};
  static constexpr QueryColour kRecognisedColour{0.2549019607843137, 0.40784313725490196,
                                                 0.6666666666666666, 1};
  static constexpr QueryColour kErrorColour{0.9882352941176471, 0.29411764705882354,
                                            0.2784313725490196, 1};
  std::vector<QueryStyleRun> styleQueryString(bool showErrors) const;

  std::string debugDescription() const;

 private:
  void parseCommands(const QuerySettings& settings);
};

}  // namespace velmora
