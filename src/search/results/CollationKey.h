#pragma once
#include <string>
#include <string_view>

namespace velmora {

// Binary sort keys that order texts exactly as
// SharedAdditions::localizedStandardCompare does (same locale choice,
// numeric ordering, secondary strength). Comparing two keys is a memcmp, so
// lists of many thousand names sort without calling the collator per pair.
namespace CollationKey {
std::string make(std::string_view text);
// Negative, zero or positive, as the texts compare.
inline int compare(const std::string& a, const std::string& b) {
  int c = a.compare(b);
  return c < 0 ? -1 : (c > 0 ? 1 : 0);
}
}  // namespace CollationKey

}  // namespace velmora
