#pragma once
#include <atomic>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "common/Clock.h"
#include "common/Lock.h"
#include "common/OperationQueue.h"
#include "search/results/Column.h"
#include "search/results/UINode.h"
#include "search/results/UINodeSortable.h"

namespace velmora {

class ResultsView;

// The controller of one window's results list: merges the batches of a
// search into one sorted list without doubles, keeps what the view shows,
// and checks lazily the rows that are on screen.
//
// Threads: the merge state lives on resultsMergeQueue alone; displayContent
// and the view are touched on the main thread (through the runner given at
// construction); the checks run on visibleCheckQueue, at most 3 at a time.
class ResultsOutlineViewVC {
 public:
  using Runner = std::function<void(std::function<void()>)>;
  using Completion = std::function<void()>;

  // toMain runs a task on the main thread; MainQueue::async when not given.
  explicit ResultsOutlineViewVC(Runner toMain = {});
  ~ResultsOutlineViewVC();
  ResultsOutlineViewVC(const ResultsOutlineViewVC&) = delete;
  ResultsOutlineViewVC& operator=(const ResultsOutlineViewVC&) = delete;

  void setView(ResultsView* view);
  void setVisibleCheckEnvironment(VisibleCheckEnvironment environment);

  // Stores the query's words (for the name promotions) and merges the nodes.
  void addResults(std::vector<UINodePtr> nodes, std::optional<std::string> queryWords,
                  Completion onCompletion = {});
  // Empties the list, then merges items.
  void showResults(std::vector<UINodePtr> items, Completion onCompletion = {});
  void clear(Completion onCompletion = {});
  // Sorts the whole list again (after a change of column, direction or preference).
  void resort(Completion onCompletion = {});
  void setSortColumn(Column column, bool reversed, Completion onCompletion = {});
  void remove(std::vector<UINodePtr> nodes, Completion onCompletion = {});
  void removeOldestItemsOver(std::size_t maxItems, Completion onCompletion = {});

  // Main thread. The rows as plain pointers: a node leaves memory only on
  // the main thread, after the list that showed it has been replaced.
  using DisplayList = std::vector<UINode*>;
  const DisplayList& displayContent() const { return *displayContent_; }
  // Lists a folder row's items below it; they are sorted with each merge.
  void loadChildren(const UINodePtr& node);
  Column currentColumn() const { return currentColumn_; }
  bool currentColumnReversed() const { return currentColumnReversed_; }
  std::vector<UINodePtr> selectedNodes() const;
  std::int64_t calculateHighestRank();
  std::int64_t highestRank() const { return highestRank_; }
  void prepareForContentSearch();
  void toggleVisibleColumnsBasedOnPreferences();
  const std::vector<Column>& visibleColumns() const { return visibleColumns_; }

  // Lazy checks: a 0.2-second tick that queues the rows on screen and a
  // 1-second tick for the view's progress animation.
  void setupVisibleItemsCheck(Scheduler& scheduler);
  void stopVisibleItemsCheck();
  void updateItemsToCheck();
  void addCheckOperations();
  std::size_t checkNodesCount() const;
  int numberOfVisibleItemsQueued() const { return numberOfVisibleItemsQueued_.value(); }

  // For tests and shutdown: waits for queued merges or checks (not for the
  // main-thread part that follows them).
  void waitUntilMergesFinished();
  void waitUntilChecksFinished();
  OperationQueue& resultsMergeQueue() { return resultsMergeQueue_; }

 private:
  struct MergeOrder {
    Column column;
    bool reversed;
    SortOptions options;
    bool operator==(const MergeOrder&) const = default;
  };
  using ListPtr = std::shared_ptr<const DisplayList>;
  // One row of the sorted list: its sort prefix inline, so most comparisons
  // of a merge never leave this array.
  struct Entry {
    UINodeOrder::Prefix key;
    UINode* node;
    std::unique_ptr<UINodeSortable> sortable;
  };

  MergeOrder currentOrder(std::optional<std::string> queryWords) const;
  void mergeNode(std::vector<UINodePtr> nodes, const MergeOrder& order, Completion onCompletion);
  void publish(Completion onCompletion, std::vector<UINodePtr> released = {});
  void displayNodes(ListPtr list);
  void applyCheck(const UINodePtr& node, const UINode::VisibleCheckResult& result);
  // Returns the nodes taken out, to be let go on the main thread.
  std::vector<UINodePtr> removeOnMergeQueue(const std::vector<UINodePtr>& nodes);
  void onMain(std::function<void()> task);

  Runner toMain_;
  std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
  ResultsView* view_ = nullptr;
  VisibleCheckEnvironment checkEnvironment_;

  // Merge queue only.
  SerialQueue resultsMergeQueue_{"ResultsOutlineViewVC resultsMergeQueue"};
  std::unordered_set<std::string> resultsContentMap_;
  std::vector<Entry> sorted_;
  // Text columns (kind, inside, path) sort by a rank per distinct text, so
  // rows of one kind or folder still compare inline.
  struct TextRanks {
    std::map<std::string, std::uint64_t> ranks;
    bool renumbered = false;
    std::uint64_t rankFor(const std::string& key);
  };
  TextRanks textRanks_;
  Locked<std::vector<std::weak_ptr<UINode>>> nodesWithChildren_;
  std::optional<MergeOrder> sortedOrder_;
  std::atomic<bool> needsFullSort_{false};

  // Main thread.
  ListPtr displayContent_ = std::make_shared<DisplayList>();
  Column currentColumn_ = Column::name;
  bool currentColumnReversed_ = false;
  std::optional<std::string> lastQueryWords_;
  std::int64_t highestRank_ = 0;
  std::vector<Column> columnOrder_{Column::name,  Column::size,   Column::modDate, Column::created,
                                   Column::kind,  Column::inside, Column::rank,    Column::path};
  std::vector<Column> visibleColumns_;
  std::unordered_set<const UINode*> lastVisibleNodes_;

  // Checks.
  struct CheckLine {
    std::deque<UINodePtr> nodes;
    std::unordered_set<const UINode*> pending;  // queued or being checked
  };
  Locked<CheckLine> checkNodes_;
  Locked<int> numberOfVisibleItemsQueued_{0};
  OperationQueue visibleCheckQueue_{3, "ResultsOutlineViewVC visibleCheckQueue"};
  std::unique_ptr<RepeatingTimer> checkNodesTimer_;
  std::unique_ptr<RepeatingTimer> animationTimer_;
  bool animating_ = false;
};

}  // namespace velmora
