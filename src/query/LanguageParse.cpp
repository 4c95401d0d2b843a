#include "query/LanguageParse.h"

#include <algorithm>
#include <mutex>

#include "query/DateCommandWhat.h"
#include "query/DateCommandWhen.h"
#include "query/DateDetector.h"
#include "query/DateHelper.h"
#include "query/LanguageParseCache.h"
#include "query/SentenceTemplate.h"
#include "query/commands/CaseSensitive.h"
#include "query/commands/DateCommand.h"
#include "query/commands/ExactNameCommand.h"
#include "query/commands/ExcludeFolderCommand.h"
#include "query/commands/ExtensionCommand.h"
#include "query/commands/FileOrFolderCommand.h"
#include "query/commands/InsideCommand.h"
#include "query/commands/KnownDirectoriesCommand.h"
#include "query/commands/LabelCommand.h"
#include "query/commands/LabelTagManager.h"
#include "query/commands/MaxDepth.h"
#include "query/commands/LengthCommand.h"
#include "query/commands/LengthCommand.h"
#include "query/commands/RegexCommand.h"
#include "query/commands/ScriptCommand.h"
#include "query/commands/ShowAllFiles.h"
#include "query/commands/SizeCommand.h"
#include "query/commands/SpelledNumber.h"
#include "query/commands/UTICommand.h"
#include "query/commands/WholeWords.h"

