#pragma once
#include "common/Clock.h"

namespace velmora {

// A time gate for thinning reports (progress, logs): not a timer.
class DelayTimer {
 public:
  explicit DelayTimer(double delaySeconds, const Clock& clock = Clock::system())
      : delay_(delaySeconds), clock_(&clock), last_(clock.now()) {}

  // True when more than `delay` seconds lie between now and the last time it
  // was true (in either direction, so a clock set back also opens the gate);
  // then the gate closes again from now.
  bool hasElapsed() {
    Date now = clock_->now();
    double gap = std::chrono::duration<double>(now - last_).count();
    if (gap < 0) gap = -gap;
    if (gap > delay_) {
      last_ = now;
      return true;
    }
    return false;
  }
  double delay() const { return delay_; }
  Date last() const { return last_; }

 private:
  double delay_;
  const Clock* clock_;
  Date last_;
};

}  // namespace velmora
