#pragma once
#include <cstddef>
#include <string>

namespace velmora {

// The file an importer reads: its path names it (type, extension, messages),
// and when the client handed over an open descriptor, the importer reads
// through that descriptor only, so the helper opens nothing by name.
struct ImportFile {
  std::string path;
  int fd = -1;  // not owned

  ImportFile() = default;
  ImportFile(std::string p, int descriptor = -1) : path(std::move(p)), fd(descriptor) {}  // NOLINT: implicit
  ImportFile(const char* p) : path(p) {}                                                  // NOLINT: implicit

  // A path that opens the same file: the descriptor's /proc link when there is
  // one, for libraries that only take a file name.
  std::string readPath() const { return fd >= 0 ? "/proc/self/fd/" + std::to_string(fd) : path; }
  // The whole file, read through the descriptor from its start when there is
  // one. Fails with a message for an unreadable, vanished or oversized file.
  bool readAll(std::string& bytes, std::string& failure, std::size_t limit = std::size_t(1) << 31) const;
  std::string fileName() const {
    auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
  }
};

}  // namespace velmora
