#include "common/Clock.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <thread>

#include "common/MainQueue.h"

namespace velmora {

namespace {
// 2001-01-01 00:00:00 UTC in Unix seconds.
constexpr double kReferenceDateUnix = 978307200.0;

class SystemClock final : public Clock {
 public:
  Date now() const override { return std::chrono::system_clock::now(); }
};

// One timer thread serving every delayed task of the process.
class ThreadScheduler final : public Scheduler {
 public:
  ThreadScheduler() : thread_([this] { loop(); }) {}
  ~ThreadScheduler() override {
    {
      std::lock_guard guard(mutex_);
      stopping_ = true;
    }
    wake_.notify_all();
    thread_.join();
  }
  const Clock& clock() const override { return Clock::system(); }
  TaskId schedule(Seconds delay, Task task) override {
    auto due = std::chrono::steady_clock::now() +
               std::chrono::duration_cast<std::chrono::steady_clock::duration>(delay);
    TaskId id;
    {
      std::lock_guard guard(mutex_);
      id = ++lastId_;
      pending_.emplace(id, Entry{due, std::move(task)});
    }
    wake_.notify_all();
    return id;
  }
  bool cancel(TaskId id) override {
    std::lock_guard guard(mutex_);
    return pending_.erase(id) > 0;
  }

 private:
  struct Entry {
    std::chrono::steady_clock::time_point due;
    Task task;
  };
  void loop() {
    std::unique_lock lock(mutex_);
    while (!stopping_) {
      auto next = pending_.end();
      for (auto it = pending_.begin(); it != pending_.end(); ++it)
        if (next == pending_.end() || it->second.due < next->second.due) next = it;
      if (next == pending_.end()) {
        wake_.wait(lock);
        continue;
      }
      if (next->second.due > std::chrono::steady_clock::now()) {
        // A copy: the entry may be cancelled (erased) while this thread waits.
        const auto due = next->second.due;
        wake_.wait_until(lock, due);
        continue;
      }
      Task task = std::move(next->second.task);
      pending_.erase(next);
      lock.unlock();
      task();
      lock.lock();
    }
  }
  std::mutex mutex_;
  std::condition_variable wake_;
  std::map<TaskId, Entry> pending_;
  TaskId lastId_ = 0;
  bool stopping_ = false;
  std::thread thread_;
};

// Delayed tasks that run on the main loop: the timer thread hands them over.
class MainLoopScheduler final : public Scheduler {
 public:
  const Clock& clock() const override { return Clock::system(); }
  TaskId schedule(Seconds delay, Task task) override {
    return Scheduler::background().schedule(
        delay, [task = std::move(task)]() mutable { MainQueue::async(std::move(task)); });
  }
  bool cancel(TaskId id) override { return Scheduler::background().cancel(id); }
};
}  // namespace

double secondsSinceReferenceDate(Date date) {
  return std::chrono::duration<double>(date.time_since_epoch()).count() - kReferenceDateUnix;
}

Date dateFromReferenceSeconds(double seconds) {
  return Date(std::chrono::duration_cast<Date::duration>(
      std::chrono::duration<double>(seconds + kReferenceDateUnix)));
}

const Clock& Clock::system() {
  static SystemClock clock;
  return clock;
}

Scheduler& Scheduler::background() {
  static ThreadScheduler scheduler;
  return scheduler;
}

Scheduler& Scheduler::main() {
  static MainLoopScheduler scheduler;
  return scheduler;
}

struct RepeatingTimer::State {
  std::mutex mutex;
  Scheduler* scheduler;
  Seconds interval;
  Scheduler::Task task;
  Scheduler::TaskId current = 0;
  bool cancelled = false;

  static void arm(const std::shared_ptr<State>& self) {
    std::weak_ptr<State> weak = self;
    std::lock_guard guard(self->mutex);
    if (self->cancelled) return;
    self->current = self->scheduler->schedule(self->interval, [weak] {
      auto state = weak.lock();
      if (!state) return;
      {
        std::lock_guard guard(state->mutex);
        if (state->cancelled) return;
      }
      state->task();
      arm(state);
    });
  }
};

RepeatingTimer::RepeatingTimer(Scheduler& scheduler, Seconds interval, Scheduler::Task task)
    : state_(std::make_shared<State>()) {
  state_->scheduler = &scheduler;
  state_->interval = interval;
  state_->task = std::move(task);
  State::arm(state_);
}

RepeatingTimer::~RepeatingTimer() { cancel(); }

void RepeatingTimer::cancel() {
  std::lock_guard guard(state_->mutex);
  state_->cancelled = true;
  state_->scheduler->cancel(state_->current);
}

}  // namespace velmora
