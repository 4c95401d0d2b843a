// Runs `velmora search` on generated trees and holds its answers against
// what find(1) reports under the same rules: a case-insensitive part of the
// name, no hidden entries, no links, not into another file system.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <fcntl.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <set>

#include "common/JSONText.h"
#include "support/OrdinaryTemp.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using test::runCommand;
using test::shellQuote;

using test::OrdinaryTemp;

std::string velmora() { return shellQuote(test::programPath("velmora").string()); }

// Permissions mean nothing to root: an unreadable folder is only unreadable
// to an ordinary user, so as root both programs run as "nobody".
std::string asOrdinaryUser() {
  if (::getuid() != 0 || runCommand("command -v setpriv >/dev/null").status != 0) return {};
  return "setpriv --reuid=65534 --regid=65534 --clear-groups ";
}

struct Answer {
  int status = -1;
  std::set<std::string> paths;
};

Answer search(const std::string& arguments) {
  auto run = runCommand(asOrdinaryUser() + velmora() + " search --json " + arguments + " 2>/dev/null");
  Answer answer{run.status, {}};
  std::size_t start = 0;
  while (start < run.out.size()) {
    auto end = run.out.find('\n', start);
    auto line = run.out.substr(start, end - start);
    start = end == std::string::npos ? run.out.size() : end + 1;
    auto json = nlohmann::json::parse(line, nullptr, false);
    EXPECT_FALSE(json.is_discarded()) << line;
    if (json.is_discarded()) continue;
    // A path that is not UTF-8 comes escaped and marked; its bytes are the
    // file's own.
    auto path = json["path"].get<std::string>();
    if (json.value("pathEscaped", false)) path = JSONText::unescaped(path);
    answer.paths.insert(path);
  }
  return answer;
}

// find's answer, names as raw bytes.
std::set<std::string> find(const fs::path& root, const std::string& test, const std::string& extra = {}) {
  auto run = runCommand("LC_ALL=C " + asOrdinaryUser() + "find " + shellQuote(root.string()) + " -mindepth 1 " + extra +
                        " \\( -name '.*' -prune \\) -o \\( -type f -o -type d \\) " + test + " -print0 2>/dev/null");
  std::set<std::string> paths;
  std::size_t start = 0;
  while (start < run.out.size()) {
    auto end = run.out.find('\0', start);
    paths.insert(run.out.substr(start, end - start));
    start = end + 1;
  }
  return paths;
}

struct Tree {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("T");
  Tree() {
    for (const char* file :
         {"Report.txt", "docs/annual report 2024.pdf", "docs/deep/er/est/REPORTS.csv", "docs/deep/draft report.txt",
          "docs/alpha one", "beta/two", "beta/alphabeta", ".hidden/report.txt", ".report-notes", "docs/.report",
          "caf\xC3\xA9/r\xC3\xA9port report", "bad/report\xFF\xFE.bin", "line\nbreak/report\nnewline",
          "locked report/inside report", "reporting/x"})
      test::writeFile(root / file, "data");
    fs::create_directory_symlink(root / "docs", root / "report-link-dir");
    fs::create_symlink(root / "Report.txt", root / "report-link-file");
    fs::permissions(root / "locked report", fs::perms::none);
    fs::permissions(home.path(), fs::perms::owner_all | fs::perms::group_read | fs::perms::group_exec |
                                     fs::perms::others_read | fs::perms::others_exec);
  }
};

TEST(SearchCli, NameSearchMatchesFind) {
  Tree tree;
  auto answer = search("report --in " + shellQuote(tree.root.string()));
  EXPECT_EQ(answer.status, 0);
  auto expected = find(tree.root, "-iname '*report*'");
  EXPECT_EQ(answer.paths, expected);
  EXPECT_GE(expected.size(), 9u);
  EXPECT_FALSE(answer.paths.count((tree.root / "report-link-dir").string()));
  if (!asOrdinaryUser().empty() || ::getuid() != 0)
    EXPECT_FALSE(answer.paths.count((tree.root / "locked report/inside report").string()));

  // Or-groups, a negative word, wildcards.
  EXPECT_EQ(search("alpha OR two --in " + shellQuote(tree.root.string())).paths,
            find(tree.root, "\\( -iname '*alpha*' -o -iname '*two*' \\)"));
  EXPECT_EQ(search("'report -draft' --in " + shellQuote(tree.root.string())).paths,
            find(tree.root, "-iname '*report*' ! -iname '*draft*'"));
  EXPECT_EQ(search("'rep*' --in " + shellQuote(tree.root.string())).paths, find(tree.root, "-iname 'rep*'"));
  EXPECT_EQ(search("'*.txt' --in " + shellQuote(tree.root.string())).paths, find(tree.root, "-iname '*.txt'"));
}

