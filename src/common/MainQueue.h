#pragma once
#include <functional>

namespace velmora {

// The program's main thread and its event loop (a Boost.Asio io_context, kept
// out of this header). Front-ends call run() from main(); work for the main
// thread is posted with async() from anywhere.
class MainQueue {
 public:
  using Task = std::function<void()>;

  static void async(Task task);
  // Runs task on the main thread and waits for it; inline when called there.
  static void sync(const Task& task);
  static bool isMainThread();

  // Makes the calling thread the main thread (done by the first call to run
  // or poll, or explicitly by a test's fixture).
  static void adoptCurrentThread();
  // Runs the loop until stop(); keeps running while idle.
  static void run();
  static void stop();
  // Runs what is ready now and returns how many tasks ran (tests, shutdown).
  static std::size_t poll();

  // The underlying io_context, as void* so that only code that includes
  // Asio itself (network servers) sees its type.
  static void* ioContext();
};

}  // namespace velmora
