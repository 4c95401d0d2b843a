#pragma once
#include <condition_variable>
#include <mutex>

namespace velmora {

// A gate that is closed at first: wait() blocks until setSuspended(false).
class Blocker {
 public:
  void wait() {
    std::unique_lock lock(mutex_);
    opened_.wait(lock, [&] { return !suspended_; });
  }
  void setSuspended(bool suspended) {
    {
      std::lock_guard guard(mutex_);
      suspended_ = suspended;
    }
    if (!suspended) opened_.notify_all();
  }
  bool isSuspended() const {
    std::lock_guard guard(mutex_);
    return suspended_;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable opened_;
  bool suspended_ = true;
};

}  // namespace velmora