TEST(SearchCli, LocationsExitStatusAndFinalLine) {
  Tree tree;
  std::string in = " --in " + shellQuote(tree.root.string());
  EXPECT_EQ(search("nothing-like-this" + in).status, 1);
  auto missing = runCommand(velmora() + " search report --in " + shellQuote((tree.root / "gone").string()) + " 2>&1");
  EXPECT_EQ(missing.status, 2);
  EXPECT_NE(missing.out.find((tree.root / "gone").string()), std::string::npos) << missing.out;
  EXPECT_EQ(runCommand(velmora() + " search 2>/dev/null").status, 2);
  EXPECT_EQ(runCommand(velmora() + " search x --home --all-disks 2>/dev/null").status, 2);

  auto plain = runCommand(velmora() + " search alphabeta" + in + " 2>&1");
  EXPECT_EQ(plain.out, (tree.root / "beta/alphabeta").string() + "\n1 item found. Search complete.\n");
  auto limited = runCommand(velmora() + " search report --limit 2" + in + " 2>/dev/null");
  EXPECT_EQ(std::count(limited.out.begin(), limited.out.end(), '\n'), 2);

  // A folder inside an invisible one is searched as the user asked, and
  // then hidden entries below it are found too.
  auto hidden = search("report --in " + shellQuote((tree.root / ".hidden").string()));
  EXPECT_EQ(hidden.paths, (std::set<std::string>{(tree.root / ".hidden/report.txt").string()}));
  auto system = search("report --system" + in);
  EXPECT_TRUE(system.paths.count((tree.root / ".report-notes").string()));

  // The home preset is the default location.
  auto home = runCommand("HOME=" + shellQuote((tree.root / "docs").string()) + " " + velmora() +
                         " search --json annual 2>/dev/null");
  EXPECT_NE(home.out.find("annual report 2024.pdf"), std::string::npos) << home.out;
}

// A query may begin with "-" (a word that must not be in the name), before
// or after the options, and everything after "--" is query text; unknown
// long options stay usage errors. The empty query is legal for explain.
TEST(SearchCli, QueriesThatStartWithADash) {
  OrdinaryTemp temp;
  test::TempHome home;
  auto root = fs::path(::testing::TempDir()) / "dash";
  fs::remove_all(root);
  fs::create_directories(root / "sub");
  for (const char* name : {"report.txt", "draft-report.txt", "sub/-x report.txt"}) test::writeFile(root / name);
  const std::string in = shellQuote(root.string());
  const std::set<std::string> notDraft{(root / "report.txt").string(), (root / "sub/-x report.txt").string()};
  EXPECT_EQ(search(shellQuote("-draft report") + " --in " + in).paths, notDraft);
  EXPECT_EQ(search("--in " + in + " " + shellQuote("-draft report")).paths, notDraft);
  EXPECT_EQ(search("--in " + in + " report -draft").paths, notDraft);
  EXPECT_EQ(search("--in " + in + " -- " + shellQuote("-draft report")).paths, notDraft);
  // Quoted, "-x" is a word to find, not one to leave out.
  EXPECT_EQ(search("--in " + in + " -- " + shellQuote("\"-x\"")).paths,
            (std::set<std::string>{(root / "sub/-x report.txt").string()}));
  EXPECT_EQ(runCommand(velmora() + " search --in " + in + " --lmit 3 report 2>/dev/null").status, 2);

  auto empty = runCommand(velmora() + " explain '' 2>&1");
  EXPECT_EQ(empty.status, 0) << empty.out;
  EXPECT_NE(empty.out.find("Word-based search: no"), std::string::npos) << empty.out;
  EXPECT_EQ(runCommand(velmora() + " explain 2>/dev/null").status, 2);
  auto dashed = runCommand(velmora() + " explain -- -draft report");
  EXPECT_NE(dashed.out.find("Query: -draft report"), std::string::npos) << dashed.out;
  fs::remove_all(root);
}

