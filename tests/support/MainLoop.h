#pragma once
#include <chrono>
#include <thread>

#include "common/MainQueue.h"

namespace velmora::test {

// Runs the main loop until `done` holds; false when nothing came within 20 s
// (a fault in the code under test, not a timing rule).
template <typename Done>
bool runMainUntil(Done done) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!done()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    if (MainQueue::poll() == 0) std::this_thread::yield();
  }
  return true;
}

}  // namespace velmora::test
