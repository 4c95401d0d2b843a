#include <gtest/gtest.h>

#include <algorithm>

#include <filesystem>
#include <fstream>
#include <set>
#include <regex>
#include <sstream>

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include "ManualScheduler.h"
#include "TempHome.h"
#include "common/AppDirectories.h"
#include "query/LanguageParse.h"
#include "query/LanguageParseCache.h"
#include "query/Munge.h"
#include "query/QueryContainer.h"
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
#include "query/commands/MaxDepth.h"
#include "query/commands/LengthCommand.h"
#include "query/commands/RegexCommand.h"
#include "query/commands/ScriptCommand.h"
#include "query/commands/ShowAllFiles.h"
#include "query/commands/SizeCommand.h"
#include "query/commands/UTICommand.h"
#include "query/commands/WholeWords.h"
#include "stores/PreferenceStore.h"

namespace velmora {
namespace {

std::vector<SentenceComponent> words(const char* text) { return SentenceComponent::parseWords(text); }

std::vector<std::string> texts(const std::vector<SentenceComponent>& parts) {
  std::vector<std::string> out;
  for (const auto& p : parts) out.push_back(p.textLowered);
  return out;
}

TEST(SentenceTemplate, LineGrammar) {
  SentenceTemplate t(R"(image is "~file size" ~month/~month ImageVision/ImageVisionAllItems=true,a=b=c,bad,x=1)");
  EXPECT_EQ(t.command, "ImageVision");
  EXPECT_EQ(t.words, (std::vector<std::string>{"image", "is", "~file size", "~month/~month"}));
  EXPECT_EQ(t.numberOfKeywords, 4);
  EXPECT_EQ(t.flags, (std::map<std::string, std::string>{{"ImageVisionAllItems", "true"}, {"x", "1"}}));
  EXPECT_EQ(SentenceTemplate::variableKey("~month/~month"), "~month");
  EXPECT_EQ(SentenceTemplate::completorKey("~month/~month"), "~month");
  EXPECT_EQ(SentenceTemplate::variableKey("~a/b/c"), "~a/b/c");
  EXPECT_TRUE(SentenceTemplate("exact").words.empty());
  EXPECT_TRUE(SentenceTemplate("is file isFile").flags.empty());
  EXPECT_NE(SentenceTemplate("a b").id, SentenceTemplate("a b").id);
  EXPECT_FALSE(SentenceTemplate::isTemplateLine("   \t "));
}

TEST(LanguageParseCache, SkipsDraftsCommentsAndDamage) {
  auto cache = LanguageParseCache::fromText("// a comment\n\nis file isFile\nis fancy \u270F\uFE0F isFile\n   \nexact exact\n");
  ASSERT_EQ(cache.templates().size(), 2u);
  EXPECT_EQ(cache.templates()[1].command, "exact");

  std::string text = "whole words wholeWords\ncase sensitive caseSensitive\n";
  std::vector<std::uint8_t> bytes(text.begin(), text.end());
  Munge::munge(bytes);
  EXPECT_EQ(LanguageParseCache::fromScrambledBytes(bytes).templates().size(), 2u);
  bytes[0] ^= 0x80;  // no longer UTF-8 once unscrambled
  bytes[1] = 0xFF;
  EXPECT_TRUE(LanguageParseCache::fromScrambledBytes(bytes).templates().empty());

  // The embedded file is there and scrambled in the binary.
  ASSERT_GT(LanguageParseCache::shared().templates().size(), 100u);
}

class Matching : public ::testing::Test {
 protected:
  void use(std::initializer_list<const char*> lines) {
    auto list = std::make_shared<std::vector<SentenceTemplate>>();
    for (const char* line : lines) list->emplace_back(line);
    parse.useTemplates(list);
  }
  LanguageParse parse;
};

TEST_F(Matching, LongestFirstAndEarlierLineWinsTies) {
  use({"alpha beta wholeWords", "alpha beta exact", "alpha beta gamma caseSensitive", "gamma showAllFiles"});
  auto two = parse.allMatches(words("alpha beta"));
  ASSERT_EQ(two->commands.size(), 1u);
  EXPECT_TRUE(dynamic_cast<WholeWords*>(two->commands[0].get()));
  auto three = parse.allMatches(words("alpha beta gamma"));
  ASSERT_EQ(three->commands.size(), 1u);
  EXPECT_TRUE(dynamic_cast<CaseSensitive*>(three->commands[0].get()));
  EXPECT_EQ(texts(three->commands[0]->commandConsumedParts()), (std::vector<std::string>{"alpha", "beta", "gamma"}));

  // Words that start nothing are skipped; commands need no separators.
  auto mixed = parse.allMatches(words("zzz gamma alpha beta"));
  ASSERT_EQ(mixed->commands.size(), 2u);
  EXPECT_TRUE(dynamic_cast<ShowAllFiles*>(mixed->commands[0].get()));
  EXPECT_TRUE(dynamic_cast<WholeWords*>(mixed->commands[1].get()));
  EXPECT_EQ(texts(mixed->recognisedParts), (std::vector<std::string>{"gamma", "alpha", "beta"}));
  EXPECT_TRUE(parse.allMatches({})->commands.empty());
}

TEST_F(Matching, FailedAttemptsKeepTheirWords) {
  use({"one two three exact", "two wholeWords", "size \"~file size\" filesEqualTo"});
  // A half-typed command is recognised but makes nothing.
  auto half = parse.allMatches(words("one"));
  EXPECT_TRUE(half->commands.empty());
  EXPECT_EQ(texts(half->recognisedParts), std::vector<std::string>{"one"});
  // "two" was taken by the failed attempt and is not tried again.
  auto taken = parse.allMatches(words("one two"));
  EXPECT_TRUE(taken->commands.empty());
  EXPECT_EQ(texts(taken->recognisedParts), (std::vector<std::string>{"one", "two"}));
  auto alone = parse.allMatches(words("two"));
  ASSERT_EQ(alone->commands.size(), 1u);
  // A variable that does not fit ends the attempt after the keyword.
  auto badSize = parse.allMatches(words("size big"));
  EXPECT_TRUE(badSize->commands.empty());
  EXPECT_EQ(texts(badSize->recognisedParts), std::vector<std::string>{"size"});
}

TEST_F(Matching, ContentFlagsAreOptionalAndOtherTrailingVariablesAreNot) {
  use({"content ~string ~contentSearchFlags textContent", "tag ~string ~string label"});
  auto plain = parse.bestMatch(words("content report"));
  ASSERT_TRUE(plain);
  EXPECT_EQ(plain->sentenceTemplate.command, "textContent");
  auto flagged = parse.bestMatch(words("content report all files whole words"));
  ASSERT_TRUE(flagged);
  ASSERT_EQ(flagged->args.size(), 2u);
  EXPECT_EQ(std::any_cast<std::vector<std::string>>(flagged->args[1]),
            (std::vector<std::string>{"allFiles", "wholeWords"}));
  EXPECT_FALSE(parse.bestMatch(words("tag red")));
  // Until the content family plugs into its slot, the words make no command.
  EXPECT_TRUE(parse.allMatches(words("content report"))->commands.empty());
}

// The shipped template file against the sentences people type.
class TemplateFile : public ::testing::Test {
 protected:
  void SetUp() override {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("UTC"));
    PreferenceStore::resetShared(home.path() / "preferences.json");
    PreferenceStore::shared().set("RememberedFolders", {{"Downloads", (home.path() / "dl").string()}});
    test::writeFile(AppDirectories::applicationScriptsDirectory() / "backup.sh", "#!/bin/sh\n");
    DateHelper::setShared(std::make_shared<const DateHelper>("en_US", "UTC", clock));
  }
  void TearDown() override { DateHelper::setShared(nullptr); }

