#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "search/results/Column.h"
#include "search/results/UINode.h"

namespace velmora {

// What one sort depends on besides the nodes: the query's words (its word
// parts joined, lower-case; none when no query is known) and the two
// promotion preferences.
struct SortOptions {
  std::optional<std::string> queryWords;
  bool moveFoldersToTop = false;
  bool moveItemsStartingWithQueryToTop = false;

  // The promotion flags from the user's preferences.
  static SortOptions fromPreferences(std::optional<std::string> queryWords);
  bool operator==(const SortOptions&) const = default;
};

// A node with a copy of everything a sort compares, made for one sort so that
// comparisons read plain values.
struct UINodeSortable {
  UINodeSortable(UINodePtr node, const SortOptions& options);

  UINodePtr target;
  int sortScore = 0;
  std::string displayPath;
  std::uint64_t totalSize = 0;
  std::int64_t modificationDate = 0;
  std::int64_t creationDate = 0;
  std::string displayInside;
  std::string displayKind;
  std::string displayName;
  std::int64_t contentSearchResultsRank = 0;
  std::string displayNameKey;
  std::string displayKindKey;
};

// The order of one column and direction: the column's own keys, then the
// name ascending whatever the direction (name and kind columns excepted).
class UINodeOrder {
 public:
  UINodeOrder(Column column, bool reversed) : column_(column), ascending_(!reversed) {}
  int compare(const UINodeSortable& a, const UINodeSortable& b) const;
  bool operator()(const UINodeSortable& a, const UINodeSortable& b) const { return compare(a, b) < 0; }

  // Three numbers whose order agrees with compare() wherever they differ:
  // the leading part of the keys compare() reads, direction applied. Long
  // lists compare these inline and read the full keys only on a tie.
  struct Prefix {
    std::uint64_t primary = 0;
    std::uint64_t secondary = 0;
    std::uint64_t tertiary = 0;
    bool operator==(const Prefix&) const = default;
    auto operator<=>(const Prefix&) const = default;
  };
  Prefix prefix(const UINodeSortable& s) const;
  // Eight bytes of text from `from`, big-endian, zero-padded.
  static std::uint64_t bytes(const std::string& text, std::size_t from);

 private:
  Column column_;
  bool ascending_;
};

}  // namespace velmora
