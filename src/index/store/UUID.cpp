#include "index/store/UUID.h"

#include <cstdint>
#include <random>

#include <fmt/format.h>

namespace velmora {

std::string newUUIDString() {
  thread_local std::mt19937_64 engine{std::random_device{}()};
  std::uint64_t hi = engine(), lo = engine();
  hi = (hi & 0xFFFFFFFFFFFF0FFFULL) | 0x0000000000004000ULL;  // version 4
  lo = (lo & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;  // RFC 4122 variant
  return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", hi >> 32, (hi >> 16) & 0xFFFF, hi & 0xFFFF, lo >> 48,
                     lo & 0xFFFFFFFFFFFFULL);
}

}  // namespace velmora
