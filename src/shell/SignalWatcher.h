#pragma once
#include <functional>
#include <thread>
#include <vector>

namespace velmora {

// Turns process signals (SIGTERM, SIGINT, SIGUSR1, ...) into calls on the
// main queue. The handler itself only writes the signal's number to a pipe;
// a small thread reads it and posts the call. One watcher at a time.
class SignalWatcher {
 public:
  using Handler = std::function<void(int signal)>;

  SignalWatcher(std::vector<int> signals, Handler handler);
  ~SignalWatcher();
  SignalWatcher(const SignalWatcher&) = delete;
  SignalWatcher& operator=(const SignalWatcher&) = delete;

 private:
  void readLoop();

  std::vector<int> signals_;
  Handler handler_;
  std::thread reader_;
};

}  // namespace velmora
