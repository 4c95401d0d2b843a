#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <thread>

#include "common/Blocker.h"
#include "common/MainQueue.h"
#include "common/OperationQueue.h"

using namespace velmora;

TEST(OperationQueue, NamesWidthAndOrder) {
  auto queue = OperationQueue::maxConcurrent(2);
  EXPECT_EQ(queue->name(), "Queues_test #" + std::to_string(__LINE__ - 1));
  SerialQueue named("Merge");
  EXPECT_EQ(named.name(), "Merge");

  // A serial queue runs in the order work was added.
  std::vector<int> order;
  for (int i = 0; i < 50; ++i) named.addOperation([&order, i] { order.push_back(i); });
  named.waitUntilAllOperationsAreFinished();
  ASSERT_EQ(order.size(), 50u);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(order[i], i);

  // Width 2 never runs a third operation at once.
  std::atomic<int> running{0}, peak{0};
  Blocker gate;
  for (int i = 0; i < 6; ++i)
    queue->addOperation([&] {
      int now = ++running;
      int seen = peak.load();
      while (now > seen && !peak.compare_exchange_weak(seen, now)) {
      }
      gate.wait();
      --running;
    });
  while (running.load() < 2) std::this_thread::yield();
  EXPECT_EQ(queue->operationCount(), 6);
  gate.setSuspended(false);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(peak.load(), 2);
  EXPECT_EQ(queue->operationCount(), 0);
}

TEST(OperationQueue, SuspendedAndCancelled) {
  OperationQueue queue(1, "test", /*suspended=*/true);
  std::atomic<int> ran{0};
  auto first = queue.addOperation([&] { ++ran; });
  auto second = queue.addOperation([&] { ++ran; });
  EXPECT_TRUE(queue.isSuspended());
  second->cancel();
  queue.setSuspended(false);
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(ran.load(), 1);
  EXPECT_TRUE(first->isFinished());
  EXPECT_TRUE(second->isFinished());

  // A running operation sees cancelAllOperations through isCancelled().
  Blocker started;
  std::promise<bool> sawCancel;
  queue.addOperation([&](Operation& op) {
    started.setSuspended(false);
    while (!op.isCancelled()) std::this_thread::yield();
    sawCancel.set_value(true);
  });
  started.wait();
  queue.cancelAllOperations();
  EXPECT_TRUE(sawCancel.get_future().get());
  queue.waitUntilAllOperationsAreFinished();
}

TEST(OperationQueue, TrackableCountsActive) {
  TrackableOperationQueue queue(3, "tracked");
  Blocker gate, started;
  std::atomic<int> entered{0};
  for (int i = 0; i < 3; ++i)
    queue.addOperation([&] {
      ++entered;
      gate.wait();
    });
  while (entered.load() < 3) std::this_thread::yield();
  EXPECT_EQ(queue.activeOperations(), 3);
  gate.setSuspended(false);
  queue.waitUntilAllOperationsAreFinished();
  EXPECT_EQ(queue.activeOperations(), 0);
}

TEST(MainQueue, AsyncRunsOnMainAndSyncWaits) {
  MainQueue::adoptCurrentThread();
  std::vector<int> order;
  MainQueue::async([&] { order.push_back(1); });
  MainQueue::async([&] { order.push_back(2); });
  // sync from the main thread runs inline.
  MainQueue::sync([&] { order.push_back(0); });
  EXPECT_EQ(MainQueue::poll(), 2u);
  EXPECT_EQ(order, (std::vector<int>{0, 1, 2}));

  // sync from another thread waits for the main loop to run it.
  std::atomic<bool> ranOnMain{false};
  std::thread other([&] { MainQueue::sync([&] { ranOnMain = MainQueue::isMainThread(); }); });
  while (!ranOnMain.load()) MainQueue::poll();
  other.join();
  EXPECT_TRUE(ranOnMain.load());
}
