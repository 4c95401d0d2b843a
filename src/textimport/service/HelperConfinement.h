#pragma once
#include <cstdint>

#include "common/Result.h"

namespace velmora {

// What the import helper gives up before it reads any document: the network
// (no socket can be made; a seccomp filter), memory beyond a limit
// (RLIMIT_AS), core files, and its life once the client is gone.
class HelperConfinement {
 public:
  static Status apply(std::uint64_t memoryLimitMB);
};

}  // namespace velmora
