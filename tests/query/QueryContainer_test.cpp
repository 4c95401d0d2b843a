#include <gtest/gtest.h>

#include <atomic>

#include "query/QueryContainer.h"
#include "query/QueryEditor.h"
#include "query/commands/NotIncludingWords.h"
#include "query/commands/WildcardWords.h"
#include "model/SearchResult.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

using Strings = std::vector<std::string>;

SearchResult resultAt(std::string path) {
  SearchResult r;
  r.path = std::move(path);
  return r;
}

// Commands of the tests' own.
namespace stand_in {
struct CaseSensitive : Command {
  std::string commandToString() const override { return "case sensitive"; }
  std::string commandExample() const override { return "case sensitive"; }
  CommandApplyResult commandImpApply(SearchResult&, SearchDataSourceDelegate*, const QueryContainer&) override {
    return CommandApplyResult::accept;
  }
  std::shared_ptr<Command> copy() const override { return std::make_shared<CaseSensitive>(); }
};
// Vetoes names holding "veto", and counts how often any copy was applied.
struct Veto : Command {
  std::shared_ptr<std::atomic<int>> applied = std::make_shared<std::atomic<int>>(0);
  std::string text = "veto";
  std::string commandToString() const override { return text; }
  std::string commandExample() const override { return "veto **x**"; }
  CommandApplyResult commandImpApply(SearchResult& r, SearchDataSourceDelegate*, const QueryContainer&) override {
    ++*applied;
    r.contentSearchResultsRank += 1;
    return r.path.find("veto") != std::string::npos ? CommandApplyResult::exclude : CommandApplyResult::skip;
  }
  std::shared_ptr<Command> copy() const override {
    auto c = std::make_shared<Veto>();
    c->applied = applied;
    c->text = text;
    return c;
  }
};
}  // namespace stand_in

TEST(QueryContainer, EmptyAndWordOnlyQueries) {
  test::TempHome home;
  QueryContainer empty("");
  EXPECT_TRUE(empty.allWords.empty());
  EXPECT_TRUE(empty.commandsFoundInQuery.empty());
  EXPECT_FALSE(empty.isWordBasedSearch());
  EXPECT_FALSE(empty.querySearchArguments.word);

  QueryContainer q("Report\nBudget");
  EXPECT_EQ(q.baseString, "Report Budget");
  EXPECT_EQ(q.baseStringLowercase, "report budget");
  EXPECT_EQ(q.searchWords, (Strings{"report", "budget"}));
  EXPECT_EQ(q.searchWordsOriginalCase, (Strings{"Report", "Budget"}));
  EXPECT_EQ(q.searchWordsHighlightStrings, (Strings{"report", "budget"}));
  EXPECT_EQ(q.searchWordStringsSoundexValues, (Strings{"R163", "B323"}));
  EXPECT_EQ(q.querySearchArguments.word, "report");
  EXPECT_TRUE(q.isWordBasedSearch());
  EXPECT_TRUE(q.commandsFoundInQuery.empty());

  // A command-area word that fits no template is unused and invalid, and is
  // no search word either.
  QueryContainer colon("report : zzqx");
  EXPECT_EQ(colon.searchWords, Strings{"report"});
  ASSERT_EQ(colon.unusedCommandAreaWords.size(), 1u);
  EXPECT_EQ(colon.unusedCommandAreaWords[0].textLowered, "zzqx");
  EXPECT_EQ(colon.invalidCommandAreaWords.size(), 1u);
  EXPECT_EQ(colon.searchWordParts.size(), 2u);
  QueryContainer hello("hello: today");
  EXPECT_TRUE(hello.searchWords.empty());
  EXPECT_EQ(hello.unusedCommandAreaWords.size() + hello.allRecoginsedParts.size(), 2u);
}

