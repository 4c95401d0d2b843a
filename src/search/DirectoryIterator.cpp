#include "search/DirectoryIterator.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <new>

#include "common/Logger.h"
#include "common/SharedAdditions.h"
#include "platform/FileDescriptor.h"
#include "platform/PathConventions.h"

namespace velmora {

namespace {

// The kernel's record for getdents64; glibc's wrapper is not everywhere.
struct LinuxDirent64 {
  std::uint64_t d_ino;
  std::int64_t d_off;
  unsigned short d_reclen;
  unsigned char d_type;
  char d_name[];
};

timespec toTimespec(const struct statx_timestamp& t) {
  timespec out{};
  out.tv_sec = static_cast<time_t>(t.tv_sec);
  out.tv_nsec = static_cast<long>(t.tv_nsec);
  return out;
}

constexpr unsigned kStatxMask = STATX_TYPE | STATX_SIZE | STATX_MTIME | STATX_ATIME | STATX_BTIME | STATX_INO;

// Fills the attributes of one entry; false when it is gone or is no file or
// folder.
bool readAttributes(int directoryFD, const char* name, FSItemAndAttrs& item) {
  struct statx info {};
  if (::statx(directoryFD, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, kStatxMask, &info) != 0) return false;
  if (S_ISDIR(info.stx_mode))
    item.isDirectory = true;
  else if (S_ISREG(info.stx_mode))
    item.isDirectory = false;
  else
    return false;
  item.fileSize = item.isDirectory ? 0 : info.stx_size;
  item.modifyTime = toTimespec(info.stx_mtime);
  item.accessTime = toTimespec(info.stx_atime);
  if (info.stx_mask & STATX_BTIME) item.createTime = toTimespec(info.stx_btime);
  FileSystemID fsid;
  fsid.val[0] = static_cast<std::int32_t>(info.stx_dev_major);
  fsid.val[1] = static_cast<std::int32_t>(info.stx_dev_minor);
  item.fileSystem = fsid;
  item.object = info.stx_ino;
  return true;
}

// Opens a folder however deep it lies. A path longer than the kernel takes
// in one call is opened in pieces, each relative to the descriptor of the
// one before (openat), so depth has no limit; a path that fits costs the
// single open it always did.
int openDirectory(const std::string& directory) {
  constexpr int kFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
  if (directory.size() < PATH_MAX) return ::open(directory.empty() ? "/" : directory.c_str(), kFlags);
  FileDescriptor current(::open("/", kFlags));
  std::size_t at = 0;
  while (current.get() >= 0 && at < directory.size()) {
    while (at < directory.size() && directory[at] == '/') ++at;
    if (at >= directory.size()) break;
    // The longest run of whole components that one call accepts.
    std::size_t end = at + PATH_MAX - 1;
    if (end >= directory.size()) {
      end = directory.size();
    } else {
      end = directory.rfind('/', end);
      if (end == std::string::npos || end <= at) {
        errno = ENAMETOOLONG;
        return -1;
      }
    }
    std::string piece = directory.substr(at, end - at);
    int next = ::openat(current.get(), piece.c_str(), kFlags | O_NOFOLLOW);
    int error = errno;
    current = FileDescriptor(next);
    errno = error;
    at = end;
  }
  return current.release();
}

}  // namespace

DirectoryIterator::DirectoryIterator() : attrBuffer_(new (std::nothrow) unsigned char[attrBufferSize]) {}

DirectoryIterator::~DirectoryIterator() = default;

std::pair<int, std::vector<FSItemAndAttrs>> DirectoryIterator::contentsOfDirectoryAtPath(
    std::string_view path, const HasCanceled& hasCanceled) {
  return contentsOfDirectoryAtPath_galb(path, hasCanceled);
}

std::pair<int, std::vector<FSItemAndAttrs>> DirectoryIterator::contentsOfDirectoryAtPath_galb(
    std::string_view path, const HasCanceled&) {
  Listing listing = list(path, Options{});
  return {listing.error, std::move(listing.items)};
}

DirectoryIterator::Listing DirectoryIterator::list(std::string_view path, const Options& options) {
  Listing listing;
  if (!path.empty() && path.back() == '/') path.remove_suffix(1);
  if (path.empty() && !options.listRoot) return listing;
  if (!attrBuffer_) return listing;
  listing.items.reserve(128);
  listing.wanted.reserve(128);

  std::string directory(path);
  FileDescriptor fd(openDirectory(directory));
  if (fd.get() < 1) {
    int error = errno;
    if (fd.get() == 0) error = EBADF;
    VLOG("open error: {} {}", directory, error);
    VLOG("");
    return listing;
  }

  FSItemAndAttrs scratch;
  for (;;) {
    long filled = ::syscall(SYS_getdents64, fd.get(), attrBuffer_.get(), attrBufferSize);
    if (filled == 0) break;
    if (filled < 0) {
      listing.error = errno;
      return listing;
    }
    for (long at = 0; at < filled;) {
      auto* entry = reinterpret_cast<LinuxDirent64*>(attrBuffer_.get() + at);
      at += entry->d_reclen;
      const char* rawName = entry->d_name;
      if (rawName[0] == '.' && (rawName[1] == '\0' || (rawName[1] == '.' && rawName[2] == '\0'))) continue;
      unsigned char type = entry->d_type;
      if (type != DT_REG && type != DT_DIR && type != DT_UNKNOWN) continue;  // links, devices, sockets

      // One scratch item is refilled for every entry, so entries that are
      // passed over cost no allocation.
      FSItemAndAttrs& item = scratch;
      std::string_view raw(rawName);
      if (SharedAdditions::isValidUTF8(raw))
        item.name.assign(raw);
      else
        item.name = SharedAdditions::repairedUTF8(raw);
      item.isDirectory = type == DT_DIR;
      item.fileSize = 0;
      item.modifyTime = item.createTime = item.accessTime = timespec{};
      item.fileSystem.reset();
      item.object = entry->d_ino;
      // Without a type in the entry, the stat has to come first.
      bool read = type == DT_UNKNOWN;
      if (read && !readAttributes(fd.get(), rawName, item)) continue;
      // The path keeps the name's own bytes: a repaired name would name a
      // file that does not exist.
      item.fullPath.assign(directory).append("/").append(raw);
      bool wanted = !options.wantsAttributes || options.wantsAttributes(item);
      if (!wanted && !item.isDirectory && !options.keepUnwantedFiles) continue;
      // An entry gone since it was listed, or replaced by a link or a
      // special file, is left out.
      if (wanted && !read && !readAttributes(fd.get(), rawName, item)) continue;
      listing.items.push_back(item);
      listing.wanted.push_back(wanted ? 1 : 0);
    }
  }
  return listing;
}

DirectoryIterator::URLContents DirectoryIterator::urlContentsOfDirectory(const std::string& path) {
  namespace fs = std::filesystem;
  URLContents contents;
  const auto& boot = PathConventions::current().bootVolume;
  std::string target = path.empty() || (boot && path == *boot) ? "/" : path;
  std::error_code error;
  fs::directory_iterator it(target, error);
  for (; !error && it != fs::directory_iterator(); it.increment(error)) {
    // The entry's type comes from the listing itself (d_type); only file
    // systems that do not report it cost a stat here.
    std::error_code typeError;
    const bool link = it->is_symlink(typeError);
    if (typeError) continue;
    const bool directory = !link && it->is_directory(typeError);
    if (typeError) continue;
    (directory ? contents.directories : contents.files).push_back(it->path().string());
  }
  return contents;
}

std::vector<std::string> DirectoryIterator::listExtendedAttributes(const std::string& path) {
  std::vector<std::string> names;
  for (int attempt = 0; attempt < 3; ++attempt) {
    ssize_t size = ::listxattr(path.c_str(), nullptr, 0);
    if (size <= 0) return names;
    std::string buffer(static_cast<std::size_t>(size), '\0');
    ssize_t got = ::listxattr(path.c_str(), buffer.data(), buffer.size());
    if (got < 0 && errno == ERANGE) continue;  // grew in between
    if (got <= 0) return names;
    buffer.resize(static_cast<std::size_t>(got));
    std::size_t start = 0;
    while (start < buffer.size()) {
      auto end = buffer.find('\0', start);
      if (end == std::string::npos) end = buffer.size();
      std::string_view piece(buffer.data() + start, end - start);
      if (!piece.empty() && SharedAdditions::isValidUTF8(piece)) names.emplace_back(piece);
      start = end + 1;
    }
    return names;
  }
  return names;
}

}  // namespace velmora
