#include "index/IndexMirror.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cmath>
#include <optional>

#include "common/Logger.h"

namespace velmora {

namespace fs = std::filesystem;

namespace {

struct Stamp {
  bool exists = false;
  timespec mtime{};
  double seconds = 0;  // since 2001; meaningful when exists
};

Stamp stampOf(const fs::path& file) {
  Stamp stamp;
  struct stat st {};
  if (::stat(file.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return stamp;
  stamp.exists = true;
  stamp.mtime = st.st_mtim;
  stamp.seconds = static_cast<double>(st.st_mtim.tv_sec) - 978307200.0 + st.st_mtim.tv_nsec / 1e9;
  return stamp;
}

// Copies beside the destination and renames over it, so that a failed copy
// leaves the old file whole; then gives the copy the source's date.
Status copyKeepingDate(const fs::path& from, const fs::path& to, const timespec& mtime) {
  fs::path partial = to;
  partial += ".partial";
  std::error_code ec;
  fs::remove(partial, ec);
  if (!fs::copy_file(from, partial, fs::copy_options::overwrite_existing, ec)) {
    fs::remove(partial, ec);
    return Status::fromErrno(ec ? ec.value() : EIO, "copying " + from.string() + " to " + to.string());
  }
  timespec times[2] = {{0, UTIME_OMIT}, mtime};
  if (::utimensat(AT_FDCWD, partial.c_str(), times, 0) != 0) {
    int error = errno;
    fs::remove(partial, ec);
    return Status::fromErrno(error, "dating " + to.string());
  }
  fs::rename(partial, to, ec);
  if (ec) {
    std::error_code ignored;
    fs::remove(partial, ignored);
    return Status::fromErrno(ec.value(), "replacing " + to.string());
  }
  return Status();
}

}  // namespace

Result<bool> IndexMirror::mirrorIfNeeded(const fs::path& local, const fs::path& remote, bool alwaysSync,
                                        const Clock& clock) {
  Stamp localStamp = stampOf(local);
  Stamp remoteStamp = stampOf(remote);
  if (!alwaysSync && remoteStamp.exists) {
    double now = secondsSinceReferenceDate(clock.now());
    if (std::fabs(now - remoteStamp.seconds) < kBusySeconds) {
      VLOG("DB file appears busy: {}", remote.string());
      return false;
    }
  }
  auto earlier = [](const Stamp& a, const Stamp& b) {
    if (!a.exists) return b.exists;
    if (!b.exists) return false;
    return a.mtime.tv_sec != b.mtime.tv_sec ? a.mtime.tv_sec < b.mtime.tv_sec : a.mtime.tv_nsec < b.mtime.tv_nsec;
  };
  if (earlier(localStamp, remoteStamp)) {
    VLOG("Mirror: Remote {} to Local {}", remote.string(), local.string());
    if (Status copied = copyKeepingDate(remote, local, remoteStamp.mtime); !copied.ok()) {
      VLOG("Mirror Error: {}", copied.message());
      return copied;
    }
    return true;
  }
  if (earlier(remoteStamp, localStamp)) {
    VLOG("Mirror: Local {} to remote {}", local.string(), remote.string());
    if (Status copied = copyKeepingDate(local, remote, localStamp.mtime); !copied.ok()) {
      VLOG("Mirror Error: {}", copied.message());
      return copied;
    }
    return true;
  }
  VLOG("Mirror: no sync required.");
  return false;
}

}  // namespace velmora
