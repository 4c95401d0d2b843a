#pragma once
#include <memory>
#include <mutex>
#include <utility>

namespace velmora {

// A non-recursive mutual-exclusion gate. Copies share the same gate, so a Lock
// can be handed to whatever needs to serialise with its owner.
class Lock {
 public:
  Lock() : mutex_(std::make_shared<std::mutex>()) {}

  template <typename Fn>
  decltype(auto) exclusive(Fn&& fn) const {
    std::lock_guard guard(*mutex_);
    return std::forward<Fn>(fn)();
  }

  std::mutex& mutex() const { return *mutex_; }

 private:
  std::shared_ptr<std::mutex> mutex_;
};

// A value that is only read or changed under its own lock. Never hold it
// across a blocking call: access() runs the function while locked.
template <typename T>
class Locked {
 public:
  Locked() = default;
  explicit Locked(T value) : value_(std::move(value)) {}
  Locked(const Locked&) = delete;
  Locked& operator=(const Locked&) = delete;

  T value() const {
    return lock_.exclusive([&] { return value_; });
  }
  void set(T value) {
    lock_.exclusive([&] { value_ = std::move(value); });
  }
  template <typename Fn>
  decltype(auto) access(Fn&& fn) {
    return lock_.exclusive([&]() -> decltype(auto) { return std::forward<Fn>(fn)(value_); });
  }
  template <typename Fn>
  decltype(auto) access(Fn&& fn) const {
    return lock_.exclusive([&]() -> decltype(auto) { return std::forward<Fn>(fn)(value_); });
  }

 private:
  Lock lock_;
  T value_{};
};

}  // namespace velmora
