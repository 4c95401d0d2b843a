#pragma once
#include <functional>
#include <string>
#include <vector>

namespace velmora {

// Posted when the user opens files from a result list; RecentItems listens.
class OpenedFilesNotification {
 public:
  using Handler = std::function<void(const std::vector<std::string>& paths)>;
  // Observers are called on the main queue.
  static void post(std::vector<std::string> paths);
  static int observe(Handler handler);
  static void removeObserver(int token);
};

}  // namespace velmora
