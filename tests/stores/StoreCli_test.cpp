// `velmora prefs`, `velmora history` and `velmora remember` as a user runs them.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "support/TempHome.h"

namespace velmora::test {

class StoreCliTest : public ::testing::Test {
 protected:
  CommandOutput run(const std::string& arguments) {
    return runCommand(shellQuote(programPath("velmora").string()) + " " + arguments + " 2>&1");
  }
  nlohmann::json prefsFile() const { return nlohmann::json::parse(readFile(home.path() / "preferences.json")); }
  std::string velmora() const { return shellQuote(programPath("velmora").string()); }
  // Runs a shell script in a private mount namespace (as root of a user
  // namespace); "$0" is velmora.
  CommandOutput inPrivateMounts(const std::string& script) {
    return runCommand("unshare -rm sh -c " + shellQuote(script) + " " + velmora() + " 2>&1");
  }
  static bool privateMountsWork() { return runCommand("unshare -rm true 2>/dev/null").status == 0; }
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
  auto infinite = run("prefs set iconSizeSlider inf");
  EXPECT_EQ(infinite.status, 2);
  EXPECT_NE(infinite.out.find("takes a number from 16 to 1024, not \"inf\""), std::string::npos) << infinite.out;
  auto negative = run("prefs set historyMaxCount -5");
  EXPECT_EQ(negative.status, 2);
  EXPECT_NE(negative.out.find("takes a whole number from 0 to 1000, not \"-5\""), std::string::npos);
  EXPECT_EQ(run("prefs set updateCachesEvery 5").status, 2);
  EXPECT_FALSE(std::filesystem::exists(home.path() / "preferences.json"));
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

TEST_F(StoreCliTest, NamesThatAreNotUTF8RoundTrip) {
  auto folder = home.tree("caf\xE9 \xFF");
  auto named = run("remember good " + shellQuote(folder.string()));
  EXPECT_EQ(named.status, 0) << named.out;
  EXPECT_EQ(named.out, "good\t" + folder.string() + "\n");
  auto byName = run("remember " + shellQuote(folder.string()));
  EXPECT_EQ(byName.status, 0) << byName.out;
  EXPECT_EQ(byName.out, "caf\xE9 \xFF\t" + folder.string() + "\n");
  EXPECT_EQ(run("prefs set lastSearchlocationPopupSelectedItemName " + shellQuote("\xFF")).status, 0);
  EXPECT_EQ(run("prefs set historyMaxCount " + shellQuote("\xFF")).status, 2);

  auto stored = prefsFile();  // strict JSON: it parses
  EXPECT_EQ(stored["RememberedFolders"].size(), 3u);
  EXPECT_EQ(run("prefs get lastSearchlocationPopupSelectedItemName").out, "\xFF\n");
  auto list = run("remember --list").out;
  EXPECT_NE(list.find("good\t" + folder.string() + "\n"), std::string::npos);
  EXPECT_NE(list.find("caf\xE9 \xFF\t" + folder.string() + "\n"), std::string::npos);
  EXPECT_EQ(run("remember --forget " + shellQuote("caf\xE9 \xFF")).status, 0);
}

TEST_F(StoreCliTest, DamageIsReportedOnStandardErrorOnly) {
  writeFile(home.path() / "preferences.json", "{\"x\": " + std::string(100000, '[') + std::string(100000, ']') + "}");
  auto got = runCommand(velmora() + " prefs get historyMaxCount 2>/dev/null");
  EXPECT_EQ(got.status, 0);
  EXPECT_EQ(got.out, "20\n");  // no log line among the output
  EXPECT_TRUE(std::filesystem::exists(home.path() / "preferences.json.damaged-1"));
  writeFile(home.path() / "preferences.json", "{\"x\": " + std::string(100000, '[') + std::string(100000, ']') + "}");
  EXPECT_EQ(run("prefs set historyMaxCount 5").status, 0);
  EXPECT_TRUE(std::filesystem::exists(home.path() / "preferences.json.damaged-2"));
  EXPECT_EQ(prefsFile()["historyMaxCount"], 5);
}

TEST_F(StoreCliTest, AFileThatCannotBeReadIsReportedNotReplaced) {
  const std::string settings = R"({"hoverPreviews": true, "listTextSize": 14})";
  writeFile(home.path() / "preferences.json", settings);
  ::chmod((home.path() / "preferences.json").c_str(), 0600);
  std::string as;
  if (::geteuid() == 0) {
    // Root reads every file; an ordinary user does not.
    if (runCommand("setpriv --reuid=65534 --regid=65534 --clear-groups true 2>/dev/null").status != 0)
      GTEST_SKIP() << "setpriv cannot drop to an ordinary user here";
    ::chmod(home.path().c_str(), 0755);
    as = "setpriv --reuid=65534 --regid=65534 --clear-groups ";
  } else {
    ::chmod((home.path() / "preferences.json").c_str(), 0);
  }
  auto got = runCommand(as + velmora() + " prefs get hoverPreviews 2>&1");
  EXPECT_EQ(got.status, 1);
  EXPECT_NE(got.out.find("Permission denied"), std::string::npos) << got.out;
  auto set = runCommand(as + velmora() + " prefs set historyMaxCount 7 2>&1");
  EXPECT_EQ(set.status, 1);
  EXPECT_NE(set.out.find("not saved"), std::string::npos) << set.out;
  ::chmod((home.path() / "preferences.json").c_str(), 0600);
  EXPECT_EQ(readFile(home.path() / "preferences.json"), settings);
  EXPECT_FALSE(std::filesystem::exists(home.path() / "preferences.json.damaged-1"));
}

TEST_F(StoreCliTest, TwentyConcurrentSetsKeepEveryChange) {
  std::vector<std::string> keys;
  for (const auto& line : {"dateCreatedIsVisible", "showAppsFoundAnywhere", "sidebarShouldShowHistory",
                           "sidebarShouldShowPopular", "allowNetworkSearches", "diskCatalogCaching",
                           "fileContentCaching", "fileContentCachingAskToAdd", "hoverPreviews",
                           "quitAfterLastSearchWindowGone", "fileContentCachingTimeUpdatesEnabled",
                           "moveItemsStartingWithQueryToTop", "firstIgnoreItemsLoad", "useFinderKindField",
                           "moveFoldersToTop", "startSearchesAutomatically", "searchInsideSystemAndApps",
                           "rankInVisible", "SearchAllFileTypes", "bringToFrontHotKey"})
    keys.push_back(line);
  std::string script;
  for (const auto& key : keys) script += velmora() + " prefs set " + key + " true & ";
  auto all = runCommand(script + "wait");
  auto stored = prefsFile();
  std::size_t kept = 0;
  for (const auto& key : keys) kept += stored.value(key, false) ? 1 : 0;
  EXPECT_EQ(kept, keys.size()) << stored.dump();
}

TEST_F(StoreCliTest, ReadOnlyHomeOrFullDiskIsAnErrorAndLosesNothing) {
  if (!privateMountsWork()) GTEST_SKIP() << "no private mount namespaces here (unshare -rm is not allowed)";
  auto folder = home.tree("folder");
  ASSERT_EQ(run("remember work " + shellQuote(folder.string())).status, 0);
  ASSERT_EQ(run("prefs set hoverPreviews true").status, 0);
  std::string before = readFile(home.path() / "preferences.json");

  const std::string readOnly =
      "mount --bind \"$VELMORA_HOME\" \"$VELMORA_HOME\" && mount -o remount,bind,ro \"$VELMORA_HOME\" && ";
  for (const std::string& arguments : {"remember other \"$VELMORA_HOME\"", "remember --forget work",
                                       "prefs reset hoverPreviews", "prefs set historyMaxCount 5",
                                       "history --clear"}) {
    auto out = inPrivateMounts(readOnly + "\"$0\" " + arguments);
    EXPECT_EQ(out.status, 1) << arguments << ": " << out.out;
    EXPECT_NE(out.out.find("Read-only file system"), std::string::npos) << arguments << ": " << out.out;
  }
  // Bounded, so that a serve that wrongly runs without its lock fails the test.
  auto serve = inPrivateMounts(readOnly + "timeout 20 \"$0\" serve </dev/null");
  EXPECT_EQ(serve.status, 1) << serve.out;
  EXPECT_NE(serve.out.find("not started"), std::string::npos) << serve.out;
  EXPECT_EQ(readFile(home.path() / "preferences.json"), before);

  // A full disk: a small file system over the home, filled up.
  auto full = inPrivateMounts(
      "mount -t tmpfs -o size=256k tmpfs \"$VELMORA_HOME\" && mkdir \"$VELMORA_HOME/a\" \"$VELMORA_HOME/b\" && "
      "\"$0\" remember first \"$VELMORA_HOME/a\" >/dev/null && "
      "{ dd if=/dev/zero of=\"$VELMORA_HOME/fill\" bs=4096 2>/dev/null; true; } && "
      "\"$0\" remember second \"$VELMORA_HOME/b\"; echo \"exit $?\"; \"$0\" remember --list");
  EXPECT_NE(full.out.find("No space left on device"), std::string::npos) << full.out;
  EXPECT_NE(full.out.find("exit 1\n"), std::string::npos) << full.out;
  EXPECT_NE(full.out.find("first\t"), std::string::npos) << full.out;
  EXPECT_EQ(full.out.find("second\t"), std::string::npos) << full.out;
}

}  // namespace velmora::test
