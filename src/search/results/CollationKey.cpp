#include "search/results/CollationKey.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <memory>
#include <vector>

namespace velmora::CollationKey {

namespace {
const icu::Collator* prototype() {
  static std::unique_ptr<icu::Collator> collator = [] {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale locale = icu::Locale::getDefault();
    if (std::string_view(locale.getName()).find("POSIX") != std::string_view::npos)
      locale = icu::Locale::getRoot();
    std::unique_ptr<icu::Collator> c(icu::Collator::createInstance(locale, status));
    if (U_FAILURE(status) || !c) {
      status = U_ZERO_ERROR;
      c.reset(icu::Collator::createInstance(icu::Locale::getRoot(), status));
    }
    if (c) {
      status = U_ZERO_ERROR;
      c->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
      c->setStrength(icu::Collator::SECONDARY);
    }
    return c;
  }();
  return collator.get();
}

icu::Collator* threadCollator() {
  thread_local std::unique_ptr<icu::Collator> collator(prototype() ? prototype()->clone() : nullptr);
  return collator.get();
}
}  // namespace

std::string make(std::string_view text) {
  icu::Collator* collator = threadCollator();
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
