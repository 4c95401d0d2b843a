#pragma once
#include <memory>

#include "shell/AppDelegate.h"

namespace velmora {

// The long-running application: launches through its delegate, runs the
// main loop, and stops on SIGTERM or SIGINT (`velmora quit` sends SIGTERM).
// SIGUSR1 stands for the "EnsureQueryWindowIsOpen" notification.
class Application {
 public:
  // Watches the signals from here on: one that comes before run() is
  // handled once the main loop starts.
  explicit Application(AppDelegate& delegate);
  ~Application();

  // Returns the exit status once the application has terminated.
  int run();
  // Asks the delegate whether to stop and, if so, stops.
  void terminate();
  bool isTerminating() const { return terminating_; }

 private:
  void finishTermination();

  AppDelegate& delegate_;
  std::unique_ptr<class SignalWatcher> signals_;
  bool terminating_ = false;
  bool finished_ = false;
};

}  // namespace velmora
