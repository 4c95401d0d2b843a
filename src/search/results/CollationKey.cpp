#include "search/results/CollationKey.h"

#include "common/LocalizedCollator.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <memory>
#include <vector>

namespace velmora::CollationKey {


std::string make(std::string_view text) {
  icu::Collator* collator = localizedCollatorForThisThread();
  if (!collator) return std::string(text);
  icu::UnicodeString unicode =
      icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  uint8_t buffer[256];
  int32_t length = collator->getSortKey(unicode, buffer, sizeof buffer);
  if (length <= static_cast<int32_t>(sizeof buffer))
    return std::string(reinterpret_cast<const char*>(buffer), length > 0 ? length - 1 : 0);
  std::vector<uint8_t> big(length);
  length = collator->getSortKey(unicode, big.data(), length);
  // The key ends in a zero byte, which a comparison of keys never needs.
  return std::string(reinterpret_cast<const char*>(big.data()), length > 0 ? length - 1 : 0);
}

}  // namespace velmora::CollationKey
