// Runs `velmora search` on generated trees and holds its answers against
// what find(1) reports under the same rules: a case-insensitive part of the
// name, no hidden entries, no links, not into another file system.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <fcntl.h>
#include <unistd.h>

#include <nlohmann/json.hpp>
#include <set>

#include "common/SharedAdditions.h"
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
    if (!json.is_discarded()) answer.paths.insert(json["path"].get<std::string>());
  }
  return answer;
}

// find's answer, names repaired to UTF-8 as the crawl repairs them.
std::set<std::string> find(const fs::path& root, const std::string& test, const std::string& extra = {}) {
  auto run = runCommand("LC_ALL=C " + asOrdinaryUser() + "find " + shellQuote(root.string()) + " -mindepth 1 " + extra +
                        " \\( -name '.*' -prune \\) -o \\( -type f -o -type d \\) " + test + " -print0 2>/dev/null");
  std::set<std::string> paths;
  std::size_t start = 0;
  while (start < run.out.size()) {
    auto end = run.out.find('\0', start);
    paths.insert(SharedAdditions::repairedUTF8(run.out.substr(start, end - start)));
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

TEST(SearchCli, PathsBeyondPathMaxDoNotStopTheWalk) {
  OrdinaryTemp ordinary;
  test::TempHome home;
  fs::path root = home.tree("long");
  test::writeFile(root / "shallow report");
  // Twenty folders of 250 characters: deeper than any path may be named.
  int fd = ::open(root.c_str(), O_RDONLY | O_DIRECTORY);
  std::string name(250, 'd');
  for (int i = 0; i < 20 && fd >= 0; ++i) {
    ASSERT_EQ(::mkdirat(fd, name.c_str(), 0700), 0);
    int next = ::openat(fd, name.c_str(), O_RDONLY | O_DIRECTORY);
    ::close(fd);
    fd = next;
  }
  if (fd >= 0) {
    ::close(::openat(fd, "deep report", O_CREAT | O_WRONLY, 0600));
    ::close(fd);
  }
  auto run = runCommand(velmora() + " search report --in " + shellQuote(root.string()) + " 2>&1");
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("shallow report"), std::string::npos);
  EXPECT_NE(run.out.find("Search complete."), std::string::npos);
  std::error_code ignored;
  runCommand("rm -rf " + shellQuote(root.string()));
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
