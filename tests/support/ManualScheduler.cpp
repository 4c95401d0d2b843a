#include "support/ManualScheduler.h"

namespace velmora::test {

Scheduler::TaskId ManualScheduler::schedule(Seconds delay, Task task) {
  std::lock_guard guard(mutex_);
  Date due = clock_.now() + std::chrono::duration_cast<Date::duration>(delay);
  TaskId id = ++lastId_;
  pending_.emplace(due, std::make_pair(id, std::move(task)));
  return id;
}

bool ManualScheduler::cancel(TaskId id) {
  std::lock_guard guard(mutex_);
  for (auto it = pending_.begin(); it != pending_.end(); ++it)
    if (it->second.first == id) {
      pending_.erase(it);
      return true;
    }
  return false;
}

void ManualScheduler::advance(Seconds by) {
  Date end = clock_.now() + std::chrono::duration_cast<Date::duration>(by);
  while (true) {
    Task task;
    {
      std::lock_guard guard(mutex_);
      auto first = pending_.begin();
      if (first == pending_.end() || first->first > end) break;
      clock_.set(first->first);
      task = std::move(first->second.second);
      pending_.erase(first);
    }
    task();
  }
  clock_.set(end);
}

std::size_t ManualScheduler::pendingCount() const {
  std::lock_guard guard(mutex_);
  return pending_.size();
}

}  // namespace velmora::test
