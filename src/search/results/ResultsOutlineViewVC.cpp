#include "search/results/ResultsOutlineViewVC.h"

#include <algorithm>
#include <iterator>

#include "common/Logger.h"
#include "common/MainQueue.h"
#include "search/results/ResultsView.h"
#include "stores/PreferenceStore.h"

namespace velmora {

namespace {
constexpr int kMaxParallelChecks = 3;

// The preference that shows each column; the name column always shows.
const char* visibilityKey(Column column) {
  switch (column) {
    case Column::size: return "sizeIsVisible";
    case Column::modDate: return "dateModifiedIsVisible";
    case Column::created: return "dateCreatedIsVisible";
    case Column::kind: return "kindIsVisible";
    case Column::inside: return "insideIsVisible";
    case Column::rank: return "rankInVisible";
    default: return nullptr;
  }
}
}  // namespace

ResultsOutlineViewVC::ResultsOutlineViewVC(Runner toMain) : toMain_(std::move(toMain)) {
  if (!toMain_) toMain_ = [](std::function<void()> task) { MainQueue::async(std::move(task)); };
  toggleVisibleColumnsBasedOnPreferences();
}

ResultsOutlineViewVC::~ResultsOutlineViewVC() {
  stopVisibleItemsCheck();
  *alive_ = false;
  visibleCheckQueue_.cancelAllOperations();
  visibleCheckQueue_.waitUntilAllOperationsAreFinished();
  resultsMergeQueue_.waitUntilAllOperationsAreFinished();
}

void ResultsOutlineViewVC::onMain(std::function<void()> task) {
  std::weak_ptr<bool> alive = alive_;
  toMain_([alive, task = std::move(task)] {
    auto token = alive.lock();
    if (token && *token) task();
  });
}

void ResultsOutlineViewVC::setView(ResultsView* view) { view_ = view; }

void ResultsOutlineViewVC::setVisibleCheckEnvironment(VisibleCheckEnvironment environment) {
  checkEnvironment_ = std::move(environment);
}

ResultsOutlineViewVC::MergeOrder ResultsOutlineViewVC::currentOrder(std::optional<std::string> queryWords) const {
  return {currentColumn_, currentColumnReversed_, SortOptions::fromPreferences(std::move(queryWords))};
}

// ---- merging

void ResultsOutlineViewVC::addResults(std::vector<UINodePtr> nodes, std::optional<std::string> queryWords,
                                      Completion onCompletion) {
  lastQueryWords_ = std::move(queryWords);
  if (nodes.empty()) return;
  MergeOrder order = currentOrder(lastQueryWords_);
  resultsMergeQueue_.addOperation([this, nodes = std::move(nodes), order, onCompletion]() mutable {
    mergeNode(std::move(nodes), order, std::move(onCompletion));
  });
}

void ResultsOutlineViewVC::showResults(std::vector<UINodePtr> items, Completion onCompletion) {
  MergeOrder order = currentOrder(lastQueryWords_);
  resultsMergeQueue_.addOperation([this, items = std::move(items), order, onCompletion]() mutable {
    std::vector<UINodePtr> released;
    released.reserve(sorted_.size());
    for (auto& entry : sorted_) released.push_back(std::move(entry.sortable->target));
    sorted_.clear();
    resultsContentMap_.clear();
    sortedOrder_.reset();
    if (items.empty()) {
      publish(std::move(onCompletion), std::move(released));
      return;
    }
    mergeNode(std::move(items), order, std::move(onCompletion));
    // The old rows go once the emptied list has been shown.
    onMain([released = std::move(released)] {});
  });
}

void ResultsOutlineViewVC::clear(Completion onCompletion) { showResults({}, std::move(onCompletion)); }

void ResultsOutlineViewVC::resort(Completion onCompletion) {
  MergeOrder order = currentOrder(lastQueryWords_);
  resultsMergeQueue_.addOperation([this, order, onCompletion]() mutable {
    sortedOrder_.reset();
    mergeNode({}, order, std::move(onCompletion));
  });
}

void ResultsOutlineViewVC::setSortColumn(Column column, bool reversed, Completion onCompletion) {
  currentColumn_ = column;
  currentColumnReversed_ = reversed;
  resort(std::move(onCompletion));
}

void ResultsOutlineViewVC::mergeNode(std::vector<UINodePtr> nodes, const MergeOrder& order,
                                     Completion onCompletion) {
  // The first of two nodes with one path wins, whoever found the later one.
  UINodeOrder less(order.column, order.reversed);
  const bool fullSort = !(sortedOrder_ == order) || needsFullSort_.exchange(false);
  if (fullSort) textRanks_ = {};
  auto prefixOf = [&](const UINodeSortable& sortable) {
    UINodeOrder::Prefix prefix = less.prefix(sortable);
    const std::string* text = order.column == Column::kind     ? &sortable.displayKindKey
                              : order.column == Column::inside ? &sortable.displayInside
                              : order.column == Column::path   ? &sortable.displayPath
                                                               : nullptr;
    if (text) {
      const std::uint64_t flip = order.reversed ? ~0ull : 0;
      const std::uint64_t nameFlip = order.column == Column::kind ? flip : 0;
      prefix = {textRanks_.rankFor(*text) ^ flip, UINodeOrder::bytes(sortable.displayNameKey, 0) ^ nameFlip,
                UINodeOrder::bytes(sortable.displayNameKey, 8) ^ nameFlip};
    }
    return prefix;
  };
  auto entryFor = [&](std::unique_ptr<UINodeSortable> sortable) {
    UINode* node = sortable->target.get();
    UINodeOrder::Prefix prefix = prefixOf(*sortable);
    return Entry{prefix, node, std::move(sortable)};
  };
  std::vector<Entry> added;
  added.reserve(nodes.size());
  for (auto& node : nodes)
    if (resultsContentMap_.insert(node->fileURL).second)
      added.push_back(entryFor(std::make_unique<UINodeSortable>(std::move(node), order.options)));

  auto byOrder = [&less](const Entry& a, const Entry& b) {
    if (a.key != b.key) return a.key < b.key;
    return less(*a.sortable, *b.sortable);
  };
  if (textRanks_.renumbered) {
    // The ranks moved apart to make room; their order is the same.
    textRanks_.renumbered = false;
    for (auto& entry : sorted_) entry.key = prefixOf(*entry.sortable);
    for (auto& entry : added) entry.key = prefixOf(*entry.sortable);
  }
  if (!fullSort) {
    // The list is already in this order: sorting the batch and merging it in
    // gives exactly the order of a stable sort of the whole list, at a cost
    // linear in the list rather than n log n per batch.
    std::stable_sort(added.begin(), added.end(), byOrder);
    std::vector<Entry> merged;
    merged.reserve(sorted_.size() + added.size());
    std::merge(std::make_move_iterator(sorted_.begin()), std::make_move_iterator(sorted_.end()),
               std::make_move_iterator(added.begin()), std::make_move_iterator(added.end()),
               std::back_inserter(merged), byOrder);
    sorted_ = std::move(merged);
  } else {
    // Copies are made anew: the preferences or the query may have changed.
    for (auto& entry : sorted_)
      entry = entryFor(std::make_unique<UINodeSortable>(std::move(entry.sortable->target), order.options));
    for (auto& entry : added) sorted_.push_back(std::move(entry));
    if (textRanks_.renumbered) {
      textRanks_.renumbered = false;
      for (auto& entry : sorted_) entry.key = prefixOf(*entry.sortable);
    }
    std::stable_sort(sorted_.begin(), sorted_.end(), byOrder);
    sortedOrder_ = order;
  }

  nodesWithChildren_.access([&](std::vector<std::weak_ptr<UINode>>& parents) {
    std::erase_if(parents, [](const std::weak_ptr<UINode>& p) { return p.expired(); });
    for (const auto& weak : parents) {
      auto node = weak.lock();
      node->children.access([&](std::optional<std::vector<UINodePtr>>& children) {
        if (children) *children = UINode::sortNodes(*children, order.column, order.reversed, order.options);
      });
    }
  });
  VLOG("merged {} new, {} in list", added.size(), sorted_.size());
  publish(std::move(onCompletion));
}

std::uint64_t ResultsOutlineViewVC::TextRanks::rankFor(const std::string& key) {
  auto [it, inserted] = ranks.try_emplace(key, 0);
  if (!inserted) return it->second;
  std::uint64_t lower = it == ranks.begin() ? 0 : std::prev(it)->second;
  std::uint64_t upper = std::next(it) == ranks.end() ? ~0ull : std::next(it)->second;
  if (upper - lower >= 2) {
    it->second = lower + (upper - lower) / 2;
  } else {
    std::uint64_t step = ~0ull / (ranks.size() + 1), rank = 0;
    for (auto& [text, value] : ranks) value = rank += step;
    renumbered = true;
  }
  return it->second;
}

void ResultsOutlineViewVC::publish(Completion onCompletion, std::vector<UINodePtr> released) {
  auto list = std::make_shared<DisplayList>();
  list->reserve(sorted_.size());
  for (const auto& entry : sorted_) list->push_back(entry.node);
  onMain([this, list = ListPtr(std::move(list)), onCompletion = std::move(onCompletion),
          released = std::move(released)] {
    displayNodes(list);
    if (onCompletion) onCompletion();
  });
}

void ResultsOutlineViewVC::loadChildren(const UINodePtr& node) {
  node->loadChildren(currentColumn_, currentColumnReversed_, SortOptions::fromPreferences(lastQueryWords_));
  nodesWithChildren_.access([&](std::vector<std::weak_ptr<UINode>>& parents) { parents.push_back(node); });
}

void ResultsOutlineViewVC::displayNodes(ListPtr list) {
  // Selection lives on the nodes, so rows still in the list stay selected;
  // rows that left take their selection with them.
  displayContent_ = std::move(list);
  if (view_) view_->reloadData();
}

std::vector<UINodePtr> ResultsOutlineViewVC::selectedNodes() const {
  std::vector<UINodePtr> selected;
  for (UINode* node : *displayContent_)
    if (node->isSelected) selected.push_back(node->shared_from_this());
  return selected;
}

std::vector<UINodePtr> ResultsOutlineViewVC::removeOnMergeQueue(const std::vector<UINodePtr>& nodes) {
  std::unordered_set<const UINode*> gone;
  for (const auto& node : nodes) {
    gone.insert(node.get());
    if (auto parent = node->parent.lock()) {
      parent->children.access([&](std::optional<std::vector<UINodePtr>>& children) {
        if (children) std::erase(*children, node);
      });
    }
  }
  std::vector<UINodePtr> released;
  std::erase_if(sorted_, [&](Entry& entry) {
    if (!gone.count(entry.node)) return false;
    // Only a node that was in the list frees its path for later arrivals.
    resultsContentMap_.erase(entry.node->fileURL);
    released.push_back(std::move(entry.sortable->target));
    return true;
  });
  return released;
}

void ResultsOutlineViewVC::remove(std::vector<UINodePtr> nodes, Completion onCompletion) {
  resultsMergeQueue_.addOperation([this, nodes = std::move(nodes), onCompletion]() mutable {
    auto released = removeOnMergeQueue(nodes);
    publish(std::move(onCompletion), std::move(released));
  });
}

void ResultsOutlineViewVC::removeOldestItemsOver(std::size_t maxItems, Completion onCompletion) {
  resultsMergeQueue_.addOperation([this, maxItems, onCompletion]() mutable {
    std::vector<UINodePtr> released;
    if (sorted_.size() > maxItems) {
      std::size_t over = sorted_.size() - maxItems;
      std::vector<UINodePtr> byAge;
      byAge.reserve(sorted_.size());
      for (const auto& entry : sorted_) byAge.push_back(entry.sortable->target);
      std::stable_sort(byAge.begin(), byAge.end(),
                       [](const UINodePtr& a, const UINodePtr& b) { return a->nodeCreated < b->nodeCreated; });
      byAge.resize(over);
      released = removeOnMergeQueue(byAge);
    }
    publish(std::move(onCompletion), std::move(released));
  });
}

void ResultsOutlineViewVC::waitUntilMergesFinished() { resultsMergeQueue_.waitUntilAllOperationsAreFinished(); }

// ---- columns

std::int64_t ResultsOutlineViewVC::calculateHighestRank() {
  std::int64_t highest = 0;
  for (const UINode* node : *displayContent_) highest = std::max(highest, node->contentSearchResultsRank);
  highestRank_ = highest;
  return highest;
}

void ResultsOutlineViewVC::toggleVisibleColumnsBasedOnPreferences() {
  auto& store = PreferenceStore::shared();
  visibleColumns_.clear();
  for (Column column : columnOrder_) {
    const char* key = visibilityKey(column);
    if (column == Column::name || (key && store.boolForKey(key))) visibleColumns_.push_back(column);
  }
}

void ResultsOutlineViewVC::prepareForContentSearch() {
  PreferenceStore::shared().set("rankInVisible", true);
  std::erase(columnOrder_, Column::rank);
  columnOrder_.insert(columnOrder_.begin() + 1, Column::rank);
  toggleVisibleColumnsBasedOnPreferences();
}

// ---- lazy checks of the rows on screen

void ResultsOutlineViewVC::setupVisibleItemsCheck(Scheduler& scheduler) {
  checkNodesTimer_ = std::make_unique<RepeatingTimer>(scheduler, Seconds(0.2), [this] { updateItemsToCheck(); });
  animationTimer_ = std::make_unique<RepeatingTimer>(scheduler, Seconds(1.0), [this] {
    if (animating_ && view_) view_->animationTick();
  });
}

void ResultsOutlineViewVC::stopVisibleItemsCheck() {
  checkNodesTimer_.reset();
  animationTimer_.reset();
}

std::size_t ResultsOutlineViewVC::checkNodesCount() const {
  return checkNodes_.access([](const CheckLine& line) { return line.nodes.size(); });
}

void ResultsOutlineViewVC::updateItemsToCheck() {
  if (!view_) return;
  std::vector<UINodePtr> visible = view_->visibleNodes();
  std::unordered_set<const UINode*> nowVisible;
  std::vector<UINodePtr> children, others;
  for (const auto& node : visible) {
    nowVisible.insert(node.get());
    if (node->kind() == UINode::Kind::contentSummary) continue;
    // A row is checked when it comes into view and the first time; rows that
    // leave the list when their file is gone are checked while they stay.
    bool appeared = !lastVisibleNodes_.count(node.get());
    if (appeared || !node->hasLoadedAdditionalDetails || node->deleteFromResultsIfMissing)
      (node->parent.expired() ? others : children).push_back(node);
  }
  lastVisibleNodes_ = std::move(nowVisible);
  checkNodes_.access([&](CheckLine& line) {
    // Children first in line.
    for (auto it = children.rbegin(); it != children.rend(); ++it)
      if (line.pending.insert(it->get()).second) line.nodes.push_front(*it);
    for (const auto& node : others)
      if (line.pending.insert(node.get()).second) line.nodes.push_back(node);
  });
  addCheckOperations();
}

void ResultsOutlineViewVC::addCheckOperations() {
  if (checkNodesCount() == 0) {
    if (animating_ && view_) view_->setCheckAnimation(false);
    animating_ = false;
    return;
  }
  if (!animating_ && view_) view_->setCheckAnimation(true);
  animating_ = true;
  int toAdd = numberOfVisibleItemsQueued_.access([](int& queued) {
    int n = std::max(0, kMaxParallelChecks - queued);
    queued += n;
    return n;
  });
  for (int i = 0; i < toAdd; ++i) {
    visibleCheckQueue_.addOperation([this] {
      numberOfVisibleItemsQueued_.access([](int& queued) { --queued; });
      UINodePtr node = checkNodes_.access([](CheckLine& line) -> UINodePtr {
        if (line.nodes.empty()) return nullptr;
        UINodePtr first = std::move(line.nodes.front());
        line.nodes.pop_front();
        return first;
      });
      if (!node) return;
      auto result = node->visibleOnScreenChecksModern(checkEnvironment_);
      onMain([this, node, result] {
        checkNodes_.access([&](CheckLine& line) { line.pending.erase(node.get()); });
        applyCheck(node, result);
        addCheckOperations();
      });
    });
  }
}

void ResultsOutlineViewVC::applyCheck(const UINodePtr& node, const UINode::VisibleCheckResult& result) {
  if (result.sortKeysChanged) needsFullSort_ = true;
  switch (result.action) {
    case UINode::VisibleCheckResultAction::remove:
      remove({node});
      break;
    case UINode::VisibleCheckResultAction::reload:
      if (result.summaryLines) {
        std::vector<UINodePtr> lines;
        for (const auto& line : *result.summaryLines)
          lines.push_back(std::make_shared<UINode>(line, node->displayWordsToHighlight, node));
        node->setChildren(std::move(lines));
        node->setKind(UINode::Kind::fileWithContentSummary);
      }
      if (view_) view_->reloadItem(node);
      break;
    case UINode::VisibleCheckResultAction::none:
      break;
  }
}

void ResultsOutlineViewVC::waitUntilChecksFinished() { visibleCheckQueue_.waitUntilAllOperationsAreFinished(); }

}  // namespace velmora
