#pragma once
#include <functional>

#include "common/ObserverList.h"
#include <string>

namespace velmora {

// The "didChange(call:)" of a store: observers registered here are called on
// the main queue after each save.
class ChangeNotifier {
 public:
  using Handler = std::function<void()>;

  explicit ChangeNotifier(std::string name) : name_(std::move(name)) {}
  ChangeNotifier(const ChangeNotifier&) = delete;
  ChangeNotifier& operator=(const ChangeNotifier&) = delete;

  // Returns a token for removeObserver.
  int didChange(Handler call);
  void removeObserver(int token);
  // Queues every observer's call on the main queue.
  void post() const;
  const std::string& name() const { return name_; }

 private:
  std::string name_;
  ObserverList<> observers_;
};

}  // namespace velmora
