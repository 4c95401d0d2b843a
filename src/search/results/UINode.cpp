#include "search/results/UINode.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <filesystem>

#include "common/Logger.h"
#include "common/SharedAdditions.h"
#include "search/results/ByteCountFormatter.h"
#include "common/PathText.h"
#include "common/TextCase.h"
#include "platform/PathConventions.h"
#include "search/FSUtilities.h"
#include "search/results/CollationKey.h"
#include "search/results/FileKind.h"
#include "search/results/UINodeSortable.h"

namespace velmora {

namespace {
std::string parentName(const std::string& path) {
  std::string_view parent = PathText::deletingLastPathComponent(path);
  if (parent.empty() || parent == "/") return "/";
  return SharedAdditions::displayName(std::string(parent));
}

std::string lowercased(std::string_view text) { return TextCase::plainLowercase(text); }

std::string stemOf(const std::string& name) {
  auto dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) return name;
  return name.substr(0, dot);
}

bool isOnSameDevice(const std::string& a, const std::string& b) {
  struct stat sa, sb;
  if (::stat(a.c_str(), &sa) != 0 || ::stat(b.c_str(), &sb) != 0) return true;
  return sa.st_dev == sb.st_dev;
}
}  // namespace

UINode::UINode(const SearchResult& result)
    : fileURL(result.path), id(SearchResult::newUUID()), nodeCreated(Clock::system().now()) {
  totalSize = result.isDirectory ? 0 : result.size;
  displayTotalSize = result.isDirectory ? "--" : ByteCountFormatter::stringFromByteCount(totalSize);
  displayPath = SharedAdditions::displayPath(fileURL);
  modificationDate = result.modDate;
  creationDate = result.creationDate;
  displayInside = parentName(fileURL);
  contentSearchResultsRank = result.contentSearchResultsRank;
  tryCollectSummaryLines = result.tryCollectSummaryLines;
  // An item that came from an index may be gone; it leaves the list then.
  deleteFromResultsIfMissing = result.checkToSeeIfItExists;
  suppliedSearchResult.set(result);
  setNameFields();
  if (result.isDirectory) {
    kind_ = hasPackageExtension(fileURL) ? Kind::package : Kind::folder;
    setDisplayKind(kind_ == Kind::package ? FileKind::kindForFileName(displayName_) : "Folder");
  } else {
    setDisplayKind(FileKind::kindForFileName(displayName_));
  }
}

UINode::UINode(const std::string& path, const UINodePtr& parentNode)
    : fileURL(path), id(SearchResult::newUUID()), nodeCreated(Clock::system().now()) {
  parent = parentNode;
  displayPath = SharedAdditions::displayPath(fileURL);
  displayInside = parentName(fileURL);
  setNameFields();
  struct statx info {};
  bool isDirectory = false;
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_BTIME, &info) == 0) {
    isDirectory = S_ISDIR(info.stx_mode);
    totalSize = isDirectory ? 0 : static_cast<std::uint64_t>(info.stx_size);
    modificationDate = info.stx_mtime.tv_sec;
    // The birth time, as the crawl reports it; a file system without one
    // leaves the date empty rather than showing the change time.
    creationDate = (info.stx_mask & STATX_BTIME) ? info.stx_btime.tv_sec : 0;
  }
  displayTotalSize = isDirectory ? "--" : ByteCountFormatter::stringFromByteCount(totalSize);
  if (isDirectory) {
    kind_ = hasPackageExtension(fileURL) ? Kind::package : Kind::folder;
    setDisplayKind(kind_ == Kind::package ? FileKind::kindForFileName(displayName_) : "Folder");
  } else {
    setDisplayKind(FileKind::kindForFileName(displayName_));
  }
}

UINode::UINode(std::string line, std::vector<std::string> wordsToHighlight, const UINodePtr& parentNode)
    : fileURL(parentNode ? parentNode->fileURL : std::string()),
      id(SearchResult::newUUID()),
      nodeCreated(Clock::system().now()) {
  parent = parentNode;
  summaryLine = std::move(line);
  displayWordsToHighlight = std::move(wordsToHighlight);
  kind_ = Kind::contentSummary;
  displayName_ = *summaryLine;
  displayNameKey_ = CollationKey::make(displayName_);
}

void UINode::setNameFields() {
  displayName_ = SharedAdditions::displayName(fileURL);
  displayNameKey_ = CollationKey::make(displayName_);
  lowercasedStem_ = lowercased(stemOf(displayName_));
}

std::string UINode::displayKind() const {
  std::lock_guard guard(kindMutex_);
  return displayKind_;
}

std::string UINode::displayKindKey() const {
  std::lock_guard guard(kindMutex_);
  return displayKindKey_;
}

void UINode::setDisplayKind(std::string kind) {
  std::string key = CollationKey::make(kind);
  std::lock_guard guard(kindMutex_);
  displayKind_ = std::move(kind);
  displayKindKey_ = std::move(key);
}

