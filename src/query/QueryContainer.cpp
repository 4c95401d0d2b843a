#include "query/QueryContainer.h"

#include <unicode/uchar.h>

#include <algorithm>
#include <mutex>
#include <span>
#include <unordered_map>

#include "query/LanguageParse.h"
#include "query/NameMatching.h"
#include "query/Soundex.h"
#include "query/TextCharacters.h"
#include "query/commands/CaseSensitive.h"
#include "query/commands/NotIncludingWords.h"
#include "query/commands/WholeWords.h"
#include "query/commands/WildcardWords.h"
#include "model/SearchDataSource.h"
#include "model/SearchResult.h"
#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora {

namespace {

std::mutex& makerMutex() {
  static std::mutex m;
  return m;
}
QueryContainer::IgnoreListMaker& ignoreListMaker() {
  static QueryContainer::IgnoreListMaker maker;
  return maker;
}

std::shared_ptr<const QueryIgnoreList> freshIgnoreList() {
  QueryContainer::IgnoreListMaker maker;
  {
    std::lock_guard guard(makerMutex());
    maker = ignoreListMaker();
  }
  return maker ? maker() : nullptr;
}

// A pasted page after a colon has tens of thousands of words: look-ups
// go through a hash set, never a scan.
std::vector<SentenceComponent> without(std::span<const SentenceComponent> words,
                                       const std::vector<SentenceComponent>& leaveOut) {
  // Words of one query differ in their positions.
  std::unordered_map<int, const SentenceComponent*> out;
  out.reserve(leaveOut.size());
  for (const auto& w : leaveOut) out.emplace(w.position.lowerBound, &w);
  std::vector<SentenceComponent> kept;
  for (const auto& w : words) {
    auto found = out.find(w.position.lowerBound);
    if (found == out.end() || !(*found->second == w)) kept.push_back(w);
  }
  return kept;
}

// The operator "OR": capitals, typed bare in the word area.
bool isOperatorOR(const SentenceComponent& w) {
  return w.textOriginalCase == "OR" && !w.wasInQuotes && !w.isAfterAColon;
}

bool contains(std::string_view haystack, std::string_view needle) {
  return haystack.find(needle) != std::string_view::npos;
}

}  // namespace

const LanguageParse& QueryContainer::langauge() {
  static const LanguageParse table;
  return table;
}

void QueryContainer::setIgnoreListMaker(IgnoreListMaker maker) {
  std::lock_guard guard(makerMutex());
  ignoreListMaker() = std::move(maker);
}

QueryContainer::QueryContainer() : ignoreList(freshIgnoreList()) {}

QueryContainer::QueryContainer(std::string_view text, std::optional<SearchLocation> location, bool useSoundex,
                               const QuerySettings& settings)
    : whereLocation(std::move(location)), soundex(useSoundex) {
  showAppsFromAnywhere = settings.showAppsFoundAnywhere;
  baseString.reserve(text.size());
  for (char c : text) baseString.push_back(c == '\n' ? ' ' : c);
  baseStringLowercase = TextCase::plainLowercase(baseString);
  ignoreList = freshIgnoreList();

  allWords = SentenceComponent::parseWords(baseString);
  parseCommands(settings);

  auto areaStart = std::find_if(allWords.begin(), allWords.end(), [](auto& w) { return w.isAfterAColon; });
  const std::span<const SentenceComponent> commandArea(areaStart, allWords.end());
  unusedCommandAreaWords = without(commandArea, allRecoginsedParts);

  std::vector<SentenceComponent> consumed;
  for (const auto& command : commandsFoundInQuery)
    for (const auto& part : command->commandConsumedParts()) consumed.push_back(part);
  invalidCommandAreaWords = without(commandArea, consumed);

  searchWordParts = without(allWords, allRecoginsedParts);

  std::vector<std::string> negative;
  std::vector<SentenceComponent> positive;
  for (const auto& w : searchWordParts) {
    if (w.isAfterAColon) continue;
    if (w.textLowered.starts_with('-') && !w.wasInQuotes)
      negative.push_back(w.textLowered);
    else
      positive.push_back(w);
  }
  if (!negative.empty()) commandsFoundInQuery.push_back(std::make_shared<NotIncludingWords>(negative));

  std::vector<SentenceComponent> wildcards;
  for (const auto& w : positive)
    if (w.wildcard != SentenceComponent::Wildcard::none) wildcards.push_back(w);
  if (!wildcards.empty()) commandsFoundInQuery.push_back(std::make_shared<WildcardWords>(wildcards));

  for (const auto& w : positive) {
    if (isOperatorOR(w)) {
      includesORStatement = true;
      continue;
    }
    searchWords.push_back(w.textLowered);
    searchWordsOriginalCase.push_back(w.textOriginalCase);
  }

  if (includesORStatement) {
    std::vector<std::string> group;
    auto close = [&] {
      if (group.empty()) return;
      std::vector<std::string> lowered;
      for (const auto& g : group) lowered.push_back(TextCase::plainLowercase(g));
      orStringGroupsOriginalCase.push_back(std::move(group));
      orStringGroups.push_back(std::move(lowered));
      group.clear();
    };
    for (const auto& w : positive) {
      if (w.isAfterAColon) continue;
      if (isOperatorOR(w))
        close();
      else
        group.push_back(w.textOriginalCase);
    }
    close();
  }

  isCaseSensitive = findCommand<CaseSensitive>() != nullptr;
  matchesWholeWords = findCommand<WholeWords>() != nullptr;
  readsFileContents = std::any_of(commandsFoundInQuery.begin(), commandsFoundInQuery.end(),
                                  [](const auto& command) { return command->commandReadsFileContents(); });
  searchWordsHighlightStrings = isCaseSensitive ? searchWordsOriginalCase : searchWords;
  for (const auto& command : commandsFoundInQuery) {
    for (auto& extra : command->commandImpExtraSearchStrings()) searchWords.push_back(std::move(extra));
    for (auto& extra : command->commandExtraHighlightStrings())
      searchWordsHighlightStrings.push_back(std::move(extra));
  }

  for (const auto& command : commandsFoundInQuery) command->commandImpQuerySearchArguments(querySearchArguments);
  if (!querySearchArguments.word && !searchWords.empty()) querySearchArguments.word = searchWords.front();

  for (const auto& word : searchWords) searchWordStringsSoundexValues.push_back(Soundex::value(word));
}

