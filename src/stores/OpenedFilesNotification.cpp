#include "stores/OpenedFilesNotification.h"

#include <map>
#include <mutex>

#include "common/MainQueue.h"

namespace velmora {

namespace {
struct Registry {
  std::mutex mutex;
  std::map<int, OpenedFilesNotification::Handler> handlers;
  int nextToken = 1;
};
// Never destroyed: observers (process-wide stores among them) may unregister
// during exit, after function-local statics constructed later are gone.
Registry& registry() {
  static Registry* instance = new Registry;
  return *instance;
}
}  // namespace

void OpenedFilesNotification::post(std::vector<std::string> paths) {
  std::vector<Handler> handlers;
  {
    std::lock_guard guard(registry().mutex);
    for (auto& [token, h] : registry().handlers) handlers.push_back(h);
  }
  if (handlers.empty()) return;
  MainQueue::async([handlers = std::move(handlers), paths = std::move(paths)] {
    for (auto& h : handlers) h(paths);
  });
}

int OpenedFilesNotification::observe(Handler handler) {
  std::lock_guard guard(registry().mutex);
  int token = registry().nextToken++;
  registry().handlers.emplace(token, std::move(handler));
  return token;
}

void OpenedFilesNotification::removeObserver(int token) {
  std::lock_guard guard(registry().mutex);
  registry().handlers.erase(token);
}

}  // namespace velmora
