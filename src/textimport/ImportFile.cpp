#include "textimport/ImportFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/FileDescriptor.h"

namespace velmora {

bool ImportFile::readAll(std::string& bytes, std::string& failure, std::size_t limit) const {
  FileDescriptor owned;
  int descriptor = fd;
  if (descriptor < 0) {
    owned.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!owned.valid()) {
      failure = std::string("cannot open: ") + std::strerror(errno);
      return false;
    }
    descriptor = owned.get();
  }
  struct stat info {};
  if (::fstat(descriptor, &info) == 0 && S_ISDIR(info.st_mode)) {
    failure = "is a folder";
    return false;
  }
  bytes.clear();
  if (info.st_size > 0 && static_cast<std::size_t>(info.st_size) <= limit) bytes.reserve(info.st_size);
  char buffer[65536];
  off_t offset = 0;
  for (;;) {
    // pread keeps the shared descriptor's offset alone and reads from the start.
    ssize_t got = ::pread(descriptor, buffer, sizeof buffer, offset);
    if (got < 0 && errno == ESPIPE) got = ::read(descriptor, buffer, sizeof buffer);
    if (got < 0) {
      if (errno == EINTR) continue;
      failure = std::string("read error: ") + std::strerror(errno);
      return false;
    }
    if (got == 0) break;
    if (bytes.size() + static_cast<std::size_t>(got) > limit) {
      failure = "file too large to read";
      return false;
    }
    bytes.append(buffer, static_cast<std::size_t>(got));
    offset += got;
  }
  return true;
}

}  // namespace velmora