void QueryContainer::parseCommands(const QuerySettings& settings) {
  // Every word from the first colon on is after it: the command area is the
  // tail of the words.
  auto areaStart = std::find_if(allWords.begin(), allWords.end(), [](auto& w) { return w.isAfterAColon; });
  const std::span<const SentenceComponent> commandWords(areaStart, allWords.end());
  if (commandWords.empty()) return;
  auto found = langauge().allMatches(commandWords, settings);
  if (!found) return;
  commandsFoundInQuery = found->commands;
  // Each word is recognised at most once: the parse moves past what it took.
  allRecoginsedParts = found->recognisedParts;
  failedCommandAreaWords = found->failedParts;
}

std::vector<std::shared_ptr<SearchDataSource>> QueryContainer::suppliedDataSources() const {
  std::vector<std::shared_ptr<SearchDataSource>> sources;
  for (const auto& command : commandsFoundInQuery) {
    auto supplied = command->suppliedDataSources();
    sources.insert(sources.end(), supplied.begin(), supplied.end());
  }
  return sources;
}

bool QueryContainer::isWordBasedSearch() const {
  for (const auto& command : commandsFoundInQuery)
    if (command->commandStopsWordBasedSearches()) return false;
  for (const auto& command : commandsFoundInQuery)
    if (!command->commandIsOnlyAFilter()) return true;
  return !searchWords.empty();
}

bool QueryContainer::isORCommandSearch() const {
  return includesORStatement && !searchWordParts.empty() && isOperatorOR(searchWordParts.back());
}

bool QueryContainer::isWholeWordsSplitCharacter(char32_t c) {
  if ((c >= 0x09 && c <= 0x0D) || c == 0x85) return true;
  switch (u_charType(static_cast<UChar32>(c))) {
    case U_SPACE_SEPARATOR:
    case U_LINE_SEPARATOR:
    case U_PARAGRAPH_SEPARATOR:
    case U_DASH_PUNCTUATION:
    case U_START_PUNCTUATION:
    case U_END_PUNCTUATION:
    case U_CONNECTOR_PUNCTUATION:
    case U_OTHER_PUNCTUATION:
    case U_INITIAL_PUNCTUATION:
    case U_FINAL_PUNCTUATION:
    case U_MATH_SYMBOL:
    case U_CURRENCY_SYMBOL:
    case U_MODIFIER_SYMBOL:
    case U_OTHER_SYMBOL:
      return true;
    default:
      return false;
  }
}

std::vector<std::string> QueryContainer::wholeWordsFromFileName(std::string_view name) {
  std::vector<std::string> pieces;
  std::string piece;
  for (const auto& ch : textCharacters(name)) {
    if (isWholeWordsSplitCharacter(ch.first)) {
      if (!piece.empty()) pieces.push_back(std::move(piece));
      piece.clear();
    } else {
      piece.append(ch.text);
    }
  }
  if (!piece.empty()) pieces.push_back(std::move(piece));
  return pieces;
}

