#include "query/NameMatching.h"

#include <unicode/uchar.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <vector>

#include "query/SentenceComponent.h"

namespace velmora {





namespace {
struct Folded {
  std::vector<UChar32> points;
  std::vector<std::size_t> offsets;  // byte offset of each point
};
Folded fold(std::string_view text) {
  Folded f;
  int32_t offset = 0, length = static_cast<int32_t>(text.size());
  while (offset < length) {
    f.offsets.push_back(static_cast<std::size_t>(offset));
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(text.data()), offset, length, c);
    f.points.push_back(c < 0 ? 0xFFFD : u_foldCase(c, U_FOLD_CASE_DEFAULT));
  }
  return f;
}
}  // namespace

std::size_t NameMatching::findCaseInsensitive(std::string_view haystack, std::string_view needle, std::size_t from) {
  if (needle.empty() || from > haystack.size()) return std::string_view::npos;
  Folded h = fold(haystack), n = fold(needle);
  for (std::size_t i = 0; i + n.points.size() <= h.points.size(); ++i) {
    if (h.offsets[i] < from) continue;
    bool same = true;
    for (std::size_t j = 0; j < n.points.size() && same; ++j) same = h.points[i + j] == n.points[j];
    if (same) return h.offsets[i];
  }
  return std::string_view::npos;
}

}  // namespace velmora
