#include "common/MainQueue.h"

#include <atomic>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <future>
#include <optional>
#include <thread>

namespace velmora {

namespace {
struct Loop {
  boost::asio::io_context context;
  std::atomic<std::thread::id> mainThread{std::this_thread::get_id()};
};

Loop& loop() {
  static Loop instance;
  return instance;
}
}  // namespace

void MainQueue::async(Task task) { boost::asio::post(loop().context, std::move(task)); }

void MainQueue::sync(const Task& task) {
  if (isMainThread()) {
    task();
    return;
  }
  std::promise<void> done;
  async([&] {
    task();
    done.set_value();
  });
  done.get_future().wait();
}

bool MainQueue::isMainThread() { return loop().mainThread.load() == std::this_thread::get_id(); }

void MainQueue::adoptCurrentThread() { loop().mainThread = std::this_thread::get_id(); }

void MainQueue::run() {
  adoptCurrentThread();
  auto& context = loop().context;
  auto guard = boost::asio::make_work_guard(context);
  context.restart();
  context.run();
}

void MainQueue::stop() { loop().context.stop(); }

std::size_t MainQueue::poll() {
  adoptCurrentThread();
  auto& context = loop().context;
  context.restart();
  return context.poll();
}

void* MainQueue::ioContext() { return &loop().context; }

}  // namespace velmora
