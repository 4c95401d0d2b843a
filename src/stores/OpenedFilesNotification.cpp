#include "stores/OpenedFilesNotification.h"


#include "common/MainQueue.h"
#include "common/ObserverList.h"

namespace velmora {

namespace {
using Handlers = ObserverList<const std::vector<std::string>&>;
// Never destroyed: observers (process-wide stores among them) may unregister
// during exit, after function-local statics constructed later are gone.
Handlers& registry() {
  static Handlers* instance = new Handlers;
  return *instance;
}
}  // namespace

void OpenedFilesNotification::post(std::vector<std::string> paths) {
  auto handlers = registry().snapshot();
  if (handlers.empty()) return;
  MainQueue::async([handlers = std::move(handlers), paths = std::move(paths)] {
    for (auto& h : handlers) h(paths);
  });
}

int OpenedFilesNotification::observe(Handler handler) { return registry().add(std::move(handler)); }

void OpenedFilesNotification::removeObserver(int token) { registry().remove(token); }

}  // namespace velmora
