#pragma once
#include <sys/types.h>

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace velmora {

// Keeps a second long-running Velmora off the same home: an exclusive flock
// on a file that also names the holder's process id. The lock goes with the
// process, so a crash never leaves a stale lock behind.
class SingleInstanceLock {
 public:
  enum class Outcome { acquired, heldByOther, unavailable };

  // "<support folder>/serve.lock".
  static std::filesystem::path defaultPath();
  // Where to look, in order: the support folder, then the caches folder for
  // when the support folder cannot be written.
  static std::vector<std::filesystem::path> candidatePaths();

  explicit SingleInstanceLock(std::filesystem::path file);
  ~SingleInstanceLock();
  SingleInstanceLock(const SingleInstanceLock&) = delete;
  SingleInstanceLock& operator=(const SingleInstanceLock&) = delete;

  // acquired, heldByOther (see holder()), or unavailable (see error()).
  Outcome acquire();
  void release();
  std::optional<pid_t> holder() const { return holder_; }
  const std::string& error() const { return error_; }

  // The process holding the lock at `file`, if one does.
  static std::optional<pid_t> runningHolder(const std::filesystem::path& file);

 private:
  std::filesystem::path file_;
  int fd_ = -1;
  std::optional<pid_t> holder_;
  std::string error_;
};

}  // namespace velmora
