#include "stores/ChangeNotifier.h"

#include <vector>

#include "common/MainQueue.h"

namespace velmora {

int ChangeNotifier::didChange(Handler call) { return observers_.add(std::move(call)); }

void ChangeNotifier::removeObserver(int token) { observers_.remove(token); }

void ChangeNotifier::post() const {
  auto calls = observers_.snapshot();
  if (calls.empty()) return;
  MainQueue::async([calls = std::move(calls)] {
    for (auto& call : calls) call();
  });
}

}  // namespace velmora
