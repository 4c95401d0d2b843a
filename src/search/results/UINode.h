#pragma once
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "common/Clock.h"
#include "common/Lock.h"
#include "model/SearchResult.h"
#include "search/results/Column.h"

namespace velmora {

class UINode;
using UINodePtr = std::shared_ptr<UINode>;
struct SortOptions;

// What a visible check needs from outside: whether a path's disk is there,
// and (for content searches) the lines around the match.
struct VisibleCheckEnvironment {
  // Default: UINode::diskOfPathIsPresent.
  std::function<bool(const std::string& path)> diskIsPresent;
  // Lines of text around the match; none when there are none or no content
  // search is at hand.
  std::function<std::optional<std::vector<std::string>>(const UINode& node)> collectSummaryLines;
};

// One row of the results list. Made cheaply from a SearchResult; whatever
// needs the disk waits for the row to be on screen (visibleOnScreenChecksModern).
//
// Fields that never change after construction are plain; the few that the
// visible check changes from its own thread are atomic or locked.
class UINode : public std::enable_shared_from_this<UINode> {
 public:
  enum class Kind { file, folder, fileWithContentSummary, contentSummary, package };
  enum class VisibleCheckResultAction { remove, reload, none };
  struct VisibleCheckResult {
    VisibleCheckResultAction action = VisibleCheckResultAction::none;
    std::optional<std::vector<std::string>> summaryLines;
    // The kind text changed, so a list sorted by kind must be sorted anew.
    bool sortKeysChanged = false;
  };

  explicit UINode(const SearchResult& searchResult);
  // A row for an item listed from a folder (reads its attributes).
  UINode(const std::string& path, const UINodePtr& parent);
  // A row of text under a content-search result.
  UINode(std::string summaryLine, std::vector<std::string> wordsToHighlight, const UINodePtr& parent);
  UINode(const UINode&) = delete;
  UINode& operator=(const UINode&) = delete;

  const std::string fileURL;  // the item's absolute path
  const std::string id;
  Date nodeCreated;
  std::string displayTotalSize;
  std::string displayPath;
  std::uint64_t totalSize = 0;
  std::int64_t modificationDate = 0;
  std::int64_t creationDate = 0;
  std::string displayInside;
  Locked<std::optional<SearchResult>> suppliedSearchResult;
  std::vector<std::string> displayWordsToHighlight;
  bool displayWordsToHighlightIsCaseSensitive = false;
  std::weak_ptr<UINode> parent;
  std::optional<std::string> summaryLine;
  bool isSelected = false;  // main thread only
  std::atomic<bool> hasLoadedAdditionalDetails{false};
  std::atomic<bool> tryCollectSummaryLines{false};
  bool deleteFromResultsIfMissing = false;
  std::atomic<bool> displayStrikeThroughText{false};
  Locked<std::optional<std::vector<UINodePtr>>> children;
  // Sets children and notes that there are some, so a merge can skip the
  // lock of every node that has none.
  void setChildren(std::vector<UINodePtr> nodes);
  bool hasLoadedChildren() const { return hasLoadedChildren_.load(); }
  std::int64_t contentSearchResultsRank = 0;

  Kind kind() const { return kind_.load(); }
  void setKind(Kind kind) { kind_.store(kind); }
  const std::string& displayName() const { return displayName_; }
  std::string displayKind() const;
  void setDisplayKind(std::string kind);
  // Collation keys of the name and kind, made once so sorts never call the collator.
  const std::string& displayNameKey() const { return displayNameKey_; }
  std::string displayKindKey() const;
  // The last component without its extension, lower-cased: what the query's
  // words are compared with for the prefix promotion.
  const std::string& lowercasedStem() const { return lowercasedStem_; }

  // Runs off the main thread, for a row that is on screen.
  VisibleCheckResult visibleOnScreenChecksModern(const VisibleCheckEnvironment& environment);

  // Lists a folder's items as children, sorted as the list is.
  void loadChildren(Column currentColumn, bool currentColumnReversed, const SortOptions& options);

  // A low score is a high place: folders -1000 when they go on top, items
  // whose name starts with the query's words another -500.
  static int sortScore(const std::string& path, const SortOptions& options, bool isFolder);
  static std::vector<UINodePtr> sortNodes(const std::vector<UINodePtr>& nodes, Column byColumn,
                                          bool currentColumnReversed, const SortOptions& options);
  // The folder's items as nodes; none when the folder cannot be read.
  static std::optional<std::vector<UINodePtr>> nodesForContentsOfFolder(const std::string& path,
                                                                       const UINodePtr& parent = {});
  // Whether the disk that holds path is mounted. For paths on removable
  // mount roots (/media, /run/media, /mnt, /Volumes) some folder on the way
  // must be a mount point; an unplugged disk leaves none.
  static bool diskOfPathIsPresent(const std::string& path);
  static bool hasPackageExtension(const std::string& path);

 private:
  void setNameFields();
  std::atomic<Kind> kind_{Kind::file};
  std::atomic<bool> hasLoadedChildren_{false};
  std::string displayName_;
  std::string displayNameKey_;
  std::string lowercasedStem_;
  mutable std::mutex kindMutex_;
  std::string displayKind_;
  std::string displayKindKey_;
};

}  // namespace velmora
