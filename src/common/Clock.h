#pragma once
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>

namespace velmora {

// Wall-clock instants; Date is what records and preferences store.
using Date = std::chrono::system_clock::time_point;
// Durations in seconds as the timing rules state them (0.66 s, 0.25 s, ...).
using Seconds = std::chrono::duration<double>;

// Seconds since 2001-01-01 00:00:00 UTC, the reference of stored dates.
double secondsSinceReferenceDate(Date date);
Date dateFromReferenceSeconds(double seconds);

// The source of "now". Everything with a timing rule takes one, so tests can
// pin or advance time instead of sleeping.
class Clock {
 public:
  virtual ~Clock() = default;
  virtual Date now() const = 0;
  static const Clock& system();
};

// Runs tasks after a delay. The real schedulers use the system clock and a
// thread or the main loop; tests use a manual one that they advance.
class Scheduler {
 public:
  using Task = std::function<void()>;
  using TaskId = std::uint64_t;

  virtual ~Scheduler() = default;
  virtual const Clock& clock() const = 0;
  // Runs task once after delay; the id can cancel it until it starts.
  virtual TaskId schedule(Seconds delay, Task task) = 0;
  // True when the task was still pending and will now never run.
  virtual bool cancel(TaskId id) = 0;
  // Background scheduler: tasks run on one private timer thread.
  static Scheduler& background();
  // Main-queue scheduler: tasks run on the main loop (MainQueue).
  static Scheduler& main();
};

// Runs a task every interval on a scheduler until cancelled or destroyed.
class RepeatingTimer {
 public:
  RepeatingTimer(Scheduler& scheduler, Seconds interval, Scheduler::Task task);
  ~RepeatingTimer();
  RepeatingTimer(const RepeatingTimer&) = delete;
  RepeatingTimer& operator=(const RepeatingTimer&) = delete;
  void cancel();

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace velmora
