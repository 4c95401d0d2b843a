#pragma once
#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "common/Lock.h"

namespace velmora {

// Where a queue was made, for its name. std::source_location would do, but
// clang 14 with libstdc++ 12 lacks it; the builtins work with both compilers.
struct SourceLocation {
  const char* fileName = "";
  unsigned line = 0;
  static constexpr SourceLocation current(const char* file = __builtin_FILE(),
                                          unsigned line = __builtin_LINE()) {
    return {file, line};
  }
};

// One unit of work for an OperationQueue. A long-running body polls
// isCancelled() and returns early; cancelling a pending operation means it
// never starts.
class Operation {
 public:
  explicit Operation(std::function<void(Operation&)> body) : body_(std::move(body)) {}
  virtual ~Operation() = default;

  void cancel() { cancelled_ = true; }
  bool isCancelled() const { return cancelled_; }
  bool isExecuting() const { return state_ == State::executing; }
  bool isFinished() const { return state_ == State::finished; }
  void waitUntilFinished();

  // Runs the body on the calling thread (queues call this).
  void start();

 private:
  enum class State { pending, executing, finished };
  std::function<void(Operation&)> body_;
  std::atomic<bool> cancelled_{false};
  std::atomic<State> state_{State::pending};
  std::mutex mutex_;
  std::condition_variable done_;
};

// A queue that runs operations on up to `width` threads of its own, in the
// order they were added. Threads start on demand and live as long as the queue.
class OperationQueue {
 public:
  explicit OperationQueue(int width = 1, std::string name = {}, bool suspended = false);
  virtual ~OperationQueue();
  OperationQueue(const OperationQueue&) = delete;
  OperationQueue& operator=(const OperationQueue&) = delete;

  // A queue named as the source file without extension, " #" and the line,
  // e.g. "FileSystemSearch #241", unless a name is given.
  static std::unique_ptr<OperationQueue> maxConcurrent(
      int width, std::string_view name = {},
      SourceLocation where = SourceLocation::current());
  static std::string nameFor(SourceLocation where);

  std::shared_ptr<Operation> addOperation(std::function<void()> block);
  std::shared_ptr<Operation> addOperation(std::function<void(Operation&)> body);
  void addOperation(std::shared_ptr<Operation> operation);

  void cancelAllOperations();
  void waitUntilAllOperationsAreFinished();

  void setSuspended(bool suspended);
  bool isSuspended() const;
  void setMaxConcurrentOperationCount(int width);
  int maxConcurrentOperationCount() const;
  // Operations added and not yet finished.
  int operationCount() const;
  const std::string& name() const { return name_; }

 protected:
  // Hooks around each operation, for queues that count what runs.
  virtual void willRun(Operation&) {}
  virtual void didRun(Operation&) {}

 private:
  void startWorkersLocked();
  void workerLoop();

  std::string name_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::shared_ptr<Operation>> pending_;
  std::vector<std::shared_ptr<Operation>> running_;
  std::vector<std::thread> threads_;
  int width_;
  int idleWorkers_ = 0;
  int liveWorkers_ = 0;
  bool suspended_;
  bool stopping_ = false;
};

// A queue of width 1: operations run one after another.
class SerialQueue : public OperationQueue {
 public:
  explicit SerialQueue(std::string_view name = {},
                       SourceLocation where = SourceLocation::current());
};

// An operation queue that knows how many of its operations are running now.
class TrackableOperationQueue : public OperationQueue {
 public:
  using OperationQueue::OperationQueue;
  int activeOperations() const { return active_.value(); }

 protected:
  void willRun(Operation&) override {
    active_.access([](int& n) { ++n; });
  }
  void didRun(Operation&) override {
    active_.access([](int& n) { --n; });
  }

 private:
  Locked<int> active_{0};
};

}  // namespace velmora