// Makes `levels` nested folders named `name` below `root` by descriptor
// (no path that long can be named) and a file at the bottom.
void makeDeepTree(const fs::path& root, const std::string& name, int levels, const char* file) {
  int fd = ::open(root.c_str(), O_RDONLY | O_DIRECTORY);
  for (int i = 0; i < levels && fd >= 0; ++i) {
    ASSERT_EQ(::mkdirat(fd, name.c_str(), 0700), 0);
    int next = ::openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
    ::close(fd);
    fd = next;
  }
  ASSERT_GE(fd, 0);
  ::close(::openat(fd, file, O_CREAT | O_WRONLY, 0600));
  ::close(fd);
}

TEST(SearchCli, TreesDeeperThanPathMaxAreWalkedToTheBottom) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("long");
  test::writeFile(root / "shallow report");
  // Twenty folders of 250 characters, and 2,000 levels of short names: both
  // deeper than any path one system call takes.
  makeDeepTree(root, std::string(250, 'd'), 20, "wide deep report");
  makeDeepTree(root, "lvl", 2000, "narrow deep report");
  auto run = runCommand(velmora() + " search report --in " + shellQuote(root.string()) + " 2>&1");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("shallow report\n"), std::string::npos);
  EXPECT_NE(run.out.find("/wide deep report\n"), std::string::npos);
  auto narrow = run.out.find("/narrow deep report\n");
  ASSERT_NE(narrow, std::string::npos);
  auto lineStart = run.out.rfind('\n', narrow) + 1;
  std::string expected = root.string();
  for (int i = 0; i < 2000; ++i) expected += "/lvl";
  EXPECT_EQ(run.out.substr(lineStart, narrow - lineStart), expected);
  EXPECT_NE(run.out.find("3 items found. Search complete."), std::string::npos) << run.out.substr(run.out.size() - 200);
  runCommand("rm -rf " + shellQuote(root.string()));
}

TEST(SearchCli, NamesThatAreNotUTF8AreEnteredAndPrintedByTheirBytes) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("bytes");
  std::string folder = root.string() + "/caf\xE9 \xFF";
  test::writeFile(folder + "/report inside");
  test::writeFile(root / "esc\x1B[2Jreport");
  for (const auto& open : {home.path(), root, fs::path(folder)})
    fs::permissions(open, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
  std::string in = " --in " + shellQuote(root.string());
  // Plain output to a pipe: the bytes as they are, as find prints them.
  auto plain = runCommand(velmora() + " search report" + in + " 2>/dev/null");
  EXPECT_EQ(plain.status, 0);
  EXPECT_NE(plain.out.find(folder + "/report inside\n"), std::string::npos) << plain.out;
  EXPECT_NE(plain.out.find("esc\x1B[2Jreport\n"), std::string::npos);
  // JSON: the escaped form, marked, which gives the bytes back.
  auto json = runCommand(velmora() + " search --json report" + in + " 2>/dev/null");
  EXPECT_EQ(json.status, 0);
  EXPECT_NE(json.out.find("\"pathEscaped\":true"), std::string::npos) << json.out;
  EXPECT_EQ(search("report" + in).paths,
            (std::set<std::string>{folder + "/report inside", root.string() + "/esc\x1B[2Jreport"}));
  // A terminal gets control characters and stray bytes made visible.
  if (runCommand("script -qec true /dev/null >/dev/null 2>&1").status == 0) {
    auto shown = runCommand("script -qec " + shellQuote(velmora() + " search report" + in + " 2>/dev/null") +
                            " /dev/null");
    EXPECT_NE(shown.out.find("esc\\e[2Jreport"), std::string::npos) << shown.out;
    EXPECT_NE(shown.out.find("caf\\xE9 \\xFF/report inside"), std::string::npos) << shown.out;
    EXPECT_EQ(shown.out.find('\x1B'), std::string::npos);
  }
}