  test::TempHome home;
  test::ManualClock clock{dateFromUnixSeconds(1739201400)};  // 2025-02-10 15:30 UTC
};

template <typename T>
void expectCommand(const char* text) {
  QueryContainer query(text, std::nullopt, false, QuerySettings::fromPreferences(PreferenceStore::shared()));
  ASSERT_EQ(query.commandsFoundInQuery.size(), 1u) << text;
  EXPECT_TRUE(dynamic_cast<T*>(query.commandsFoundInQuery[0].get())) << text << " made " << query.debugDescription();
  EXPECT_TRUE(query.unusedCommandAreaWords.empty()) << text;
  EXPECT_TRUE(query.invalidCommandAreaWords.empty()) << text;
}

TEST_F(TemplateFile, AcceptsTheSentencesPeopleType) {
  expectCommand<InsideCommand>(": inside **folder**");
  expectCommand<ExcludeFolderCommand>(": excluding folder \"**folder**\"");
  expectCommand<SizeCommand>(".m4v : bigger than 10mb");
  for (const char* text : {": size 5 mb", ": smaller than five mb", ": larger than 5mb", ": size 5.0mb"})
    expectCommand<SizeCommand>(text);
  expectCommand<NameLengthCommand>(": min name length 10");
  expectCommand<MaxDepth>(": max depth 2");
  expectCommand<FileOrFolderCommand>(": is file");
  expectCommand<FileOrFolderCommand>(": is folder");
  expectCommand<LabelCommand>(": tag red");
  expectCommand<ExtensionCommand>(": not .txt");
  expectCommand<RegexCommand>(": regex ^a.*z$");
  expectCommand<CaseSensitive>(": case sensitive");
  expectCommand<WholeWords>(": whole words");
  expectCommand<ExactNameCommand>(": exact");
  expectCommand<ShowAllFiles>(": show all files");
  expectCommand<KnownDirectoriesCommand>(": downloads");
  expectCommand<ScriptCommand>(": run backup now");
  for (const char* text : {": modified yesterday", ": created in march", ": modified march 2024",
                           ": modified 2019 to 2021", ": modified after 2020", ": modified before june",
                           ": last 2 weeks", ": this month", ": last month", ": recent", ": today",
                           ": modified last two weeks", ": created on 3/15/24"})
    expectCommand<DateCommand>(text);

  QueryContainer both(": today is audio");
  ASSERT_EQ(both.commandsFoundInQuery.size(), 2u);
  auto today = std::dynamic_pointer_cast<DateCommand>(both.commandsFoundInQuery[0]);
  ASSERT_TRUE(today);
  EXPECT_EQ(today->what, DateCommandWhat::modificationDate);
  EXPECT_EQ(today->commandToString(), "modified today");
  EXPECT_EQ(both.commandsFoundInQuery[1]->commandToString(), "audio");

  QueryContainer regex(": regex ^a.*z$");
  EXPECT_EQ(regex.findCommand<RegexCommand>()->regex(), "^a.*z$");
  QueryContainer created(": created in march");
  auto march = created.findCommand<DateCommand>();
  EXPECT_EQ(march->what, DateCommandWhat::creationDate);
  EXPECT_EQ(march->when.timeIntervalDateRange(march->helper()), std::make_pair(std::int64_t(1709251200), std::int64_t(1711929600)));
}

TEST_F(TemplateFile, WordsThatFitNothingStayUnrecognised) {
  // A pattern that does not compile leaves its words to the error colour.
  QueryContainer broken(": regex a(b");
  EXPECT_FALSE(broken.findCommand<RegexCommand>());
  EXPECT_EQ(texts(broken.unusedCommandAreaWords), std::vector<std::string>{"a(b"});
  QueryContainer nonsense("report : flibbertigibbet is audio");
  EXPECT_EQ(texts(nonsense.unusedCommandAreaWords), std::vector<std::string>{"flibbertigibbet"});
  EXPECT_TRUE(nonsense.findCommand<UTICommand>());
  // Dates an instant cannot hold make no command; absurd counts stop at the ends of time.
  EXPECT_FALSE(QueryContainer(": modified on 3/30/2424").findCommand<DateCommand>());
  EXPECT_TRUE(QueryContainer(": last 2000000000 years").findCommand<DateCommand>());
  EXPECT_FALSE(QueryContainer(": bigger than 5 yb").findCommand<SizeCommand>());
  // A complete phrase that makes no command is an error, unlike one still
  // being typed.
  for (const char* text : {": bigger than 99999999999999999999 yb", ": smaller than -5 kb", ": size 18 eb"}) {
    QueryContainer refused(text);
    EXPECT_TRUE(refused.commandsFoundInQuery.empty()) << text;
    EXPECT_FALSE(refused.failedCommandAreaWords.empty()) << text;
    auto runs = refused.styleQueryString(true);
    EXPECT_TRUE(std::any_of(runs.begin(), runs.end(), [](const QueryStyleRun& r) {
      return r.colour == QueryContainer::kErrorColour;
    })) << text;
  }
  EXPECT_TRUE(QueryContainer(": bigger than").failedCommandAreaWords.empty());
  // "bigger than" alone is recognised (half typed) and consumed by nothing.
  QueryContainer half(": bigger than");
  EXPECT_TRUE(half.commandsFoundInQuery.empty());
  EXPECT_TRUE(half.unusedCommandAreaWords.empty());
  EXPECT_EQ(half.invalidCommandAreaWords.size(), 2u);
}

// docs/query-language.md lists one example per sentence form; every form
// must be a line of the template file and every line must have its row.
TEST_F(TemplateFile, UsersGuideMatchesTheTemplates) {
  std::ifstream doc(test::sourceDir() / "docs/query-language.md");
  ASSERT_TRUE(doc) << "docs/query-language.md is missing";
  std::regex row(R"(^\| `([^`]*)` \| (\w+) \| `([^`]*)` \|$)");
  std::set<std::string> documented;
  std::string line;
  LanguageParse parse;
  while (std::getline(doc, line)) {
    std::smatch m;
    if (!std::regex_match(line, m, row)) continue;
    const std::string form = m[1], command = m[2], example = m[3];
    documented.insert(form + " " + command);
    auto all = SentenceComponent::parseWords(example);
    auto match = parse.bestMatch(all, QuerySettings::fromPreferences(PreferenceStore::shared()));
    ASSERT_TRUE(match) << example;
    std::string matchedForm;
    for (const auto& w : match->sentenceTemplate.words)
      matchedForm += (matchedForm.empty() ? "" : " ") + SentenceTemplate::variableKey(w);
    EXPECT_EQ(matchedForm, form) << example << " matched " << match->sentenceTemplate.debugTemplate;
    EXPECT_EQ(match->sentenceTemplate.command, command) << example;
  }
  for (const SentenceTemplate& t : LanguageParseCache::shared().templates()) {
    std::string form;
    for (const auto& w : t.words) form += (form.empty() ? "" : " ") + SentenceTemplate::variableKey(w);
    EXPECT_TRUE(documented.count(form + " " + t.command)) << "no example for: " << t.debugTemplate;
  }
}

}  // namespace
}  // namespace velmora
