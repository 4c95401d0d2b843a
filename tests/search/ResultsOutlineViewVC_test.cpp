#include <gtest/gtest.h>

#include <filesystem>
#include <mutex>
#include <random>

#include "search/results/ResultsOutlineViewVC.h"
#include "search/results/ResultsView.h"
#include "stores/PreferenceStore.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

// Stands for the main thread: tasks wait here until the test runs them.
class MainTasks {
 public:
  ResultsOutlineViewVC::Runner runner() {
    return [this](std::function<void()> task) {
      std::lock_guard guard(mutex_);
      tasks_.push_back(std::move(task));
    };
  }
  bool runOne() {
    std::function<void()> task;
    {
      std::lock_guard guard(mutex_);
      if (tasks_.empty()) return false;
      task = std::move(tasks_.front());
      tasks_.erase(tasks_.begin());
    }
    task();
    return true;
  }

 private:
  std::mutex mutex_;
  std::vector<std::function<void()>> tasks_;
};

class FakeView : public ResultsView {
 public:
  void reloadData() override { ++reloads; }
  void reloadItem(const UINodePtr& node) override { reloadedItems.push_back(node); }
  std::vector<UINodePtr> visibleNodes() override { return visible; }
  void setCheckAnimation(bool running) override { animating = running; }
  int reloads = 0;
  std::vector<UINodePtr> reloadedItems;
  std::vector<UINodePtr> visible;
  bool animating = false;
};

UINodePtr node(const std::string& path, std::uint64_t size = 0, bool folder = false) {
  SearchResult r;
  r.path = path;
  r.size = size;
  r.isDirectory = folder;
  return std::make_shared<UINode>(r);
}

class ResultsList : public ::testing::Test {
 protected:
  void SetUp() override {
    PreferenceStore::resetShared(home.path() / "preferences.json");
    list = std::make_unique<ResultsOutlineViewVC>(main.runner());
    list->setView(&view);
  }
  void TearDown() override { list.reset(); }
  // Lets merges and checks finish, with their main-thread parts.
  void settle() {
    do {
      list->waitUntilMergesFinished();
      list->waitUntilChecksFinished();
    } while (main.runOne());
  }
  std::vector<UINodePtr> rows() {
    std::vector<UINodePtr> out;
    for (UINode* n : list->displayContent()) out.push_back(n->shared_from_this());
    return out;
  }
  std::vector<std::string> shown() {
    std::vector<std::string> out;
    for (const auto& n : list->displayContent()) out.push_back(n->displayName());
    return out;
  }

  test::TempHome home;
  test::ManualClock clock;
  test::ManualScheduler scheduler{clock};
  MainTasks main;
  FakeView view;
  std::unique_ptr<ResultsOutlineViewVC> list;
};

TEST_F(ResultsList, MergeKeepsTheFirstOfTwoPathsAndSortsTheWholeList) {
  auto first = node("/d/b.txt", 10);
  list->addResults({first, node("/d/c.txt", 5)}, std::nullopt);
  list->addResults({node("/d/b.txt", 999), node("/d/a.txt", 7), node("/d/a.txt", 8)}, std::nullopt);
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"a.txt", "b.txt", "c.txt"}));
  // The same name in another folder is another item.
  auto sameName = node("/e/b.txt", 3);
  list->addResults({sameName}, std::nullopt);
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"a.txt", "b.txt", "b.txt", "c.txt"}));
  list->remove({sameName});
  settle();
  EXPECT_EQ(list->displayContent()[1], first.get());
  EXPECT_EQ(list->displayContent()[0]->totalSize, 7u);

  list->setSortColumn(Column::size, true);
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"b.txt", "a.txt", "c.txt"}));

  // Folders go on top by name only, and only after the preference is read anew.
  PreferenceStore::shared().set("moveFoldersToTop", true);
  list->addResults({node("/d/zfolder", 0, true)}, std::string("q"));
  list->setSortColumn(Column::name, false);
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"zfolder", "a.txt", "b.txt", "c.txt"}));
  list->setSortColumn(Column::size, false);
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"zfolder", "c.txt", "a.txt", "b.txt"}));
  PreferenceStore::shared().set("moveFoldersToTop", false);
  list->setSortColumn(Column::name, false);
  settle();
  EXPECT_EQ(shown().back(), "zfolder");

  list->clear();
  settle();
  EXPECT_TRUE(shown().empty());
  // After a clear a path may come again.
  list->addResults({node("/d/b.txt", 1)}, std::nullopt);
  settle();
  EXPECT_EQ(shown(), std::vector<std::string>{"b.txt"});
}

