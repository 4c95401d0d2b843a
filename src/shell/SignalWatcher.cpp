#include "shell/SignalWatcher.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <map>

#include "common/MainQueue.h"

namespace velmora {

namespace {
int pipeFds[2] = {-1, -1};
std::map<int, struct sigaction> previousActions;

extern "C" void onSignal(int signal) {
  int saved = errno;
  unsigned char byte = static_cast<unsigned char>(signal);
  if (pipeFds[1] >= 0) {
    ssize_t n = ::write(pipeFds[1], &byte, 1);
    (void)n;
  }
  errno = saved;
}
}  // namespace

SignalWatcher::SignalWatcher(std::vector<int> signals, Handler handler)
    : signals_(std::move(signals)), handler_(std::move(handler)) {
  if (::pipe2(pipeFds, O_CLOEXEC) != 0) return;
  reader_ = std::thread([this] { readLoop(); });
  for (int signal : signals_) {
    struct sigaction action {};
    action.sa_handler = onSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    struct sigaction previous {};
    if (sigaction(signal, &action, &previous) == 0) previousActions[signal] = previous;
  }
}

SignalWatcher::~SignalWatcher() {
  for (auto& [signal, previous] : previousActions) sigaction(signal, &previous, nullptr);
  previousActions.clear();
  if (reader_.joinable()) {
    unsigned char stop = 0;
    ssize_t n = ::write(pipeFds[1], &stop, 1);
    (void)n;
    reader_.join();
  }
  for (int& fd : pipeFds) {
    if (fd >= 0) ::close(fd);
    fd = -1;
  }
}

void SignalWatcher::readLoop() {
  while (true) {
    unsigned char byte = 0;
    ssize_t n = ::read(pipeFds[0], &byte, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0 || byte == 0) return;
    int signal = byte;
    MainQueue::async([handler = handler_, signal] { handler(signal); });
  }
}

}  // namespace velmora
