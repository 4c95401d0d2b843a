#include "shell/SingleInstanceLock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

#include "common/AppDirectories.h"

namespace velmora {

namespace fs = std::filesystem;

namespace {
std::optional<pid_t> readPid(int fd) {
  char buffer[32] = {};
  ssize_t n = ::pread(fd, buffer, sizeof buffer - 1, 0);
  if (n <= 0) return std::nullopt;
  char* end = nullptr;
  long value = std::strtol(buffer, &end, 10);
  if (end == buffer || value <= 0) return std::nullopt;
  return static_cast<pid_t>(value);
}
}  // namespace

fs::path SingleInstanceLock::defaultPath() { return AppDirectories::applicationSupportDirectory() / "serve.lock"; }

std::vector<fs::path> SingleInstanceLock::candidatePaths() {
  return {defaultPath(), AppDirectories::appCachesDirectory() / "serve.lock"};
}

SingleInstanceLock::SingleInstanceLock(fs::path file) : file_(std::move(file)) {}

SingleInstanceLock::~SingleInstanceLock() { release(); }

SingleInstanceLock::Outcome SingleInstanceLock::acquire() {
  std::error_code ec;
  fs::create_directories(file_.parent_path(), ec);
  int fd = ::open(file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (fd < 0) {
    error_ = "cannot create " + file_.string() + ": " + std::strerror(errno);
    return Outcome::unavailable;
  }
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    int saved = errno;
    holder_ = readPid(fd);
    ::close(fd);
    if (saved == EWOULDBLOCK) return Outcome::heldByOther;
    error_ = "cannot lock " + file_.string() + ": " + std::strerror(saved);
    return Outcome::unavailable;
  }
  std::string pid = std::to_string(::getpid()) + "\n";
  if (::ftruncate(fd, 0) != 0 || ::pwrite(fd, pid.data(), pid.size(), 0) != static_cast<ssize_t>(pid.size())) {
    error_ = "cannot write " + file_.string() + ": " + std::strerror(errno);
    ::close(fd);
    return Outcome::unavailable;
  }
  fd_ = fd;
  return Outcome::acquired;
}

void SingleInstanceLock::release() {
  if (fd_ < 0) return;
  // Empty the file first so nobody reads a finished process's id from it.
  if (::ftruncate(fd_, 0) != 0) {
  }
  ::close(fd_);
  fd_ = -1;
}

std::optional<pid_t> SingleInstanceLock::runningHolder(const fs::path& file) {
  int fd = ::open(file.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  std::optional<pid_t> pid;
  if (::flock(fd, LOCK_SH | LOCK_NB) != 0 && errno == EWOULDBLOCK) pid = readPid(fd);
  ::close(fd);
  return pid;
}

}  // namespace velmora