namespace velmora {

namespace {

using Words = LanguageParse::Words;
using Result = std::optional<VariableParserResult>;

Result one(std::any value) { return VariableParserResult{std::move(value), 1}; }

// Most parsers read only the words.
template <typename Parser>
LanguageParse::VariableParser ignoringSettings(Parser parser) {
  return [parser](Words words, const QuerySettings&) { return parser(words); };
}

// ---- the factory table -------------------------------------------------

struct Slot {
  const char* name;
  std::shared_ptr<CommandFactory> factory;
};

// The fixed order of the table. Slots of families that live in other
// libraries start empty and are filled by plugFactory(); until then their
// command names are recognised words that make no command.
std::vector<Slot> initialSlots() {
  return {
      {"CaseSensitiveFactory", std::make_shared<CaseSensitiveFactory>()},
      {"ContentSearchFactory", nullptr},
      {"DateCommandCreator", std::make_shared<DateCommandCreator>()},
      {"ExcludeFolderFactory", std::make_shared<ExcludeFolderFactory>()},
      {"ExtensionCommandFactory", std::make_shared<ExtensionCommandFactory>()},
      {"ExactNameCommandFactory", std::make_shared<ExactNameCommandFactory>()},
      {"FileOrFolderCommandFactry", std::make_shared<FileOrFolderCommandFactry>()},
      {"ImageVisionFactory", nullptr},
      {"InsideCommandFactory", std::make_shared<InsideCommandFactory>()},
      {"KnownDirectoriesFactory", std::make_shared<KnownDirectoriesFactory>()},
      {"LabelCommandFactory", std::make_shared<LabelCommandFactory>()},
      {"NameLengthCommandFactory", std::make_shared<NameLengthCommandFactory>()},
      {"MailSearchCommandFactory", nullptr},
      {"PathLengthCommandFactory", std::make_shared<PathLengthCommandFactory>()},
      {"MaxDepthFactory", std::make_shared<MaxDepthFactory>()},
      {"RegexCommandFactory", std::make_shared<RegexCommandFactory>()},
      {"ScriptCommandFactory", std::make_shared<ScriptCommandFactory>()},
      {"SizeCommandFactory", std::make_shared<SizeCommandFactory>()},
      {"ShowAppsCommandFactory", nullptr},
      {"ShowAllFilesFactory", std::make_shared<ShowAllFilesFactory>()},
      {"SpotlightMetadataSearchCommandFactory", nullptr},
      {"SpotlightAuthorSearchFactory", nullptr},
      {"SpotlightUserQueryCommandFactory", nullptr},
      {"UTICommandFactory", std::make_shared<UTICommandFactory>()},
      {"WholeWordsFactory", std::make_shared<WholeWordsFactory>()},
  };
}

struct FactoryTable {
  std::mutex mutex;
  std::vector<Slot> slots = initialSlots();
  std::vector<std::shared_ptr<CommandFactory>> present;
  void rebuild() {
    present.clear();
    for (const Slot& slot : slots)
      if (slot.factory) present.push_back(slot.factory);
  }
  FactoryTable() { rebuild(); }
};

FactoryTable& factoryTable() {
  static FactoryTable table;
  return table;
}

// ---- variable parsers ----------------------------------------------------

Result parseString(const Words& words) {
  if (words.empty()) return std::nullopt;
  return one(words.front());
}

Result parseInteger(const Words& words) {
  if (words.empty()) return std::nullopt;
  auto value = SpelledNumber::parseInteger(words.front().textLowered);
  if (!value || *value < INT32_MIN || *value > INT32_MAX) return std::nullopt;
  return one(int(*value));
}

Result parseIntegerIn(const Words& words, int lowest, int belowHighest) {
  auto result = parseInteger(words);
  if (!result) return std::nullopt;
  int value = std::any_cast<int>(result->value);
  if (value < lowest || value >= belowHighest) return std::nullopt;
  return result;
}

Result parseMonth(const Words& words) {
  if (words.empty()) return std::nullopt;
  auto index = DateHelper::shared()->monthIndexFromWord(words.front().textLowered);
  if (!index) return std::nullopt;
  return one(*index + 1);
}

Result parseTimeUnit(const Words& words) {
  if (words.empty()) return std::nullopt;
  const std::string& w = words.front().textLowered;
  if (w == "minute" || w == "minutes") return one(CalendarComponent::minute);
  if (w == "hour" || w == "hours") return one(CalendarComponent::hour);
  if (w == "day" || w == "days") return one(CalendarComponent::day);
  if (w == "week" || w == "weeks") return one(CalendarComponent::weekOfYear);
  if (w == "month" || w == "months") return one(CalendarComponent::month);
  if (w == "year" || w == "years") return one(CalendarComponent::year);
  return std::nullopt;
}

Result parseFormattedDate(const Words& words) {
  if (words.empty()) return std::nullopt;
  auto dates = DateDetector::simpleDatesInString(words.front().textOriginalCase, *DateHelper::shared());
  if (dates.empty()) return std::nullopt;
  return one(DateCommandWhen::day(dates.front()));
}

Result parseFixedNamedTimeRange(const Words& words) {
  if (words.empty()) return std::nullopt;
  auto when = DateCommandWhen::fixedNamedTimeRange(words.front().textLowered);
  if (!when) return std::nullopt;
  return one(*when);
}

Result parseDateType(const Words& words) {
  if (words.empty()) return std::nullopt;
  auto what = dateCommandWhatFrom(words.front().textLowered);
  if (!what) return std::nullopt;
  return one(*what);
}

Result parseExtension(const Words& words) {
  if (words.empty()) return std::nullopt;
  const std::string& text = words.front().textOriginalCase;
  if (text.size() < 2 || text.front() != '.') return std::nullopt;
  return one(text.substr(1));
}

// A "*" inside a pattern splits it into words for the tokeniser ("^a.*z$"
// arrives as "^a." marked as prefix, then "z$"); words that touched across
// a star are joined again so the pattern reads as typed.
Result parseRegex(const Words& words) {
  if (words.empty()) return std::nullopt;
  SentenceComponent joined = words.front();
  std::size_t used = 1;
  while (joined.wildcard == SentenceComponent::Wildcard::prefix && !joined.wasInQuotes) {
    joined.textOriginalCase += '*';
    joined.textLowered += '*';
    joined.wildcard = SentenceComponent::Wildcard::none;
    if (used < words.size() && words[used].position.lowerBound == joined.position.upperBound + 1 &&
        !words[used].wasInQuotes) {
      joined.textOriginalCase += words[used].textOriginalCase;
      joined.textLowered += words[used].textLowered;
      joined.position.upperBound = words[used].position.upperBound;
      joined.wildcard = words[used].wildcard;
      ++used;
    } else {
      joined.position.upperBound += 1;
    }
  }
  if (!RegexCommand::compiles(joined.textOriginalCase)) return std::nullopt;
  if (used == 1 && joined.textOriginalCase == words.front().textOriginalCase) return one(words.front());
  // The joined words are consumed; the value carries the whole pattern.
  return VariableParserResult{joined, int(used)};
}

// Options after the words of a content search, in any order.
Result parseContentSearchFlags(const Words& words) {
  static const std::pair<const char*, const char*> phrases[] = {
      {"whole", "words"}, {"all", "words"}, {"all", "files"}, {"use", "ocr"}};
  static const char* names[] = {"wholeWords", "allWords", "allFiles", "useOCR"};
  std::vector<std::string> flags;
  std::size_t i = 0;
  while (i + 1 < words.size()) {
    bool found = false;
    for (int p = 0; p < 4; ++p)
      if (words[i].textLowered == phrases[p].first && words[i + 1].textLowered == phrases[p].second) {
        flags.emplace_back(names[p]);
        i += 2;
        found = true;
        break;
      }
    if (!found) break;
  }
  if (flags.empty()) return std::nullopt;
  return VariableParserResult{flags, int(i)};
}

Result parseVarArg(const Words& words) {
  if (words.empty()) return std::nullopt;
  return VariableParserResult{std::vector<SentenceComponent>(words.begin(), words.end()), int(words.size())};
}

std::optional<std::string> monthCompletor(const Words& words) {
  if (words.empty()) return std::nullopt;
  std::vector<std::string> candidates = {"ever",    "now",     "recent", "today", "yesterday",
                                         "tomorrow", "modified", "changed", "edited", "created",
                                         "made",    "week",    "year",   "month"};
  auto helper = DateHelper::shared();
  candidates.insert(candidates.end(), helper->monthSymbols().begin(), helper->monthSymbols().end());
  candidates.insert(candidates.end(), helper->shortMonthSymbols().begin(), helper->shortMonthSymbols().end());
  for (const std::string& c : candidates)
    if (c.starts_with(words.front().textLowered)) return c;
  return std::nullopt;
}

std::optional<std::string> tagCompletor(const Words& words) {
  if (words.empty()) return std::nullopt;
  for (const std::string& tag : LabelTagManager::shared().knownTags())
    if (tag.starts_with(words.front().textLowered)) return tag;
  return std::nullopt;
}

}  // namespace

LanguageParse::LanguageParse() {
  variableParsers = {
      {"~string", ignoringSettings(parseString)},
      {"~uti", ignoringSettings(UTICommandFactory::utiVariable)},
      {"~remembered", [](Words w, const QuerySettings& settings) { return KnownDirectoriesFactory::rememberedVariable(w, settings.rememberedFolders); }},
      {"~month", ignoringSettings(parseMonth)},
      {"~year", ignoringSettings([](const Words& w) { return parseIntegerIn(w, 1970, 3000); })},
      {"~day", ignoringSettings([](const Words& w) { return parseIntegerIn(w, 1, 32); })},
      {"~timeUnit", ignoringSettings(parseTimeUnit)},
      {"~formattedDate", ignoringSettings(parseFormattedDate)},
      {"~fixedNamedTimeRange", ignoringSettings(parseFixedNamedTimeRange)},
      {"~file size", ignoringSettings(SizeCommandFactory::fileSize)},
      {"~extension", ignoringSettings(parseExtension)},
      {"~dateType", ignoringSettings(parseDateType)},
      {"~integer", ignoringSettings(parseInteger)},
      {"~regexVariable", ignoringSettings(parseRegex)},
      {"~scriptName", ignoringSettings([](const Words& w) { return ScriptCommandFactory::scriptName(w); })},
      {"~contentSearchFlags", ignoringSettings(parseContentSearchFlags)},
      {"~varArg", ignoringSettings(parseVarArg)},
  };
  variableCompletors = {
      {"~utiCompletor", UTICommandFactory::utiCompletor},
      {"~remembered", KnownDirectoriesFactory::rememberedCompletor},
      {"~month", monthCompletor},
      {"~scriptName", ScriptCommandFactory::scriptNameCompletor},
      {"~tagCompletor", tagCompletor},
  };
  buildIndex();
}

void LanguageParse::buildIndex() {
  index_ = {};
  for (const SentenceTemplate& t : templates()) {
    CompiledTemplate compiled{&t, {}};
    for (const std::string& key : t.keys) {
      auto parser = SentenceTemplate::isVariable(key) ? variableParsers.find(key) : variableParsers.end();
      compiled.parsers.push_back(parser == variableParsers.end() ? nullptr : &parser->second);
    }
    const std::size_t at = index_.compiled.size();
    if (t.words.empty() || compiled.parsers[0])
      index_.variableFirst.push_back(at);
    else
      index_.byFirstWord[t.words[0]].push_back(at);
    index_.compiled.push_back(std::move(compiled));
  }
  // Each word's list merges its own templates with the variable-first ones,
  // in file order (ties go to the earlier template).
  for (auto& [word, list] : index_.byFirstWord) {
    list.insert(list.end(), index_.variableFirst.begin(), index_.variableFirst.end());
    std::sort(list.begin(), list.end());
  }
}

const std::vector<std::size_t>& LanguageParse::candidatesStartingWith(const std::string& word) const {
  auto found = index_.byFirstWord.find(word);
  return found == index_.byFirstWord.end() ? index_.variableFirst : found->second;
}

const std::vector<std::shared_ptr<CommandFactory>>& LanguageParse::factories() {
  FactoryTable& table = factoryTable();
  std::lock_guard guard(table.mutex);
  return table.present;
}

std::shared_ptr<CommandFactory> LanguageParse::findFactory(std::string_view commandName) {
  FactoryTable& table = factoryTable();
  std::lock_guard guard(table.mutex);
  for (const auto& factory : table.present)
    if (factory->implementsCommand(commandName)) return factory;
  return nullptr;
}

bool LanguageParse::plugFactory(std::string_view slotName, std::shared_ptr<CommandFactory> factory) {
  FactoryTable& table = factoryTable();
  std::lock_guard guard(table.mutex);
  for (Slot& slot : table.slots)
    if (slotName == slot.name) {
      slot.factory = std::move(factory);
      table.rebuild();
      return true;
    }
  return false;
}

const std::vector<SentenceTemplate>& LanguageParse::templates() const {
  return templates_ ? *templates_ : LanguageParseCache::shared().templates();
}

void LanguageParse::useTemplates(std::shared_ptr<const std::vector<SentenceTemplate>> templates) {
  templates_ = std::move(templates);
  buildIndex();
}

std::optional<MatchedSentenceTemplate> LanguageParse::match(Words inputWords, const QuerySettings& settings,
                                                            std::size_t& recognisedCount) const {
  const std::size_t n = inputWords.size();
  // Each variable parser's answer at each offset: many templates start alike.
  // A handful of entries per call: a flat list beats a tree here.
  struct Memo {
    const VariableParser* parser;
    std::size_t offset;
    Result result;
  };
  std::vector<Memo> memo;
  recognisedCount = 0;

  const SentenceTemplate* best = nullptr;
  std::vector<std::any> bestArgs;
  if (n == 0) return std::nullopt;
  for (std::size_t candidate : candidatesStartingWith(inputWords[0].textLowered)) {
    const SentenceTemplate& t = *index_.compiled[candidate].sentence;
    const auto& parsers = index_.compiled[candidate].parsers;
    std::size_t offset = 0;
    std::size_t next = 0;  // the first word of the template still to match
    std::vector<std::any> args;
    while (next < t.words.size()) {
      if (offset >= n) break;
      std::size_t consumed = 1;
      if (const VariableParser* parser = parsers[next]) {
        auto cached = std::find_if(memo.begin(), memo.end(),
                                   [&](const Memo& m) { return m.parser == parser && m.offset == offset; });
        if (cached == memo.end()) {
          memo.push_back({parser, offset, (*parser)(inputWords.subspan(offset), settings)});
          cached = memo.end() - 1;
        }
        const Result& parsed = cached->result;
        if (!parsed) break;
        if (parsed->value.has_value()) args.push_back(parsed->value);
        consumed = std::size_t(std::clamp(parsed->numberOfConsumedWords, 0, int(n - offset)));
      } else if (inputWords[offset].textLowered != t.words[next]) {
        break;
      }
      // Words of attempts that fail later still count as recognised: a
      // half-typed command is shown as such. Attempts all start at the head,
      // so what they recognised is always a run of words from the head.
      offset += consumed;
      recognisedCount = std::max(recognisedCount, offset);
      ++next;
    }
    const bool complete = next == t.words.size();
    // The options after a content phrase may be left out.
    const bool optionalFlagsLeft = !complete && t.command == "textContent" &&
                                   t.words[next] == "~contentSearchFlags";
    if (!complete && !optionalFlagsLeft) continue;
    if (!best || t.words.size() > best->words.size()) {
      best = &t;
      bestArgs = std::move(args);
    }
  }
  if (!best) return std::nullopt;
  return MatchedSentenceTemplate{*best, std::move(bestArgs)};
}

std::optional<MatchedSentenceTemplate> LanguageParse::bestMatch(Words inputWords, const QuerySettings& settings) const {
  std::size_t recognised = 0;
  return match(inputWords, settings, recognised);
}

CommandRecogniserResult LanguageParse::doesMatch(Words inputWords, const QuerySettings& settings,
                                                 std::size_t& recognisedCount) const {
  CommandRecogniserResult result;
  auto best = match(inputWords, settings, recognisedCount);
  result.recognisedParts.assign(inputWords.begin(), inputWords.begin() + std::ptrdiff_t(recognisedCount));
  if (!best) return result;
  auto factory = findFactory(best->sentenceTemplate.command);
  if (!factory) return result;  // a family not built in: recognised, not wrong
  auto command = factory->create(best->sentenceTemplate.command, best->args, best->sentenceTemplate.flags);
  if (!command) {
    result.failedParts = result.recognisedParts;
    return result;
  }
  command->setCommandConsumedParts(result.recognisedParts);
  result.commands.push_back(std::move(command));
  return result;
}

std::optional<CommandRecogniserResult> LanguageParse::allMatches(Words inputWords, const QuerySettings& settings) const {
  CommandRecogniserResult all;
  Words remaining(inputWords);
  while (!remaining.empty()) {
    std::size_t recognised = 0;
    CommandRecogniserResult found = doesMatch(remaining, settings, recognised);
    all.commands.insert(all.commands.end(), found.commands.begin(), found.commands.end());
    all.recognisedParts.insert(all.recognisedParts.end(), found.recognisedParts.begin(), found.recognisedParts.end());
    all.failedParts.insert(all.failedParts.end(), found.failedParts.begin(), found.failedParts.end());
    // A word that starts no command is skipped.
    remaining = remaining.subspan(std::max<std::size_t>(recognised, 1));
  }
  return all;
}

}  // namespace velmora