bool QueryContainer::fsItemNameStringIncludesWordsFromQuery(std::string_view name) const {
  if (soundex) {
    std::vector<std::string> codes;
    std::size_t start = 0;
    for (std::size_t i = 0; i <= name.size(); ++i) {
      if (i == name.size() || name[i] == ' ' || name[i] == '.' || name[i] == '/') {
        if (i > start) codes.push_back(Soundex::value(name.substr(start, i - start)));
        start = i + 1;
      }
    }
    for (const auto& wanted : searchWordStringsSoundexValues)
      if (std::find(codes.begin(), codes.end(), wanted) != codes.end()) return true;
    return false;
  }

  const bool caseSensitive = isCaseSensitive;
  const std::string subject = caseSensitive ? std::string(name) : TextCase::localizedLowercase(name);
  const auto& words = caseSensitive ? searchWordsOriginalCase : searchWords;
  const auto& groups = caseSensitive ? orStringGroupsOriginalCase : orStringGroups;

  std::vector<std::string> wholeWords;
  const bool byWholeWords = matchesWholeWords;
  if (byWholeWords) {
    wholeWords = wholeWordsFromFileName(name);
    if (!caseSensitive)
      for (auto& w : wholeWords) w = TextCase::localizedLowercase(w);
  }
  auto matches = [&](const std::string& word) {
    if (byWholeWords) return std::find(wholeWords.begin(), wholeWords.end(), word) != wholeWords.end();
    return contains(subject, word);
  };

  if (!includesORStatement) return std::all_of(words.begin(), words.end(), matches);
  return std::any_of(groups.begin(), groups.end(),
                     [&](const auto& group) { return std::all_of(group.begin(), group.end(), matches); });
}

bool QueryContainer::searchResultPassesFiltering(SearchResult& searchResult, SearchDataSourceDelegate* feedback) const {
  if (ignoreList && (ignoreList->includesFolder(searchResult.path) ||
                     ignoreList->containsExtension(PathText::pathExtension(searchResult.path))))
    return false;
  const bool nameMatches =
      fsItemNameStringIncludesWordsFromQuery(PathText::lastPathComponent(searchResult.path));
  // Every command runs, even after a veto: commands may fill in the result.
  bool excluded = false;
  for (const auto& command : commandsFoundInQuery) {
    auto working = command->copy();
    if (working->commandImpApply(searchResult, feedback, *this) == CommandApplyResult::exclude) excluded = true;
  }
  if (isORCommandSearch()) return nameMatches || !excluded;
  return nameMatches && !excluded;
}

bool QueryContainer::pathIsInQueryLocation(const std::string& path) const {
  if (showAppsFromAnywhere && PathText::pathExtension(path) == "app") {
    std::string name = TextCase::plainLowercase(PathText::lastPathComponent(path));
    std::string_view stem = std::string_view(name).substr(0, name.find('.'));
    std::string_view query = std::string_view(baseStringLowercase).substr(0, baseStringLowercase.find('.'));
    if (stem == query) return true;
  }
  if (!whereLocation) return true;
  if (!querySearchArguments.checkPathForResults) return true;
  return whereLocation->pathIsInLocation(path);
}

std::vector<SearchResult> QueryContainer::expandMatchingItemsForSearchResult(const SearchResult& result) const {
  std::string folderPath(PathText::deletingLastPathComponent(result.path));
  folderPath += "/";
  std::vector<std::string> folders;
  for (const auto& word : searchWords) {
    std::size_t from = 0;
    while (true) {
      std::size_t at = NameMatching::findCaseInsensitive(folderPath, word, from);
      if (at == std::string::npos) break;
      // On from the next character of the occurrence, so occurrences overlap.
      std::size_t next = at + 1;
      while (next < folderPath.size() && (static_cast<unsigned char>(folderPath[next]) & 0xC0) == 0x80) ++next;
      from = next;
      std::size_t slash = folderPath.find('/', next);
      if (slash != std::string::npos) folders.push_back(folderPath.substr(0, slash));
    }
  }
  std::vector<SearchResult> out;
  out.reserve(folders.size());
  for (auto& folder : folders)
    out.push_back(SearchResult::directory(result.searchResultSuppliedBy, std::move(folder), result.checkToSeeIfItExists));
  return out;
}

std::vector<QueryStyleRun> QueryContainer::styleQueryString(bool showErrors) const {
  std::vector<QueryStyleRun> runs;
  runs.push_back({0, static_cast<int>(textCharacters(baseString).size()), kNormalColour});
  for (const auto& r : partLocationsToRanges(allRecoginsedParts)) runs.push_back({r.location, r.length, kRecognisedColour});
  if (showErrors)
    for (const auto* words : {&unusedCommandAreaWords, &failedCommandAreaWords})
      for (const auto& r : partLocationsToRanges(*words)) runs.push_back({r.location, r.length, kErrorColour});
  return runs;
}

std::string QueryContainer::debugDescription() const {
  std::string text = baseString + ": ";
  for (const auto& command : commandsFoundInQuery) text += command->debugDescription();
  return text;
}

}  // namespace velmora
