#pragma once
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "common/Clock.h"
#include "common/OperationQueue.h"

namespace velmora {

// Delayed, cancellable blocks. The shared instance waits on the background
// scheduler and runs blocks on a private queue; a test builds its own over a
// manual scheduler, and then blocks run inline when time is advanced.
class GCDAdditions {
 public:
  using Runner = std::function<void(std::shared_ptr<Operation>)>;

  // Blocks run on `runner`; without one, inline on the scheduler's thread.
  explicit GCDAdditions(Scheduler& scheduler, Runner runner = {});
  static GCDAdditions& shared();

  // Runs block after the delay; the returned operation can be cancelled
  // until it starts.
  std::shared_ptr<Operation> perform(double afterDelay, std::function<void()> block);

  // Under one lock: cancels the operation pending under key unless it already
  // runs or ran, then schedules block and keeps it under key. The classic
  // "debounce" of keystrokes.
  std::shared_ptr<Operation> cancelPreviousThenPerform(const std::string& key, double afterDelay,
                                                       std::function<void()> block);

  Scheduler& scheduler() { return *scheduler_; }

 private:
  Scheduler* scheduler_;
  Runner runner_;
  std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Operation>> pending_;
};

}  // namespace velmora