TEST(SearchCli, SortComesBeforeTheLimitAndFollowsThePreferences) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("sizes");
  for (int i = 1; i <= 6; ++i) test::writeFile(root / ("file " + std::to_string(i)), std::string(i * 100, 'x'));
  fs::create_directory(root / "zz file folder");
  test::writeFile(root / "b" / "file-starting", "x");
  std::string in = " --in " + shellQuote(root.string());
  auto largest = runCommand(velmora() + " search file --sort size --reverse --limit 3" + in + " 2>/dev/null");
  EXPECT_EQ(largest.out, root.string() + "/file 6\n" + root.string() + "/file 5\n" + root.string() + "/file 4\n");
  auto all = runCommand(velmora() + " search file --limit 0" + in + " 2>/dev/null");
  EXPECT_EQ(std::count(all.out.begin(), all.out.end(), '\n'), 8);

  // The window's order: folders first, then names starting with the query.
  ASSERT_EQ(runCommand(velmora() + " prefs set moveFoldersToTop true >/dev/null 2>&1").status, 0);
  ASSERT_EQ(runCommand(velmora() + " prefs set moveItemsStartingWithQueryToTop true >/dev/null 2>&1").status, 0);
  auto ordered = runCommand(velmora() + " search file --sort name --limit 3" + in + " 2>/dev/null");
  EXPECT_EQ(ordered.out, root.string() + "/zz file folder\n" + root.string() + "/file 1\n" + root.string() +
                             "/file 2\n");
}

TEST(SearchCli, OutputThatCannotBeWrittenIsAnError) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("out");
  for (int i = 0; i < 300; ++i) test::writeFile(root / ("report " + std::string(60, 'r') + std::to_string(i)));
  std::string command = velmora() + " search report --in " + shellQuote(root.string());
  auto direct = runCommand("sh -c " + shellQuote(command + " >/dev/full") + " 2>&1; echo \"status=$?\"");
  EXPECT_NE(direct.out.find("cannot write the results"), std::string::npos) << direct.out;
  EXPECT_NE(direct.out.find("status=2"), std::string::npos) << direct.out;
  EXPECT_EQ(direct.out.find("Search complete"), std::string::npos);
  auto closed = runCommand("sh -c " + shellQuote(command + " >&-") + " 2>&1; echo \"status=$?\"");
  EXPECT_NE(closed.out.find("standard output is closed"), std::string::npos) << closed.out;
  EXPECT_NE(closed.out.find("status=2"), std::string::npos);
  // A disk that fills up part of the way through.
  if (runCommand("unshare -rm true 2>/dev/null").status == 0) {
    fs::create_directory(root / "small");
    std::string script = "mount -t tmpfs -o size=8k none " + shellQuote((root / "small").string()) + " && " +
                         command + " >" + shellQuote((root / "small/out").string()) + " 2>&1; echo \"status=$?\"";
    auto small = runCommand("unshare -rm sh -c " + shellQuote(script) + " 2>&1");
    EXPECT_NE(small.out.find("status=2"), std::string::npos) << small.out;
  }
}

TEST(SearchCli, AStoppedSearchSaysSoWithTheShellsStatus) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("stop");
  // More output than a pipe holds, so the search is still writing when the
  // reader has taken its first line and sends the signal.
  for (int i = 0; i < 3000; ++i) test::writeFile(root / ("report " + std::string(100, 'r') + std::to_string(i)));
  for (auto [signal, status] : {std::pair{"INT", 130}, std::pair{"TERM", 143}}) {
    std::string script = "fifo=" + shellQuote((home.path() / "fifo").string()) + "; rm -f \"$fifo\"; mkfifo \"$fifo\"; " +
                         velmora() + " search report --in " + shellQuote(root.string()) +
                         " >\"$fifo\" 2>" + shellQuote((home.path() / "err").string()) + " & pid=$!; " +
                         "{ read -r line; kill -" + signal + " $pid; cat >/dev/null; } <\"$fifo\"; wait $pid; echo $?";
    auto run = runCommand("sh -c " + shellQuote(script));
    EXPECT_EQ(run.out, std::to_string(status) + "\n") << signal;
    auto err = test::readFile(home.path() / "err");
    EXPECT_NE(err.find("Search stopped"), std::string::npos) << err;
    EXPECT_EQ(err.find("Search complete"), std::string::npos) << err;
  }
}

