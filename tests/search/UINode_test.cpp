#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

#include "search/results/ByteCountFormatter.h"
#include "search/results/SearchResultSort.h"
#include "search/results/UINode.h"
#include "search/results/UINodeSortable.h"
#include "support/OrdinaryTemp.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

UINodePtr node(const std::string& path, std::uint64_t size = 0, bool folder = false, std::int64_t mod = 0,
               std::int64_t rank = 0) {
  SearchResult r;
  r.path = path;
  r.size = size;
  r.isDirectory = folder;
  r.modDate = mod;
  r.creationDate = -mod;
  r.contentSearchResultsRank = rank;
  return std::make_shared<UINode>(r);
}

std::vector<std::string> names(const std::vector<UINodePtr>& nodes) {
  std::vector<std::string> out;
  for (const auto& n : nodes) out.push_back(n->displayName());
  return out;
}

std::vector<std::string> sorted(const std::vector<UINodePtr>& nodes, Column column, bool reversed,
                                SortOptions options = {}) {
  return names(UINode::sortNodes(nodes, column, reversed, options));
}

TEST(UINode, MadeFromAResultWithoutTouchingTheDisk) {
  auto file = node("/nowhere/Reports/Budget 2024.PDF", 1500);
  EXPECT_EQ(file->displayName(), "Budget 2024.PDF");
  EXPECT_EQ(file->displayInside, "Reports");
  EXPECT_EQ(file->displayTotalSize, "2 KB");
  EXPECT_EQ(file->displayKind(), "PDF document");
  EXPECT_EQ(file->lowercasedStem(), "budget 2024");
  EXPECT_EQ(file->kind(), UINode::Kind::file);
  auto folder = node("/nowhere/Projects", 999, true);
  EXPECT_EQ(folder->kind(), UINode::Kind::folder);
  EXPECT_EQ(folder->displayKind(), "Folder");
  EXPECT_EQ(folder->totalSize, 0u);
  // The shared package test: on Linux no folder is a package, whatever its name.
  EXPECT_EQ(node("/nowhere/Tool.app", 0, true)->kind(), UINode::Kind::folder);
  EXPECT_EQ(node("/nowhere/.bashrc")->displayKind(), "Document");
  EXPECT_EQ(node("/nowhere/notes.zzq")->displayKind(), "ZZQ file");
  // The desktop's descriptions, whatever the extension's case.
  EXPECT_EQ(node("/nowhere/photo.JPG")->displayKind(), "JPEG image");
  EXPECT_EQ(node("/nowhere/song.flac")->displayKind(), "FLAC audio");
  EXPECT_EQ(node("/nowhere/index.vlcache")->displayKind(), "Velmora index");
}

TEST(UINode, AnExpandedRowTakesCreatedFromTheBirthTime) {
  test::OrdinaryTemp ordinary;
  test::TempHome home;
  auto file = home.tree("born") / "file.txt";
  test::writeFile(file, "x");
  struct statx info {};
  ASSERT_EQ(::statx(AT_FDCWD, file.c_str(), 0, STATX_BTIME | STATX_CTIME, &info), 0);
  if (!(info.stx_mask & STATX_BTIME)) GTEST_SKIP() << "this file system keeps no birth time";
  // Every change of mode moves the change time on; repeat until it has left
  // the second of the birth (nothing else can set it).
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  for (int i = 0; info.stx_ctime.tv_sec == info.stx_btime.tv_sec; ++i) {
    ASSERT_LT(std::chrono::steady_clock::now(), deadline);
    ::chmod(file.c_str(), i % 2 ? 0600 : 0640);
    ::statx(AT_FDCWD, file.c_str(), 0, STATX_BTIME | STATX_CTIME, &info);
  }
  UINode row(file.string(), nullptr);
  EXPECT_EQ(row.creationDate, info.stx_btime.tv_sec);
}

TEST(ByteCountFormatter, DecimalUnitsWithAdaptiveDigits) {
  using ByteCountFormatter::stringFromByteCount;
  EXPECT_EQ(stringFromByteCount(0), "Zero KB");
  EXPECT_EQ(stringFromByteCount(1), "1 byte");
  EXPECT_EQ(stringFromByteCount(999), "999 bytes");
  EXPECT_EQ(stringFromByteCount(1000), "1 KB");
  EXPECT_EQ(stringFromByteCount(999999), "1 MB");
  EXPECT_EQ(stringFromByteCount(1500000), "1.5 MB");
  EXPECT_EQ(stringFromByteCount(1234567890), "1.23 GB");
  EXPECT_EQ(stringFromByteCount(2000000000000), "2 TB");
}

TEST(UINode, SortScorePromotions) {
  SortOptions both{std::string("rep"), true, true};
  EXPECT_EQ(UINode::sortScore("/a/Report.txt", both, false), -500);  // lower-cased on the item's side
  EXPECT_EQ(UINode::sortScore("/a/reports", both, true), -1500);
  EXPECT_EQ(UINode::sortScore("/a/Other", both, true), -1000);
  EXPECT_EQ(UINode::sortScore("/a/my report.txt", both, false), 0);
  SortOptions foldersOnly{std::string("rep"), true, false};
  EXPECT_EQ(UINode::sortScore("/a/report", foldersOnly, true), -1000);
  EXPECT_EQ(UINode::sortScore("/a/report.txt", foldersOnly, false), 0);
  // The extension is not part of what the words are compared with.
  SortOptions dotted{std::string("reporttxt"), false, true};
  EXPECT_EQ(UINode::sortScore("/a/report.txt", dotted, false), 0);
}

