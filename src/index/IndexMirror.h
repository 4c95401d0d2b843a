#pragma once
#include <filesystem>

#include "common/Clock.h"
#include "common/Result.h"

namespace velmora {

// Keeps an index file and its shared copy on another volume in step: the
// newer of the two replaces the older. The shared copy is never opened in
// place (the store has no locking between processes), only copied.
class IndexMirror {
 public:
  // A shared copy changed less than this long ago, in either direction, may
  // be being written by another user, and is left alone.
  static constexpr double kBusySeconds = 120.0;

  // True when a copy took place. Unless alwaysSync, a shared copy touched in
  // the last 120 seconds blocks. A copy keeps the source's modification
  // date, so the next call finds the two equal.
  [[nodiscard]] static Result<bool> mirrorIfNeeded(const std::filesystem::path& local,
                                                   const std::filesystem::path& remote, bool alwaysSync,
                                                   const Clock& clock = Clock::system());
};

}  // namespace velmora
