#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "support/TempHome.h"

namespace velmora {
namespace {

nlohmann::json explain(const std::string& args) {
  auto run = test::runCommand(test::shellQuote(test::programPath("velmora").string()) + " explain --json " + args);
  EXPECT_EQ(run.status, 0) << args;
  auto json = nlohmann::json::parse(run.out, nullptr, false);
  EXPECT_FALSE(json.is_discarded()) << run.out;
  return json;
}

TEST(ExplainCli, ShowsHowQueriesAreUnderstood) {
  test::TempHome home;
  auto q = explain(test::shellQuote("-draft Report* OR \"big OR\" : zzqx"));
  std::vector<std::string> keys;
  for (auto& [key, value] : q.items()) keys.push_back(key);
  for (const char* key : {"baseString", "allWords", "searchWords", "searchWordsOriginalCase", "orStringGroups",
                          "includesORStatement", "isWordBasedSearch", "isORCommandSearch", "commandsFoundInQuery",
                          "allRecoginsedParts", "unusedCommandAreaWords", "invalidCommandAreaWords",
                          "querySearchArguments", "searchWordsHighlightStrings"})
    EXPECT_NE(std::find(keys.begin(), keys.end(), key), keys.end()) << key;

  EXPECT_EQ(q["searchWords"], nlohmann::json({"report", "big or"}));
  EXPECT_EQ(q["searchWordsOriginalCase"], nlohmann::json({"Report", "big OR"}));
  EXPECT_EQ(q["orStringGroups"], nlohmann::json({{"report"}, {"big or"}}));
  EXPECT_TRUE(q["includesORStatement"]);
  EXPECT_FALSE(q["isORCommandSearch"]);
  EXPECT_EQ(q["querySearchArguments"]["word"], "report");
  EXPECT_TRUE(q["querySearchArguments"]["checkPathForResults"]);
  ASSERT_EQ(q["commandsFoundInQuery"].size(), 2u);
  EXPECT_EQ(q["commandsFoundInQuery"][0]["type"], "NotIncludingWords");
  EXPECT_EQ(q["commandsFoundInQuery"][1]["type"], "WildcardWords");
  const auto& report = q["allWords"][1];
  EXPECT_EQ(report["textOriginalCase"], "Report");
  EXPECT_EQ(report["position"]["lowerBound"], 7);
  EXPECT_EQ(report["position"]["upperBound"], 13);
  EXPECT_EQ(report["wildcard"], "prefix");
  EXPECT_TRUE(q["allWords"][3]["wasInQuotes"]);
  ASSERT_EQ(q["unusedCommandAreaWords"].size(), 1u);
  EXPECT_EQ(q["unusedCommandAreaWords"][0]["textLowered"], "zzqx");
  EXPECT_TRUE(q["unusedCommandAreaWords"][0]["isAfterAColon"]);

  auto trailing = explain("a b OR");  // several arguments make one query
  EXPECT_EQ(trailing["baseString"], "a b OR");
  EXPECT_TRUE(trailing["isORCommandSearch"]);
  EXPECT_TRUE(trailing["isWordBasedSearch"]);

  auto onlyNegative = explain("-- -x");
  EXPECT_FALSE(onlyNegative["isWordBasedSearch"]);
  EXPECT_TRUE(onlyNegative["searchWords"].empty());

  auto text = test::runCommand(test::shellQuote(test::programPath("velmora").string()) + " explain 'a OR b'");
  EXPECT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("OR groups: (\"a\") (\"b\")"), std::string::npos) << text.out;
  auto none = test::runCommand(test::shellQuote(test::programPath("velmora").string()) + " explain 2>/dev/null");
  EXPECT_EQ(none.status, 2);
}

TEST(ExplainCli, AQueryThatIsNotUTF8GivesJSONWithTheEscapedForm) {
  test::TempHome home;
  auto q = explain("$(printf 'caf\\351 \\377')");
  ASSERT_TRUE(q.is_object());
  EXPECT_NE(q.dump().find("\\\\xFF"), std::string::npos) << q.dump();
}

}  // namespace
}  // namespace velmora
