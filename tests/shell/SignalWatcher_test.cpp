#include "shell/SignalWatcher.h"

#include <gtest/gtest.h>

#include "support/MainLoop.h"

#include <chrono>
#include <csignal>
#include <thread>
#include <vector>

#include "common/MainQueue.h"

namespace velmora {
namespace {
using test::runMainUntil;

TEST(SignalWatcher, SignalsBecomeMainQueueCallsInOrderAndTheOldActionsComeBack) {
  MainQueue::adoptCurrentThread();
  std::vector<int> seen;
  std::thread::id ranOn;
  {
    SignalWatcher watcher({SIGUSR1, SIGUSR2}, [&](int signal) {
      seen.push_back(signal);
      ranOn = std::this_thread::get_id();
    });
    ASSERT_EQ(::raise(SIGUSR2), 0);
    ASSERT_TRUE(runMainUntil([&] { return seen.size() == 1; }));
    ASSERT_EQ(::raise(SIGUSR1), 0);
    ASSERT_TRUE(runMainUntil([&] { return seen.size() == 2; }));
    EXPECT_EQ(seen, (std::vector<int>{SIGUSR2, SIGUSR1}));
    EXPECT_EQ(ranOn, std::this_thread::get_id());
  }
  // Gone with the watcher: the default actions are back.
  struct sigaction now {};
  ASSERT_EQ(::sigaction(SIGUSR1, nullptr, &now), 0);
  EXPECT_EQ(now.sa_handler, SIG_DFL);
  ASSERT_EQ(::sigaction(SIGUSR2, nullptr, &now), 0);
  EXPECT_EQ(now.sa_handler, SIG_DFL);
}

}  // namespace
}  // namespace velmora
