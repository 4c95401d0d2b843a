#pragma once
#include <unicode/coll.h>

namespace velmora {

// The collator that orders names as people expect in the current locale:
// numbers by value, case differences secondary. Made once per process and
// cloned per thread, since making one is slow and sharing one is not safe.
// Null only when ICU has no collation data at all.
icu::Collator* localizedCollatorForThisThread();

}  // namespace velmora