TEST(QueryContainer, OrGroupsNegativesAndWildcards) {
  test::TempHome home;
  QueryContainer orQuery("a OR b c");
  EXPECT_TRUE(orQuery.includesORStatement);
  EXPECT_EQ(orQuery.searchWords, (Strings{"a", "b", "c"}));
  EXPECT_EQ(orQuery.orStringGroups, (std::vector<Strings>{{"a"}, {"b", "c"}}));
  EXPECT_FALSE(orQuery.isORCommandSearch());
  QueryContainer trailing("A b OR");
  EXPECT_TRUE(trailing.isORCommandSearch());
  EXPECT_EQ(trailing.orStringGroupsOriginalCase, (std::vector<Strings>{{"A", "b"}}));
  EXPECT_EQ(trailing.orStringGroups, (std::vector<Strings>{{"a", "b"}}));
  for (const char* text : {"a \"OR\" b", "a or b"}) {
    QueryContainer plain(text);
    EXPECT_FALSE(plain.includesORStatement) << text;
    EXPECT_EQ(plain.searchWords.size(), 3u) << text;
  }

  QueryContainer negative("-Draft report");
  EXPECT_EQ(negative.searchWords, Strings{"report"});
  ASSERT_EQ(negative.commandsFoundInQuery.size(), 1u);
  auto notIncluding = negative.findCommand<NotIncludingWords>();
  ASSERT_TRUE(notIncluding);
  EXPECT_EQ(notIncluding->rawWords, Strings{"-draft"});
  EXPECT_EQ(notIncluding->words, Strings{"draft"});
  EXPECT_EQ(QueryContainer("\"-draft\"").searchWords, Strings{"-draft"});
  EXPECT_TRUE(QueryContainer("report : -draft").commandsFoundInQuery.empty());
  QueryContainer onlyNegative("-x");
  EXPECT_TRUE(onlyNegative.searchWords.empty());
  EXPECT_EQ(onlyNegative.commandsFoundInQuery.size(), 1u);
  EXPECT_FALSE(onlyNegative.isWordBasedSearch());

  QueryContainer wild("report* *.txt plain");
  auto wildcard = wild.findCommand<WildcardWords>();
  ASSERT_TRUE(wildcard);
  EXPECT_EQ(wildcard->prefixes, Strings{"report"});
  EXPECT_EQ(wildcard->suffixes, Strings{".txt"});
  EXPECT_EQ(wild.searchWords, (Strings{"report", ".txt", "plain"}));  // still plain words too
  EXPECT_EQ(wildcard->checkWildCardsFor("my report.txt"), CommandApplyResult::exclude);
  EXPECT_EQ(wildcard->checkWildCardsFor("report.txt"), CommandApplyResult::accept);
  WildcardWords twoPrefixes(SentenceComponent::parseWords("ab* cd*"));
  EXPECT_EQ(twoPrefixes.checkWildCardsFor("x abc cde"), CommandApplyResult::accept);
  EXPECT_EQ(twoPrefixes.checkWildCardsFor("xab cde"), CommandApplyResult::exclude);
  WildcardWords suffix(SentenceComponent::parseWords("*.txt"));
  EXPECT_EQ(suffix.checkWildCardsFor("a.txt"), CommandApplyResult::accept);
  EXPECT_EQ(suffix.checkWildCardsFor("a.txt.gz"), CommandApplyResult::exclude);
}

