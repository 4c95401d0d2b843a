#include "index/ContentIndexSearch.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <set>

#include "index/ContentIndexBuilder.h"
#include "query/QueryContainer.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

class SpaceSplitWords : public DocumentWordSource {
 public:
  Result<Words> wordsInFile(const std::string& path, bool) override {
    Words words;
    std::ifstream in(path);
    std::string word;
    while (in >> word) ++words[word];
    return words;
  }
};

class Collecting : public SearchDataSourceDelegate {
 public:
  bool shouldStop() const override { return false; }
  bool wantsInvisibleItems() const override { return false; }
  void searchResults(std::vector<SearchResult> results, SearchDataSource&) override {
    for (auto& r : results) found.push_back(std::move(r));
  }
  void searchDataSourceProgress(std::int64_t) override {}
  void searchDataSourceProgress(SearchDataSource&, std::int64_t, const std::string&) override {}
  void searchingInsideFile(const std::string&, bool, int) override {}
  void searchInvalidQuery() override {}
  std::vector<SearchResult> found;
};

class ContentIndexSearchTest : public ::testing::Test {
 protected:
  test::TempHome home;
  fs::path tree = home.tree("disk");
  std::shared_ptr<ContentIndex> index = std::make_shared<ContentIndex>(home.path() / "disk.vlcache", "disk");
  test::ManualClock clock;
  SpaceSplitWords words;

  void SetUp() override {
    test::writeFile(tree / "notes/cat.txt", "cat cat dog");
    test::writeFile(tree / "notes/concatenate.md", "concatenate strings");
    test::writeFile(tree / "notes/both.txt", "cat bird");
    test::writeFile(tree / "report 2020.txt", "dog bird");
    ContentIndexBuilder::Options options;
    options.clock = &clock;
    options.words = &words;
    options.skipFolders = std::vector<std::string>{};
    ContentIndexBuilder builder(*index, options);
    index->targetURL = tree.string();
    ASSERT_TRUE(builder.build({tree.string()}, false, ContentIndexMode::textDocuments).ok());
  }

  std::vector<std::string> namesFound(const std::string& text, const std::string& location, bool enabled = true) {
    ContentIndexSearch source([this] { return std::vector<std::shared_ptr<ContentIndex>>{index}; },
                              [enabled] { return enabled; });
    QueryContainer query(text, SearchLocation::fromURLs({location}, {}));
    Collecting collected;
    source.search(query, collected);
    std::vector<std::string> paths;
    for (const auto& r : collected.found) {
      EXPECT_EQ(r.searchResultSuppliedBy, SearchResultSupplier::CompactContentIndex);
      EXPECT_EQ(r.checkToSeeIfItExists, fs::exists(tree));
      paths.push_back(r.path.substr(tree.string().size()));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
  }
  std::map<std::string, std::int64_t> content(std::vector<std::string> forWords, std::vector<std::string> without,
                                              bool wholeWords, bool allWords) {
    EXPECT_TRUE(index->open().ok());
    auto found = index->searchContent(forWords, without, wholeWords, allWords);
    index->close();
    std::map<std::string, std::int64_t> relative;
    for (const auto& [path, score] : found.value()) relative[path.substr(tree.string().size())] = score;
    return relative;
  }
};

TEST_F(ContentIndexSearchTest, NamesAreFoundAlsoWhenTheDiskIsGone) {
  EXPECT_EQ(namesFound("cat", tree.string()), (std::vector<std::string>{"/notes/cat.txt", "/notes/concatenate.md"}));
  EXPECT_EQ(namesFound("report", (tree / "notes").string()), (std::vector<std::string>{"/report 2020.txt"}))
      << "the manager's location test narrows; the index walks all its names";
  EXPECT_TRUE(namesFound("cat", (home.path() / "elsewhere").string()).empty());
  EXPECT_TRUE(namesFound("cat", tree.string(), false).empty());
  // Only commands: no name walk.
  EXPECT_TRUE(namesFound(": bigger than 1 kb", tree.string()).empty());

  fs::rename(tree, home.path() / "unplugged");
  EXPECT_EQ(namesFound("cat", tree.string()), (std::vector<std::string>{"/notes/cat.txt", "/notes/concatenate.md"}));
}

TEST_F(ContentIndexSearchTest, WordSearchScoresAllWordsExcludedWordsAndWholeWords) {
  // Counts are the store's (a word's later documents count one more), so
  // the documents and their order by score are what is checked.
  using Paths = std::set<std::string>;
  auto paths = [](const std::map<std::string, std::int64_t>& found) {
    Paths out;
    for (const auto& [path, score] : found) out.insert(path);
    return out;
  };
  auto substring = content({"cat"}, {}, false, false);
  EXPECT_EQ(paths(substring), (Paths{"/notes/cat.txt", "/notes/both.txt", "/notes/concatenate.md"}));
  EXPECT_GT(substring["/notes/cat.txt"], substring["/notes/both.txt"]);
  EXPECT_EQ(paths(content({"cat"}, {}, true, false)), (Paths{"/notes/cat.txt", "/notes/both.txt"}));
  auto both = content({"cat", "dog"}, {}, true, true);
  EXPECT_EQ(paths(both), Paths{"/notes/cat.txt"});
  EXPECT_GT(both["/notes/cat.txt"], substring["/notes/cat.txt"]);  // the sum over the words
  EXPECT_EQ(content({"cat", "dog"}, {}, true, false).size(), 3u);
  EXPECT_EQ(paths(content({"cat"}, {"bird"}, true, false)), Paths{"/notes/cat.txt"});
  EXPECT_EQ(content({"cat"}, {"zebra"}, true, false).size(), 2u);
  EXPECT_TRUE(content({"zebra"}, {}, false, false).empty());

  ASSERT_TRUE(index->open().ok());
  EXPECT_EQ(index->findDocumentsForWord("bird").value(),
            (std::vector<std::string>{(tree / "notes/both.txt").string(), (tree / "report 2020.txt").string()}));
  auto all = index->allWords().value();
  EXPECT_EQ(all, (std::vector<std::string>{"bird", "cat", "concatenate", "dog", "strings"}));
  EXPECT_EQ(index->pathsForFSItemName("cat.txt").value(), std::vector<std::string>{(tree / "notes/cat.txt").string()});
  EXPECT_EQ(index->allFSItemNames().value().size(), 5u);  // four files and "notes"
  index->close();
}

}  // namespace
}  // namespace velmora
