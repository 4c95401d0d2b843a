#include "search/results/UINodeSortable.h"

#include "search/results/CollationKey.h"
#include "stores/PreferenceStore.h"

namespace velmora {

SortOptions SortOptions::fromPreferences(std::optional<std::string> queryWords) {
  auto& store = PreferenceStore::shared();
  SortOptions options;
  options.queryWords = std::move(queryWords);
  options.moveFoldersToTop = store.boolForKey("moveFoldersToTop");
  options.moveItemsStartingWithQueryToTop = store.boolForKey("moveItemsStartingWithQueryToTop");
  return options;
}

UINodeSortable::UINodeSortable(UINodePtr node, const SortOptions& options) : target(std::move(node)) {
  const UINode& n = *target;
  if (options.queryWords) {
    // As UINode::sortScore, from the node's cached lower-case stem.
    if (options.moveFoldersToTop && n.kind() == UINode::Kind::folder) sortScore = -1000;
    if (options.moveItemsStartingWithQueryToTop && n.lowercasedStem().rfind(*options.queryWords, 0) == 0)
      sortScore -= 500;
  }
  displayPath = n.displayPath;
  totalSize = n.totalSize;
  modificationDate = n.modificationDate;
  creationDate = n.creationDate;
  displayInside = n.displayInside;
  displayKind = n.displayKind();
  displayName = n.displayName();
  contentSearchResultsRank = n.contentSearchResultsRank;
  displayNameKey = n.displayNameKey();
  displayKindKey = n.displayKindKey();
}

namespace {
template <typename T>
int three(const T& a, const T& b) {
  return a < b ? -1 : (b < a ? 1 : 0);
}
// Eight bytes from `from`, big-endian, zero-padded: ordered as the bytes are.
std::uint64_t bytePrefix(const std::string& text, std::size_t from = 0) {
  std::uint64_t value = 0;
  for (std::size_t i = from; i < from + 8; ++i)
    value = (value << 8) | (i < text.size() ? static_cast<unsigned char>(text[i]) : 0u);
  return value;
}

std::uint64_t signedKey(std::int64_t value) { return static_cast<std::uint64_t>(value) ^ (1ull << 63); }
}  // namespace

std::uint64_t UINodeOrder::bytes(const std::string& text, std::size_t from) { return bytePrefix(text, from); }

UINodeOrder::Prefix UINodeOrder::prefix(const UINodeSortable& s) const {
  const std::uint64_t flip = ascending_ ? 0 : ~0ull;
  const std::uint64_t name0 = bytePrefix(s.displayNameKey), name8 = bytePrefix(s.displayNameKey, 8);
  // A text key cut after 16 bytes: on a tie the full compare decides.
  auto text = [&](const std::string& key) { return Prefix{bytePrefix(key) ^ flip, bytePrefix(key, 8) ^ flip, 0}; };
  switch (column_) {
    case Column::image: return {0, name0, name8};
    case Column::name: return {signedKey(s.sortScore), name0 ^ flip, name8 ^ flip};
    case Column::size: return {s.totalSize ^ flip, name0, name8};
    case Column::modDate: return {signedKey(s.modificationDate) ^ flip, name0, name8};
    case Column::created: return {signedKey(s.creationDate) ^ flip, name0, name8};
    case Column::kind: return text(s.displayKindKey);
    case Column::inside: return text(s.displayInside);
    case Column::path: return text(s.displayPath);
    case Column::rank: return {signedKey(s.contentSearchResultsRank) ^ flip, name0, name8};
  }
  return {0, name0, name8};
}

int UINodeOrder::compare(const UINodeSortable& a, const UINodeSortable& b) const {
  const int direction = ascending_ ? 1 : -1;
  int c = 0;
  switch (column_) {
    case Column::image:
      break;
    case Column::name:
      if ((c = three(a.sortScore, b.sortScore))) return c;
      return direction * CollationKey::compare(a.displayNameKey, b.displayNameKey);
    case Column::size:
      c = three(a.totalSize, b.totalSize);
      break;
    case Column::modDate:
      c = three(a.modificationDate, b.modificationDate);
      break;
    case Column::created:
      c = three(a.creationDate, b.creationDate);
      break;
    case Column::kind:
      if ((c = CollationKey::compare(a.displayKindKey, b.displayKindKey))) return direction * c;
      return direction * CollationKey::compare(a.displayNameKey, b.displayNameKey);
    case Column::inside:
      c = three(a.displayInside, b.displayInside);
      break;
    case Column::path:
      c = three(a.displayPath, b.displayPath);
      break;
    case Column::rank:
      c = three(a.contentSearchResultsRank, b.contentSearchResultsRank);
      break;
  }
  if (c) return direction * c;
  // The last key is the name, A to Z whatever the direction.
  return CollationKey::compare(a.displayNameKey, b.displayNameKey);
}

}  // namespace velmora
