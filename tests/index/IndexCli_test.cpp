// `velmora index add/list/update/remove` and `velmora search --in` through an
// index, run as a user would.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

std::string velmora() { return test::shellQuote(test::programPath("velmora").string()); }

test::CommandOutput run(const std::string& arguments) {
  return test::runCommand(velmora() + " " + arguments + " 2>&1");
}

TEST(IndexCli, AnIndexedFolderIsSearchedWhenItIsGone) {
  test::TempHome home;
  fs::path tree = home.tree("photos");
  for (int d = 0; d < 5; ++d)
    for (int f = 0; f < 20; ++f)
      test::writeFile(tree / ("album" + std::to_string(d)) / ("img" + std::to_string(f) + ".jpg"), "x");
  test::writeFile(tree / "album3/holiday.jpg", "x");
  test::writeFile(tree / "odd\nname.jpg", "x");
  std::string q = test::shellQuote(tree.string());

  auto added = run("index add " + q + " --name Photos --updates-every never");
  ASSERT_EQ(added.status, 0) << added.out;
  EXPECT_NE(added.out.find("101 items"), std::string::npos) << added.out;
  EXPECT_EQ(run("index add " + q).status, 2);  // one index per folder
  EXPECT_EQ(run("index add " + q + "/nowhere").status, 2);
  EXPECT_EQ(run("index add " + q + " --updates-every hourly --name T").status, 2);

  auto listed = test::runCommand(velmora() + " index list --json");
  ASSERT_EQ(listed.status, 0);
  auto list = nlohmann::json::parse(listed.out);
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0]["name"], "Photos");
  EXPECT_EQ(list[0]["target"], tree.string());
  EXPECT_EQ(list[0]["items"], 101);
  EXPECT_EQ(list[0]["updatesEvery"], "never");
  EXPECT_EQ(list[0]["targetPresent"], true);

  fs::rename(tree, home.path() / "unplugged");
  auto found = test::runCommand(velmora() + " search holiday --json --in " + q);
  ASSERT_EQ(found.status, 0) << found.out;
  auto result = nlohmann::json::parse(found.out.substr(0, found.out.find('\n')));
  EXPECT_EQ(result["path"], (tree / "album3/holiday.jpg").string());
  EXPECT_EQ(result["present"], false);
  EXPECT_EQ(test::runCommand(velmora() + " search img1 --in " + q + " | wc -l").out, "55\n");  // img1 and img10-19 in five albums
  EXPECT_EQ(test::runCommand(velmora() + " search nothing --in " + q).status, 1);
  EXPECT_EQ(test::runCommand(velmora() + " search x --in " + q + "-other 2>/dev/null").status, 2);

  auto update = run("index update Photos");
  EXPECT_EQ(update.status, 2);  // the folder is not there
  EXPECT_NE(update.out.find("is not there"), std::string::npos) << update.out;
  fs::rename(home.path() / "unplugged", tree);
  fs::remove_all(tree / "album0");
  ASSERT_EQ(run("index update Photos").status, 0);
  auto after = nlohmann::json::parse(test::runCommand(velmora() + " index list --json").out);
  EXPECT_EQ(after[0]["items"], 81);

  EXPECT_EQ(run("index remove Nope").status, 2);
  std::string file = after[0]["file"];
  ASSERT_EQ(run("index remove Photos").status, 0);
  EXPECT_TRUE(fs::exists(file));
  EXPECT_EQ(nlohmann::json::parse(test::runCommand(velmora() + " index list --json").out).size(), 0u);
  // The kept file comes back by adoption, as another user's would.
  auto adopted = run("index adopt " + test::shellQuote(file));
  ASSERT_EQ(adopted.status, 0) << adopted.out;
  EXPECT_EQ(nlohmann::json::parse(test::runCommand(velmora() + " index list --json").out)[0]["items"], 81);
  test::writeFile(home.path() / "junk.vlcache", "not an index");
  EXPECT_EQ(run("index adopt " + test::shellQuote((home.path() / "junk.vlcache").string())).status, 2);
}

TEST(IndexCli, TextIndexesFindDocumentsByTheirWords) {
  test::TempHome home;
  fs::path tree = home.tree("letters");
  test::writeFile(tree / "a.txt", "The cat sat on the mat");
  test::writeFile(tree / "sub/b.txt", "Concatenate these strings");
  test::writeFile(tree / "c.txt", "dog and cat");
  ASSERT_EQ(run("index add " + test::shellQuote(tree.string()) + " --mode text --name Letters").status, 0);
  auto lines = [](const std::string& arguments) {
    auto out = test::runCommand(velmora() + " index words Letters " + arguments + " | cut -f2 | sort").out;
    return out;
  };
  std::string t = tree.string();
  EXPECT_EQ(lines("CAT"), t + "/a.txt\n" + t + "/c.txt\n" + t + "/sub/b.txt\n");
  EXPECT_EQ(lines("cat --whole-words"), t + "/a.txt\n" + t + "/c.txt\n");
  EXPECT_EQ(lines("cat dog --all-words"), t + "/c.txt\n");
  EXPECT_EQ(lines("cat --without dog"), t + "/a.txt\n" + t + "/sub/b.txt\n");
  EXPECT_EQ(test::runCommand(velmora() + " index words Letters zebra").status, 1);
  EXPECT_EQ(test::runCommand(velmora() + " index words Nobody cat 2>/dev/null").status, 2);
}

TEST(IndexCli, AKilledBuildLeavesAnIndexThatTheNextUpdateCompletes) {
  test::TempHome home;
  fs::path tree = home.tree("big");
  for (int d = 0; d < 40; ++d)
    for (int f = 0; f < 100; ++f) test::writeFile(tree / ("d" + std::to_string(d)) / ("f" + std::to_string(f)), "");
  // The build is killed as soon as it reports its first thousand files.
  std::string fifo = (home.path() / "progress").string();
  auto killed = test::runCommand("mkfifo " + test::shellQuote(fifo) + " && (" + velmora() + " index add " +
                                 test::shellQuote(tree.string()) + " --name Big > " + test::shellQuote(fifo) +
                                 " 2>&1 & pid=$!; while IFS= read -r line; do case \"$line\" in *\"Cached 1\"*) kill -9 "
                                 "$pid; break;; esac; done < " + test::shellQuote(fifo) + "; wait $pid; echo $?)");
  EXPECT_EQ(killed.out, "137\n");
  auto listed = nlohmann::json::parse(test::runCommand(velmora() + " index list --json").out);
  ASSERT_EQ(listed.size(), 1u);
  auto inspected = test::runCommand(velmora() + " index inspect --json " + test::shellQuote(listed[0]["file"]));
  ASSERT_EQ(inspected.status, 0) << inspected.out;
  std::size_t partial = nlohmann::json::parse(inspected.out)["items"].size();
  EXPECT_LT(partial, 4040u);
  ASSERT_EQ(run("index update Big").status, 0);
  inspected = test::runCommand(velmora() + " index inspect --json " + test::shellQuote(listed[0]["file"]));
  EXPECT_EQ(nlohmann::json::parse(inspected.out)["items"].size(), 4040u);
}

}  // namespace
}  // namespace velmora
