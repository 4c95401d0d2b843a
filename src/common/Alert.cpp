#include "common/Alert.h"

#include <mutex>

#include "common/Logger.h"
#include "common/MainQueue.h"

namespace velmora {

namespace {
std::mutex presenterMutex;
Alert::Presenter& presenter() {
  static Alert::Presenter instance;
  return instance;
}
}  // namespace

void Alert::setPresenter(Presenter p) {
  std::lock_guard guard(presenterMutex);
  presenter() = std::move(p);
}

void Alert::show(Alert alert, Completion completion) {
  MainQueue::async([alert = std::move(alert), completion = std::move(completion)] {
    Presenter p;
    {
      std::lock_guard guard(presenterMutex);
      p = presenter();
    }
    if (p) {
      p(alert, completion);
      return;
    }
    Logger::shared().log("Alert: " + alert.title + (alert.text.empty() ? "" : " " + alert.text));
    if (completion) completion(-1);
  });
}

}  // namespace velmora