TEST(UINode, EveryColumnSortsBothWaysWithNameAsTheLastKey) {
  std::vector<UINodePtr> nodes{
      node("/d/b/file 10.txt", 300, false, 30, 2), node("/d/a/file 9.txt", 100, false, 10, 3),
      node("/d/c/File 2.png", 300, false, 20, 1), node("/d/a/alpha.txt", 200, false, 40, 2)};
  EXPECT_EQ(sorted(nodes, Column::name, false),
            (std::vector<std::string>{"alpha.txt", "File 2.png", "file 9.txt", "file 10.txt"}));
  EXPECT_EQ(sorted(nodes, Column::name, true),
            (std::vector<std::string>{"file 10.txt", "file 9.txt", "File 2.png", "alpha.txt"}));
  EXPECT_EQ(sorted(nodes, Column::size, false),
            (std::vector<std::string>{"file 9.txt", "alpha.txt", "File 2.png", "file 10.txt"}));
  // Equal sizes stay A to Z when the sizes are reversed.
  EXPECT_EQ(sorted(nodes, Column::size, true),
            (std::vector<std::string>{"File 2.png", "file 10.txt", "alpha.txt", "file 9.txt"}));
  EXPECT_EQ(sorted(nodes, Column::modDate, false),
            (std::vector<std::string>{"file 9.txt", "File 2.png", "file 10.txt", "alpha.txt"}));
  EXPECT_EQ(sorted(nodes, Column::modDate, true),
            (std::vector<std::string>{"alpha.txt", "file 10.txt", "File 2.png", "file 9.txt"}));
  EXPECT_EQ(sorted(nodes, Column::created, false),
            (std::vector<std::string>{"alpha.txt", "file 10.txt", "File 2.png", "file 9.txt"}));
  EXPECT_EQ(sorted(nodes, Column::kind, false),
            (std::vector<std::string>{"alpha.txt", "file 9.txt", "file 10.txt", "File 2.png"}));
  // Kind reversed reverses the names within one kind as well.
  EXPECT_EQ(sorted(nodes, Column::kind, true),
            (std::vector<std::string>{"File 2.png", "file 10.txt", "file 9.txt", "alpha.txt"}));
  EXPECT_EQ(sorted(nodes, Column::inside, true),
            (std::vector<std::string>{"File 2.png", "file 10.txt", "alpha.txt", "file 9.txt"}));
  EXPECT_EQ(sorted(nodes, Column::path, false),
            (std::vector<std::string>{"alpha.txt", "file 9.txt", "file 10.txt", "File 2.png"}));
  EXPECT_EQ(sorted(nodes, Column::rank, true),
            (std::vector<std::string>{"file 9.txt", "alpha.txt", "file 10.txt", "File 2.png"}));
  // The image column has no key of its own: names A to Z in both directions.
  EXPECT_EQ(sorted(nodes, Column::image, true), sorted(nodes, Column::name, false));
}

TEST(UINode, PromotionsApplyUnderTheNameColumnAlone) {
  std::vector<UINodePtr> nodes{node("/d/zeta", 0, true), node("/d/apple.txt", 5), node("/d/Budget.txt", 9),
                               node("/d/budget", 0, true), node("/d/beta", 0, true)};
  SortOptions options{std::string("bud"), true, true};
  EXPECT_EQ(sorted(nodes, Column::name, false, options),
            (std::vector<std::string>{"budget", "beta", "zeta", "Budget.txt", "apple.txt"}));
  // Reversing the names keeps the promoted ones on top.
  EXPECT_EQ(sorted(nodes, Column::name, true, options),
            (std::vector<std::string>{"budget", "zeta", "beta", "Budget.txt", "apple.txt"}));
  EXPECT_EQ(sorted(nodes, Column::size, false, options),
            (std::vector<std::string>{"beta", "budget", "zeta", "apple.txt", "Budget.txt"}));
  // Without a known query there is no promotion at all.
  SortOptions noQuery{std::nullopt, true, true};
  EXPECT_EQ(sorted(nodes, Column::name, false, noQuery),
            (std::vector<std::string>{"apple.txt", "beta", "budget", "Budget.txt", "zeta"}));
}

TEST(SearchResultSort, CommandLineOrderMatchesTheListAndKeepsTheRecords) {
  std::vector<SearchResult> results(3);
  results[0].path = "/d/b";
  results[0].size = 5;
  results[1].path = "/d/a";
  results[1].size = 5;
  results[2].path = "/d/c";
  results[2].size = 9;
  results[2].diskKey = "disk";
  auto sorted = sortedSearchResults(results, Column::size, true);
  ASSERT_EQ(sorted.size(), 3u);
  EXPECT_EQ(sorted[0].path, "/d/c");
  EXPECT_EQ(sorted[0].diskKey, std::optional<std::string>("disk"));
  EXPECT_EQ(sorted[0].uuid, results[2].uuid);
  EXPECT_EQ(sorted[1].path, "/d/a");
  EXPECT_EQ(sorted[2].path, "/d/b");
}

}  // namespace
}  // namespace velmora
