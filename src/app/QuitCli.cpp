// `velmora quit`: asks the `velmora serve` of this home to stop.
#include <CLI/CLI.hpp>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <optional>
#include <csignal>
#include <iostream>
#include <memory>
#include <thread>

#include "app/CliRegistry.h"
#include "shell/SingleInstanceLock.h"

namespace velmora::app {

namespace {

int runQuit(bool wait, double timeoutSeconds) {
  std::optional<pid_t> pid;
  std::filesystem::path lockFile;
  for (const auto& path : SingleInstanceLock::candidatePaths())
    if ((pid = SingleInstanceLock::runningHolder(path))) {
      lockFile = path;
      break;
    }
  if (!pid) {
    std::cerr << "velmora quit: no `velmora serve` is running for this home\n";
    return 1;
  }
  if (::kill(*pid, SIGTERM) != 0) {
    std::cerr << "velmora quit: cannot signal process " << *pid << ": " << std::strerror(errno) << "\n";
    return 1;
  }
  if (!wait) return 0;
  // The lock is let go only when the process has finished stopping.
  auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeoutSeconds);
  while (SingleInstanceLock::runningHolder(lockFile) == pid) {
    if (std::chrono::steady_clock::now() >= deadline) {
      std::cerr << "velmora quit: process " << *pid << " is still stopping (index updates may be finishing)\n";
      return 1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return 0;
}

const bool registered = registerCli(81, [](CLI::App& root, CliContext& context) {
  CLI::App* quit = root.add_subcommand("quit", "stop the `velmora serve` running for this home");
  auto noWait = std::make_shared<bool>(false);
  auto timeout = std::make_shared<double>(60.0);
  quit->add_flag("--no-wait", *noWait, "return once asked, without waiting for it to stop");
  quit->add_option("--timeout", *timeout, "seconds to wait for it to stop")->check(CLI::NonNegativeNumber);
  quit->callback([&context, noWait, timeout] { context.exitCode = runQuit(!*noWait, *timeout); });
});

}  // namespace

}  // namespace velmora::app