TEST(QueryContainer, NameTestBranches) {
  test::TempHome home;
  QueryContainer q("Rep BUD");
  EXPECT_TRUE(q.fsItemNameStringIncludesWordsFromQuery("Big Report budget.txt"));
  EXPECT_FALSE(q.fsItemNameStringIncludesWordsFromQuery("Report.txt"));
  EXPECT_TRUE(QueryContainer("").fsItemNameStringIncludesWordsFromQuery("anything"));
  EXPECT_TRUE(QueryContainer("\xC3\x89t\xC3\xA9").fsItemNameStringIncludesWordsFromQuery("\xC3\xA9T\xC3\x89.txt"));

  QueryContainer groups("alpha OR beta gamma");
  EXPECT_TRUE(groups.fsItemNameStringIncludesWordsFromQuery("alpha"));
  EXPECT_TRUE(groups.fsItemNameStringIncludesWordsFromQuery("gamma beta"));
  EXPECT_FALSE(groups.fsItemNameStringIncludesWordsFromQuery("beta"));
  EXPECT_FALSE(QueryContainer("OR").fsItemNameStringIncludesWordsFromQuery("x"));  // no groups

  QueryContainer cased("Rep : case sensitive");
  EXPECT_TRUE(cased.fsItemNameStringIncludesWordsFromQuery("Report"));
  EXPECT_FALSE(cased.fsItemNameStringIncludesWordsFromQuery("report"));

  QueryContainer whole("port : whole words");
  EXPECT_FALSE(whole.fsItemNameStringIncludesWordsFromQuery("report.txt"));
  EXPECT_TRUE(whole.fsItemNameStringIncludesWordsFromQuery("the-PORT_2.txt"));
  EXPECT_EQ(QueryContainer::wholeWordsFromFileName("a+b  c.d$e"), (Strings{"a", "b", "c", "d", "e"}));

  // Soundex: any word of the query sounding like any piece of the name.
  QueryContainer sound("Rupert zzz", std::nullopt, true);
  EXPECT_TRUE(sound.fsItemNameStringIncludesWordsFromQuery("notes robert.txt"));
  EXPECT_FALSE(sound.fsItemNameStringIncludesWordsFromQuery("notes.txt"));
  EXPECT_FALSE(QueryContainer("", std::nullopt, true).fsItemNameStringIncludesWordsFromQuery("a"));
}

TEST(QueryContainer, FilterAppliesEveryCommandAndHonoursTrailingOr) {
  test::TempHome home;
  auto filterWith = [](const char* text, const char* path, int* applied = nullptr) {
    QueryContainer q(text);
    auto veto = std::make_shared<stand_in::Veto>();
    auto second = std::make_shared<stand_in::Veto>();
    second->applied = veto->applied;
    q.commandsFoundInQuery.push_back(veto);
    q.commandsFoundInQuery.push_back(second);
    SearchResult r = resultAt(path);
    bool passed = q.searchResultPassesFiltering(r, nullptr);
    if (applied) *applied = *veto->applied;
    EXPECT_EQ(r.contentSearchResultsRank, 2) << "commands change the result they test";
    return passed;
  };
  int applied = 0;
  EXPECT_FALSE(filterWith("report", "/x/report veto.txt", &applied));
  EXPECT_EQ(applied, 2);  // no early exit after the veto
  EXPECT_TRUE(filterWith("report", "/x/report.txt"));
  EXPECT_FALSE(filterWith("report", "/x/other.txt"));
  // "name OR commands": a matching name beats a veto; no veto lets any name in.
  EXPECT_TRUE(filterWith("report OR", "/x/report veto.txt"));
  EXPECT_TRUE(filterWith("report OR", "/x/other.txt"));
  EXPECT_FALSE(filterWith("report OR", "/x/other veto.txt"));

  QueryContainer negative("report -draft");
  SearchResult draft = resultAt("/x/Report DRAFT.txt");
  EXPECT_FALSE(negative.searchResultPassesFiltering(draft, nullptr));
  SearchResult fine = resultAt("/x/Report.txt");
  EXPECT_TRUE(negative.searchResultPassesFiltering(fine, nullptr));
}

struct IgnoreTmp : QueryIgnoreList {
  bool includesFolder(const std::string& path) const override { return path.find("/tmp/") != std::string::npos; }
  bool containsExtension(std::string_view ext) const override { return ext == "bak"; }
};

