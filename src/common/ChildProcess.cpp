#include "common/ChildProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <thread>

extern char** environ;

namespace velmora::ChildProcess {

namespace {
// Starts the program with standard input and error on /dev/null and standard
// output on `outputFD` (or /dev/null when it is -1). Returns the pid, or the
// error posix_spawn gave.
Started spawn(std::vector<std::string>& arguments, bool searchPath, int outputFD) {
  Started started;
  if (arguments.empty()) {
    started.error = EINVAL;
    return started;
  }
  std::vector<char*> argv;
  for (auto& argument : arguments) argv.push_back(argument.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  if (outputFD >= 0)
    posix_spawn_file_actions_adddup2(&actions, outputFD, STDOUT_FILENO);
  else
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  int error = searchPath ? posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ)
                         : posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  if (error != 0)
    started.error = error;
  else
    started.pid = pid;
  return started;
}
}  // namespace

Started spawnQuietly(std::vector<std::string> arguments, bool searchPath) { return spawn(arguments, searchPath, -1); }

int waitForExit(pid_t pid) {
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return status;
}

void reapInBackground(pid_t pid) {
  std::thread([pid] { waitForExit(pid); }).detach();
}

Finished runCollectingOutput(std::vector<std::string> arguments) {
  Finished finished;
  if (arguments.empty()) {
    finished.error = EINVAL;
    return finished;
  }
  int fds[2];
  if (::pipe2(fds, O_CLOEXEC) != 0) {
    finished.error = errno;
    return finished;
  }
  Started started = spawn(arguments, false, fds[1]);
  ::close(fds[1]);
  if (started.error != 0) {
    ::close(fds[0]);
    finished.error = started.error;
    return finished;
  }
  const pid_t pid = started.pid;
  char buffer[65536];
  for (;;) {
    ssize_t n = ::read(fds[0], buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    finished.output.append(buffer, static_cast<std::size_t>(n));
  }
  ::close(fds[0]);
  finished.waitStatus = waitForExit(pid);
  return finished;
}

std::string currentProgram() {
  std::error_code ec;
  auto path = std::filesystem::read_symlink("/proc/self/exe", ec);
  return ec ? std::string() : path.string();
}

}  // namespace velmora::ChildProcess
