#include "stores/ChangeNotifier.h"

#include <vector>

#include "common/MainQueue.h"

namespace velmora {

int ChangeNotifier::didChange(Handler call) {
  std::lock_guard guard(mutex_);
  int token = nextToken_++;
  observers_.emplace(token, std::move(call));
  return token;
}

void ChangeNotifier::removeObserver(int token) {
  std::lock_guard guard(mutex_);
  observers_.erase(token);
}

void ChangeNotifier::post() const {
  std::vector<Handler> calls;
  {
    std::lock_guard guard(mutex_);
    for (auto& [token, call] : observers_) calls.push_back(call);
  }
  if (calls.empty()) return;
  MainQueue::async([calls = std::move(calls)] {
    for (auto& call : calls) call();
  });
}

}  // namespace velmora
