#include "shell/Application.h"

#include <csignal>

#include "common/Logger.h"
#include "common/MainQueue.h"
#include "shell/SignalWatcher.h"

namespace velmora {

Application::Application(AppDelegate& delegate) : delegate_(delegate) {
  signals_ = std::make_unique<SignalWatcher>(std::vector<int>{SIGTERM, SIGINT, SIGUSR1}, [this](int signal) {
    if (signal == SIGUSR1) {
      delegate_.ensureQueryWindowIsOpen();
      return;
    }
    VLOG("signal {} asks to quit", signal);
    terminate();
  });
}

Application::~Application() = default;

int Application::run() {
  MainQueue::adoptCurrentThread();
  MainQueue::async([this] {
    delegate_.applicationWillFinishLaunching();
    delegate_.applicationDidFinishLaunching();
    delegate_.applicationDidBecomeActive();
  });
  MainQueue::run();
  return 0;
}

void Application::terminate() {
  if (terminating_) {
    Logger::shared().log("Velmora is already stopping.");
    return;
  }
  terminating_ = true;
  auto reply = delegate_.applicationShouldTerminate([this](bool terminate) {
    if (terminate)
      finishTermination();
    else
      terminating_ = false;
  });
  if (reply == AppDelegate::TerminateReply::terminateNow) finishTermination();
  if (reply == AppDelegate::TerminateReply::terminateCancel) terminating_ = false;
}

void Application::finishTermination() {
  if (finished_) return;
  finished_ = true;
  delegate_.applicationWillTerminate();
  MainQueue::stop();
}

}  // namespace velmora
