#include "common/ActivityItem.h"

#include <fmt/format.h>

#include <random>

#include "common/ActivityReporter.h"

namespace velmora {

namespace {
std::string newUUID() {
  thread_local std::mt19937_64 random{std::random_device{}()};
  std::uint64_t high = random(), low = random();
  high = (high & 0xFFFFFFFFFFFF0FFFull) | 0x4000ull;          // version 4
  low = (low & 0x3FFFFFFFFFFFFFFFull) | 0x8000000000000000ull;  // variant 1
  return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", high >> 32, (high >> 16) & 0xFFFF, high & 0xFFFF,
                     low >> 48, low & 0xFFFFFFFFFFFFull);
}
}  // namespace

ActivityItem::ActivityItem(Date created) : id(newUUID()), createdAt(created) {}

void ActivityItem::cancel() {
  hasCanceled = true;
  if (cancelTarget)
    cancelTarget->cancel(*this);
  else if (cancelFunc)
    cancelFunc(*this);
  if (reporter) reporter->save(shared_from_this());
}

}  // namespace velmora
