#include "common/OperationQueue.h"

#include <algorithm>
#include <filesystem>

namespace velmora {

void Operation::start() {
  if (!cancelled_) {
    state_ = State::executing;
    body_(*this);
  }
  {
    std::lock_guard guard(mutex_);
    state_ = State::finished;
  }
  done_.notify_all();
}

void Operation::waitUntilFinished() {
  std::unique_lock lock(mutex_);
  done_.wait(lock, [&] { return state_ == State::finished; });
}

OperationQueue::OperationQueue(int width, std::string name, bool suspended)
    : name_(std::move(name)), width_(std::max(1, width)), suspended_(suspended) {}

OperationQueue::~OperationQueue() {
  std::vector<std::thread> threads;
  {
    std::unique_lock lock(mutex_);
    // Work that was queued still runs, as it would after the owner let go;
    // a suspended queue never would, so its pending work is dropped.
    if (suspended_) pending_.clear();
    changed_.wait(lock, [&] { return pending_.empty() && running_.empty(); });
    stopping_ = true;
    threads.swap(threads_);
  }
  changed_.notify_all();
  for (auto& t : threads) t.join();
}

std::string OperationQueue::nameFor(SourceLocation where) {
  return std::filesystem::path(where.fileName).stem().string() + " #" +
         std::to_string(where.line);
}

std::unique_ptr<OperationQueue> OperationQueue::maxConcurrent(int width, std::string_view name,
                                                              SourceLocation where) {
  return std::make_unique<OperationQueue>(width,
                                          name.empty() ? nameFor(where) : std::string(name));
}

std::shared_ptr<Operation> OperationQueue::addOperation(std::function<void()> block) {
  auto op = std::make_shared<Operation>([block = std::move(block)](Operation&) { block(); });
  addOperation(op);
  return op;
}

std::shared_ptr<Operation> OperationQueue::addOperation(std::function<void(Operation&)> body) {
  auto op = std::make_shared<Operation>(std::move(body));
  addOperation(op);
  return op;
}

void OperationQueue::addOperation(std::shared_ptr<Operation> operation) {
  std::lock_guard guard(mutex_);
  pending_.push_back(std::move(operation));
  startWorkersLocked();
  changed_.notify_all();
}

void OperationQueue::startWorkersLocked() {
  if (suspended_ || stopping_) return;
  // Threads that finished their loop are joined lazily here.
  while (liveWorkers_ < width_ &&
         static_cast<int>(pending_.size()) > idleWorkers_) {
    ++liveWorkers_;
    threads_.emplace_back([this] { workerLoop(); });
  }
}

void OperationQueue::workerLoop() {
  std::unique_lock lock(mutex_);
  while (true) {
    if (!stopping_ && !suspended_ && !pending_.empty() &&
        static_cast<int>(running_.size()) < width_) {
      auto op = pending_.front();
      pending_.pop_front();
      running_.push_back(op);
      lock.unlock();
      willRun(*op);
      op->start();
      didRun(*op);
      lock.lock();
      running_.erase(std::find(running_.begin(), running_.end(), op));
      changed_.notify_all();
      continue;
    }
    if (stopping_) break;
    ++idleWorkers_;
    changed_.wait(lock);
    --idleWorkers_;
  }
  --liveWorkers_;
}

void OperationQueue::cancelAllOperations() {
  std::lock_guard guard(mutex_);
  for (auto& op : pending_) op->cancel();
  for (auto& op : running_) op->cancel();
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [&] { return (pending_.empty() || suspended_) && running_.empty(); });
}

void OperationQueue::setSuspended(bool suspended) {
  std::lock_guard guard(mutex_);
  suspended_ = suspended;
  startWorkersLocked();
  changed_.notify_all();
}

bool OperationQueue::isSuspended() const {
  std::lock_guard guard(mutex_);
  return suspended_;
}

void OperationQueue::setMaxConcurrentOperationCount(int width) {
  std::lock_guard guard(mutex_);
  width_ = std::max(1, width);
  startWorkersLocked();
  changed_.notify_all();
}

int OperationQueue::maxConcurrentOperationCount() const {
  std::lock_guard guard(mutex_);
  return width_;
}

int OperationQueue::operationCount() const {
  std::lock_guard guard(mutex_);
  return static_cast<int>(pending_.size() + running_.size());
}

SerialQueue::SerialQueue(std::string_view name, SourceLocation where)
    : OperationQueue(1, name.empty() ? nameFor(where) : std::string(name)) {}

}  // namespace velmora
