// `velmora prefs`, `velmora history` and `velmora remember` as a user runs them.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/TempHome.h"

namespace velmora::test {

class StoreCliTest : public ::testing::Test {
 protected:
  CommandOutput run(const std::string& arguments) {
    return runCommand(shellQuote(programPath("velmora").string()) + " " + arguments + " 2>&1");
  }
  nlohmann::json prefsFile() const { return nlohmann::json::parse(readFile(home.path() / "preferences.json")); }
  TempHome home;
};

TEST_F(StoreCliTest, PrefsAreTypedByTheirDefaults) {
  EXPECT_EQ(run("prefs get historyMaxCount").out, "20\n");
  EXPECT_EQ(run("prefs get lastSearchlocationPopupSelectedItemName").out, "in home\n");
  EXPECT_EQ(run("prefs get startSearchesAutomatically").out, "false\n");  // no default: reads false

  auto wrong = run("prefs set historyMaxCount many");
  EXPECT_EQ(wrong.status, 2);
  EXPECT_NE(wrong.out.find("takes a whole number"), std::string::npos);
  auto unknown = run("prefs set historyMaxCunt 3");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_NE(unknown.out.find("unknown setting \"historyMaxCunt\""), std::string::npos);
  EXPECT_EQ(run("prefs set iconSizeSlider 1.5x").status, 2);
  EXPECT_EQ(run("prefs get").status, 2);

  EXPECT_EQ(run("prefs set historyMaxCount 5").status, 0);
  EXPECT_EQ(run("prefs set historyEnabled off").status, 0);
  EXPECT_EQ(run("prefs set iconSizeSlider 120.5").status, 0);
  EXPECT_EQ(run("prefs get historyMaxCount").out, "5\n");
  auto stored = prefsFile();
  EXPECT_EQ(stored["historyMaxCount"], 5);
  EXPECT_EQ(stored["historyEnabled"], false);
  EXPECT_EQ(stored["iconSizeSlider"], 120.5);
  EXPECT_EQ(stored.size(), 3u);  // defaults are never written back

  auto list = run("prefs list").out;
  EXPECT_NE(list.find("historyMaxCount = 5\n"), std::string::npos);
  EXPECT_NE(list.find("sizeIsVisible = true (default)\n"), std::string::npos);
  EXPECT_EQ(run("prefs reset historyMaxCount").status, 0);
  EXPECT_EQ(run("prefs get historyMaxCount").out, "20\n");
}

TEST_F(StoreCliTest, HistoryListsAndClears) {
  nlohmann::json history = nlohmann::json::array();
  history.push_back({{"id", "A"}, {"type", 0}, {"queryString", "older"}, {"performedDate", 1.0}});
  history.push_back({{"id", "B"}, {"type", 0}, {"queryString", "newer : today"}, {"performedDate", 2.0}});
  history.push_back("damaged entry");
  writeFile(home.path() / "preferences.json", nlohmann::json{{"history", history}}.dump());

  auto listed = run("history");
  EXPECT_EQ(listed.status, 0);
  EXPECT_EQ(listed.out, "older\nnewer : today\n");
  EXPECT_EQ(run("history --clear").status, 0);
  EXPECT_EQ(run("history").out, "");
  EXPECT_TRUE(prefsFile()["history"].empty());
}

TEST_F(StoreCliTest, RememberFolders) {
  auto a = home.tree("a/Projects");
  auto b = home.tree("b/Projects");
  EXPECT_EQ(run("remember " + shellQuote(a.string())).out, "Projects\t" + a.string() + "\n");
  EXPECT_EQ(run("remember " + shellQuote(b.string())).out, "Projects-b\t" + b.string() + "\n");
  EXPECT_EQ(run("remember work " + shellQuote(b.string())).status, 0);
  auto taken = run("remember work " + shellQuote(a.string()));
  EXPECT_EQ(taken.status, 1);
  EXPECT_NE(taken.out.find("already used"), std::string::npos);
  EXPECT_EQ(run("remember " + shellQuote((home.path() / "missing").string())).status, 1);

  auto list = run("remember --list").out;
  EXPECT_NE(list.find("Projects\t" + a.string() + "\n"), std::string::npos);
  EXPECT_NE(list.find("work\t" + b.string() + "\n"), std::string::npos);
  EXPECT_NE(list.find("Downloads\t"), std::string::npos);  // remembered on first use
  EXPECT_EQ(run("remember --forget work").status, 0);
  EXPECT_EQ(run("remember --forget work").status, 1);
  EXPECT_EQ(prefsFile()["RememberedFolders"].size(), 3u);
}

}  // namespace velmora::test