bool UINode::hasPackageExtension(const std::string& path) { return FSUtilities::shared().hasPackageExtension(path); }

bool UINode::diskOfPathIsPresent(const std::string& path) {
  std::string_view root;
  for (const std::string& candidate : PathConventions::current().removableMountRoots)
    if (path.rfind(candidate, 0) == 0) root = candidate;
  if (root.empty()) return true;
  // Walk the folders below the root: the disk is there when one of them is a
  // mount point (another device than its parent).
  std::string current(root.substr(0, root.size() - 1));
  std::size_t position = root.size();
  while (position < path.size()) {
    auto slash = path.find('/', position);
    std::string next = path.substr(0, slash);
    struct stat info;
    if (::stat(next.c_str(), &info) != 0) return false;
    if (!isOnSameDevice(next, current)) return true;
    if (slash == std::string::npos) break;
    current = next;
    position = slash + 1;
  }
  return false;
}

UINode::VisibleCheckResult UINode::visibleOnScreenChecksModern(const VisibleCheckEnvironment& environment) {
  VLOG("visible check {}", fileURL);
  VisibleCheckResult result;
  if (kind() == Kind::contentSummary) return result;
  std::error_code error;
  bool exists = std::filesystem::symlink_status(fileURL, error).type() != std::filesystem::file_type::not_found;
  if (deleteFromResultsIfMissing && !exists) result.action = VisibleCheckResultAction::remove;

  if (!hasLoadedAdditionalDetails.exchange(true)) {
    // A row that leaves the list needs no strike-through.
    if (result.action != VisibleCheckResultAction::remove && !exists) {
      bool wantsStrike = suppliedSearchResult.access(
          [](const std::optional<SearchResult>& r) { return r && r->strikeThroughDisplayNameIfMissing; });
      bool diskPresent =
          environment.diskIsPresent ? environment.diskIsPresent(fileURL) : diskOfPathIsPresent(fileURL);
      if (wantsStrike && diskPresent) {
        displayStrikeThroughText = true;
        result.action = VisibleCheckResultAction::reload;
      }
    }
    // A symbolic link stands for what an alias is elsewhere.
    if (exists && std::filesystem::is_symlink(std::filesystem::symlink_status(fileURL, error))) {
      setDisplayKind("Alias");
      result.sortKeysChanged = true;
      if (result.action == VisibleCheckResultAction::none) result.action = VisibleCheckResultAction::reload;
    }
  }

  if (tryCollectSummaryLines && environment.collectSummaryLines) {
    auto lines = environment.collectSummaryLines(*this);
    tryCollectSummaryLines = false;
    if (lines && !lines->empty() && result.action != VisibleCheckResultAction::remove) {
      result.action = VisibleCheckResultAction::reload;
      result.summaryLines = std::move(lines);
    }
  }
  return result;
}

std::optional<std::vector<UINodePtr>> UINode::nodesForContentsOfFolder(const std::string& path,
                                                                      const UINodePtr& parentNode) {
  std::error_code error;
  std::filesystem::directory_iterator it(path, error);
  if (error) return std::nullopt;
  std::vector<UINodePtr> nodes;
  for (; it != std::filesystem::directory_iterator(); it.increment(error)) {
    if (error) break;
    nodes.push_back(std::make_shared<UINode>(it->path().string(), parentNode));
  }
  return nodes;
}

void UINode::loadChildren(Column currentColumn, bool currentColumnReversed, const SortOptions& options) {
  if (kind() != Kind::folder && kind() != Kind::package) return;
  auto listed = nodesForContentsOfFolder(fileURL, weak_from_this().lock());
  if (!listed) return;
  auto sorted = sortNodes(*listed, currentColumn, currentColumnReversed, options);
  setChildren(std::move(sorted));
}

void UINode::setChildren(std::vector<UINodePtr> nodes) {
  children.set(std::move(nodes));
  hasLoadedChildren_ = true;
}

int UINode::sortScore(const std::string& path, const SortOptions& options, bool isFolder) {
  int score = 0;
  if (options.moveFoldersToTop && isFolder) score = -1000;
  if (!options.moveItemsStartingWithQueryToTop || !options.queryWords) return score;
  std::string stem = lowercased(stemOf(SharedAdditions::displayName(path)));
  if (stem.rfind(*options.queryWords, 0) == 0) score -= 500;
  return score;
}

std::vector<UINodePtr> UINode::sortNodes(const std::vector<UINodePtr>& nodes, Column byColumn,
                                         bool currentColumnReversed, const SortOptions& options) {
  std::vector<UINodeSortable> sortables;
  sortables.reserve(nodes.size());
  for (const auto& node : nodes) sortables.emplace_back(node, options);
  std::stable_sort(sortables.begin(), sortables.end(), UINodeOrder(byColumn, currentColumnReversed));
  std::vector<UINodePtr> sorted;
  sorted.reserve(nodes.size());
  for (auto& sortable : sortables) sorted.push_back(std::move(sortable.target));
  return sorted;
}

}  // namespace velmora