TEST(SearchCli, SeveralDisksInOneSearchAndAFolderThatCannotBeRead) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("disks");
  test::writeFile(root / "report outside");
  fs::create_directory(root / "disk");
  // The folder that cannot be read is told about, and the search goes on.
  fs::create_directory(root / "closed");
  fs::permissions(root / "closed", fs::perms::none);
  if (!asOrdinaryUser().empty())
    fs::permissions(home.path(), fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
  if (::getuid() != 0 || !asOrdinaryUser().empty()) {
    fs::permissions(root, fs::perms::owner_all | fs::perms::others_read | fs::perms::others_exec);
    auto run = runCommand(asOrdinaryUser() + velmora() + " search report --in " + shellQuote(root.string()) +
                          " --in " + shellQuote((root / "closed").string()) + " 2>&1");
    EXPECT_NE(run.out.find((root / "closed").string() + ": cannot be read"), std::string::npos) << run.out;
    EXPECT_NE(run.out.find("report outside"), std::string::npos);
  }

  // A second file system below the first folder: the walk of the folder
  // stays out of it, the walk of the disk itself goes in. An ext4 image
  // where loop devices may be used, else a tmpfs in a user namespace.
  fs::path image = home.path() / "disk.img";
  fs::path content = home.path() / "content";
  test::writeFile(content / "inner/report on disk");
  std::string disk = shellQuote((root / "disk").string());
  std::string search = velmora() + " search report --in " + shellQuote(root.string()) + " --in " + disk + " 2>/dev/null";
  std::string run;
  if (::getuid() == 0 &&
      runCommand("truncate -s 8M " + shellQuote(image.string()) + " && mkfs.ext4 -q -d " + shellQuote(content.string()) +
                 " " + shellQuote(image.string()) + " >/dev/null 2>&1")
              .status == 0 &&
      runCommand("unshare -m sh -c " + shellQuote("mount -o loop " + shellQuote(image.string()) + " " + disk) +
                 " 2>/dev/null")
              .status == 0) {
    run = "unshare -m sh -c " + shellQuote("mount -o loop " + shellQuote(image.string()) + " " + disk + " && " + search);
  } else if (runCommand("unshare -rm true 2>/dev/null").status == 0) {
    run = "unshare -rm sh -c " + shellQuote("mount -t tmpfs none " + disk + " && mkdir " + disk + "/inner && touch " +
                                            disk + "/inner/'report on disk' && " + search);
  } else {
    GTEST_SKIP() << "no mount namespace here (unshare -m with a loop device and unshare -rm both fail)";
  }
  auto found = runCommand(run);
  EXPECT_EQ(found.status, 0) << found.out;
  EXPECT_NE(found.out.find("report outside\n"), std::string::npos) << found.out;
  EXPECT_NE(found.out.find((root / "disk/inner/report on disk").string() + "\n"), std::string::npos) << found.out;
}

TEST(SearchCli, OpenURLSearchesEveryLocationOfTheLink) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("links");
  test::writeFile(root / "a/report one");
  test::writeFile(root / "b/report two");
  std::string url = "velmora:report?location=" + (root / "a").string() + "&location=" + (root / "b").string();
  auto run = runCommand(velmora() + " open-url " + shellQuote(url) + " 2>/dev/null");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("a/report one\n"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("b/report two\n"), std::string::npos) << run.out;
}

TEST(SearchCli, DoesNotCrossIntoAnotherFileSystem) {
  if (runCommand("unshare -rm true 2>/dev/null").status != 0)
    GTEST_SKIP() << "no unprivileged mount namespace here (unshare -rm fails)";
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("mounts");
  test::writeFile(root / "report outside");
  fs::create_directory(root / "report mount");
  std::string script = "mount -t tmpfs none " + shellQuote((root / "report mount").string()) + " && touch " +
                       shellQuote((root / "report mount/report inside").string()) + " && " + velmora() +
                       " search --json report --in " + shellQuote(root.string()) + " 2>/dev/null";
  auto run = runCommand("unshare -rm sh -c " + shellQuote(script));
  EXPECT_EQ(run.status, 0) << run.out;
  EXPECT_NE(run.out.find("report outside"), std::string::npos);
  EXPECT_NE(run.out.find("report mount\""), std::string::npos);  // the mount point itself is an entry
  EXPECT_EQ(run.out.find("report inside"), std::string::npos) << run.out;
}

}  // namespace
}  // namespace velmora
