#pragma once
#include <functional>
#include <memory>

namespace velmora {

// Tells the main queue when something was mounted or unmounted, from
// libmount's monitor of the kernel mount table waited on by the main loop.
// Create and destroy it on the main thread.
class MountMonitor {
 public:
  using Handler = std::function<void()>;
  explicit MountMonitor(Handler onChange);
  ~MountMonitor();
  MountMonitor(const MountMonitor&) = delete;
  MountMonitor& operator=(const MountMonitor&) = delete;

  // False when the kernel table cannot be watched; the volume list then
  // stays as it was at start.
  bool isWatching() const;

 private:
  struct State;
  std::shared_ptr<State> state_;
};

}  // namespace velmora
