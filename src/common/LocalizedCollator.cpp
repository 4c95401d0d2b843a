#include "common/LocalizedCollator.h"

#include <unicode/locid.h>

#include <memory>
#include <string_view>

namespace velmora {

namespace {
const icu::Collator* prototypeCollator() {
  static std::unique_ptr<icu::Collator> prototype = [] {
    UErrorCode status = U_ZERO_ERROR;
    // The POSIX locale's collation is byte order; people expect the root
    // collation's order there.
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
  return prototype.get();
}
}  // namespace

icu::Collator* localizedCollatorForThisThread() {
  thread_local std::unique_ptr<icu::Collator> collator(
      prototypeCollator() ? prototypeCollator()->clone() : nullptr);
  return collator.get();
}

}  // namespace velmora
