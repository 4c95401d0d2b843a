#pragma once
#include <ctime>
#include <cstdint>
#include <optional>
#include <string>

namespace velmora {

// The identity of a file system as a listing reports it: two 32-bit words,
// as the kernel's fsid_t. On Linux the crawl fills it from the device numbers.
struct FileSystemID {
  std::int32_t val[2] = {0, 0};
  bool operator==(const FileSystemID& other) const {
    return val[0] == other.val[0] && val[1] == other.val[1];
  }
};

// One directory entry as a listing returns it, before it becomes a
// SearchResult. All fields start empty, false, zero or absent.
struct FSItemAndAttrs {
  // The directory's path without a trailing slash, "/", and the name, in
  // the file system's own bytes (not always UTF-8): what system calls take.
  std::string fullPath;
  // The entry's name for matching and display; bytes that are not UTF-8
  // are repaired, never rejected.
  std::string name;
  bool isDirectory = false;
  // Logical size of all of a file's data; 0 for a directory.
  std::uint64_t fileSize = 0;
  timespec modifyTime{};
  timespec createTime{};
  timespec accessTime{};
  // Absent when the listing did not return it.
  std::optional<FileSystemID> fileSystem;
  // The object's number on its file system; absent when not returned.
  std::optional<std::uint64_t> object;
};

}  // namespace velmora
