#pragma once
#include <map>
#include <mutex>

#include "common/Clock.h"

namespace velmora::test {

// A clock that stands still until a test moves it.
class ManualClock : public Clock {
 public:
  explicit ManualClock(Date start = dateFromReferenceSeconds(800000000.0)) : now_(start) {}
  Date now() const override {
    std::lock_guard guard(mutex_);
    return now_;
  }
  void set(Date date) {
    std::lock_guard guard(mutex_);
    now_ = date;
  }
  void advance(Seconds by) {
    std::lock_guard guard(mutex_);
    now_ += std::chrono::duration_cast<Date::duration>(by);
  }

 private:
  mutable std::mutex mutex_;
  Date now_;
};

// A scheduler driven by a test: tasks run inline, on the calling thread, when
// advance() moves the clock past their due time, in due order.
class ManualScheduler : public Scheduler {
 public:
  explicit ManualScheduler(ManualClock& clock) : clock_(clock) {}
  const Clock& clock() const override { return clock_; }
  TaskId schedule(Seconds delay, Task task) override;
  bool cancel(TaskId id) override;
  // Moves time forward, running every task that falls due on the way.
  void advance(Seconds by);
  std::size_t pendingCount() const;

 private:
  ManualClock& clock_;
  mutable std::mutex mutex_;
  std::multimap<Date, std::pair<TaskId, Task>> pending_;
  TaskId lastId_ = 0;
};

}  // namespace velmora::test