TEST(QueryContainer, IgnoreListAndLocation) {
  test::TempHome home;
  QueryContainer::setIgnoreListMaker([] { return std::make_shared<IgnoreTmp>(); });
  QueryContainer q("report", SearchLocation::fromURLs({"/home/u"}, "home"));
  QueryContainer::setIgnoreListMaker({});
  ASSERT_TRUE(q.ignoreList);
  SearchResult inTmp = resultAt("/a/tmp/report"), backup = resultAt("/a/report.bak"), fine = resultAt("/a/report");
  EXPECT_FALSE(q.searchResultPassesFiltering(inTmp, nullptr));
  EXPECT_FALSE(q.searchResultPassesFiltering(backup, nullptr));
  EXPECT_TRUE(q.searchResultPassesFiltering(fine, nullptr));
  EXPECT_FALSE(QueryContainer("x").ignoreList);

  EXPECT_TRUE(q.pathIsInQueryLocation("/home/u/report"));
  EXPECT_FALSE(q.pathIsInQueryLocation("/srv/report"));
  EXPECT_TRUE(QueryContainer("report").pathIsInQueryLocation("/srv/report"));
  QueryContainer unchecked = q;
  unchecked.querySearchArguments.checkPathForResults = false;
  EXPECT_TRUE(unchecked.pathIsInQueryLocation("/srv/report"));
  // An application named as the whole query shows from anywhere.
  QueryContainer app("Calc", SearchLocation::fromURLs({"/home/u"}, "home"));
  app.showAppsFromAnywhere = true;
  EXPECT_TRUE(app.pathIsInQueryLocation("/opt/Calc.app"));
  EXPECT_FALSE(app.pathIsInQueryLocation("/opt/Calculator.app"));
  app.showAppsFromAnywhere = false;
  EXPECT_FALSE(app.pathIsInQueryLocation("/opt/Calc.app"));
}

TEST(QueryContainer, FolderExpansionAndStyling) {
  test::TempHome home;
  QueryContainer q("report");
  SearchResult file = resultAt("/data/Reports/2024/old report x/file.txt");
  file.searchResultSuppliedBy = SearchResultSupplier::spotlight;
  file.checkToSeeIfItExists = true;
  auto folders = q.expandMatchingItemsForSearchResult(file);
  ASSERT_EQ(folders.size(), 2u);
  EXPECT_EQ(folders[0].path, "/data/Reports");
  EXPECT_EQ(folders[1].path, "/data/Reports/2024/old report x");
  EXPECT_TRUE(folders[0].isDirectory);
  EXPECT_EQ(folders[0].searchResultSuppliedBy, SearchResultSupplier::spotlight);
  EXPECT_TRUE(folders[0].checkToSeeIfItExists);
  EXPECT_TRUE(q.expandMatchingItemsForSearchResult(resultAt("/data/x/report.txt")).empty());

  QueryContainer styled("r\xC3\xA9port : zz");
  auto runs = styled.styleQueryString(true);
  ASSERT_EQ(runs.size(), 2u);
  EXPECT_EQ(runs[0].length, 11);
  EXPECT_EQ(runs[0].colour, QueryContainer::kNormalColour);
  EXPECT_EQ(runs[1].location, 9);
  EXPECT_EQ(runs[1].length, 2);
  EXPECT_EQ(runs[1].colour, QueryContainer::kErrorColour);
  EXPECT_EQ(styled.styleQueryString(false).size(), 1u);
}

TEST(QueryEditor, RewritesTheCommandArea) {
  test::TempHome home;
  QueryEditor editor("  report budget \t: whatever");
  EXPECT_EQ(editor.preCommandsQueryPortion(), "report budget");
  EXPECT_EQ(QueryEditor("plain words ").preCommandsQueryPortion(), "plain words");
  auto veto = std::make_shared<stand_in::Veto>();
  EXPECT_EQ(editor.insert(veto, false), "report budget : veto");
  EXPECT_EQ(editor.insert(veto, true), "report budget : veto **x**");
  EXPECT_EQ(editor.remove(*veto), "report budget");
  auto other = std::make_shared<stand_in::CaseSensitive>();
  EXPECT_EQ(QueryEditor::commandsString({other, veto}, veto.get()), ": case sensitive veto **x**");
  EXPECT_EQ(QueryEditor::commandsString({}), "");
}

}  // namespace
}  // namespace velmora