TEST_F(ResultsList, BatchedMergeGivesTheOrderOfOneSortOfEverything) {
  static const char* extensions[] = {".txt", ".pdf", ".png", ".zzq", ""};
  for (Column column : {Column::size, Column::kind, Column::path, Column::inside, Column::name}) {
    for (bool reversed : {false, true}) {
      std::mt19937 random(7);
      std::vector<UINodePtr> all;
      list->clear();
      list->setSortColumn(column, reversed);
      for (int batch = 0; batch < 12; ++batch) {
        std::vector<UINodePtr> nodes;
        for (int i = 0; i < 40; ++i) {
          // Paths that grow in order use up the room between text ranks.
          std::string path = batch % 2 ? "/d/dir" + std::to_string(random() % 9) + "/f" + std::to_string(random() % 500)
                                       : "/d/z" + std::to_string(1000 + batch * 40 + i) + "/g";
          nodes.push_back(node(path + extensions[random() % 5], random() % 20));
        }
        for (const auto& n : nodes)
          if (std::none_of(all.begin(), all.end(), [&](const UINodePtr& m) { return m->fileURL == n->fileURL; }))
            all.push_back(n);
        list->addResults(nodes, std::string("f"));
      }
      settle();
      auto expected = UINode::sortNodes(all, column, reversed, SortOptions{std::string("f")});
      EXPECT_EQ(rows(), expected) << toString(column) << (reversed ? " reversed" : "");
    }
  }
}

TEST_F(ResultsList, RemoveOldestRankAndColumns) {
  std::vector<UINodePtr> nodes;
  for (int i = 0; i < 5; ++i) {
    nodes.push_back(node("/d/n" + std::to_string(i)));
    nodes.back()->nodeCreated = Date(std::chrono::seconds(100 - i));  // n4 is the oldest
    nodes.back()->contentSearchResultsRank = i * 3;
  }
  list->addResults(nodes, std::nullopt);
  settle();
  EXPECT_EQ(list->calculateHighestRank(), 12);
  list->removeOldestItemsOver(3);
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"n0", "n1", "n2"}));
  list->remove({nodes[1]});
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"n0", "n2"}));

  PreferenceStore::shared().set("sizeIsVisible", true);
  PreferenceStore::shared().set("kindIsVisible", true);
  list->toggleVisibleColumnsBasedOnPreferences();
  EXPECT_EQ(list->visibleColumns(), (std::vector<Column>{Column::name, Column::size, Column::kind}));
  list->prepareForContentSearch();
  EXPECT_TRUE(PreferenceStore::shared().boolForKey("rankInVisible"));
  EXPECT_EQ(list->visibleColumns(), (std::vector<Column>{Column::name, Column::rank, Column::size, Column::kind}));
}

TEST_F(ResultsList, VisibleChecksRemoveOrStrikeMissingFilesAndMarkAliases) {
  fs::path dir = home.tree("checks");
  for (auto name : {"leaves", "strikes", "unplugged", "stays"}) test::writeFile(dir / name, "x");
  fs::create_symlink(dir / "stays", dir / "link");
  auto make = [&](const char* name, bool deleteIfMissing) {
    SearchResult r;
    r.path = (dir / name).string();
    r.checkToSeeIfItExists = deleteIfMissing;
    return std::make_shared<UINode>(r);
  };
  auto leaves = make("leaves", true), strikes = make("strikes", false), unplugged = make("unplugged", false),
       stays = make("stays", true), link = make("link", false);
  list->setVisibleCheckEnvironment(
      {[&](const std::string& path) { return path != unplugged->fileURL; }, nullptr});
  list->addResults({leaves, strikes, unplugged, stays, link}, std::nullopt);
  list->setupVisibleItemsCheck(scheduler);
  settle();

  // Nothing on screen: no checks, no animation.
  scheduler.advance(Seconds(0.2));
  EXPECT_EQ(list->numberOfVisibleItemsQueued(), 0);
  EXPECT_FALSE(view.animating);

  view.visible = rows();
  scheduler.advance(Seconds(0.2));
  EXPECT_TRUE(view.animating);
  EXPECT_LE(list->numberOfVisibleItemsQueued(), 3);
  settle();
  EXPECT_EQ(link->displayKind(), "Alias");
  EXPECT_FALSE(view.animating);

  // Files go away while their rows are on screen.
  for (auto name : {"leaves", "strikes", "unplugged"}) fs::remove(dir / name);
  // Rows already checked once are checked again only when they may leave the list.
  scheduler.advance(Seconds(0.2));
  settle();
  EXPECT_EQ(shown(), (std::vector<std::string>{"link", "stays", "strikes", "unplugged"}));
  EXPECT_FALSE(strikes->displayStrikeThroughText);

  // Coming into view again, a row has its first check: struck through unless its disk is away.
  auto strikes2 = make("strikes", false), unplugged2 = make("unplugged", false);
  list->showResults({strikes2, unplugged2, stays});
  settle();
  view.visible = rows();
  scheduler.advance(Seconds(0.2));
  settle();
  EXPECT_TRUE(strikes2->displayStrikeThroughText);
  EXPECT_FALSE(unplugged2->displayStrikeThroughText);
  EXPECT_FALSE(stays->displayStrikeThroughText);
  EXPECT_EQ(list->checkNodesCount(), 0u);
}

}  // namespace
}  // namespace velmora
