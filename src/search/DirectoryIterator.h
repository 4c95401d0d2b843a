#pragma once
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "model/FSItemAndAttrs.h"

namespace velmora {

// Lists one directory with as few system calls as possible: getdents64 into
// one 64 KiB buffer per iterator for names and types, statx only for the
// entries whose attributes are wanted. Symbolic links and special files are
// dropped, so a crawl never follows a link. A directory that cannot be
// opened lists as empty with error 0 (one "open error: " log line); "/" and
// "" list as empty unless the caller asks to list the root itself. One
// iterator serves one thread.
class DirectoryIterator {
 public:
  static constexpr int attrBufferSize = 0x10000;

  using HasCanceled = std::function<bool()>;
  // Decides from name, path and type alone (the item has nothing else yet)
  // whether an entry is wanted; only wanted entries get their attributes
  // (size, times, identity) read.
  using WantsAttributes = std::function<bool(const FSItemAndAttrs& item)>;

  struct Options {
    // List "/" itself: on Linux the boot volume is walked from "/".
    bool listRoot = false;
    // Every entry is wanted when empty.
    WantsAttributes wantsAttributes;
    // False: files that are not wanted are left out of the listing (a crawl
    // needs only what it reports and the folders it enters).
    bool keepUnwantedFiles = true;
  };
  struct Listing {
    int error = 0;
    std::vector<FSItemAndAttrs> items;
    // Per item: whether it was wanted, and so has its attributes.
    std::vector<std::uint8_t> wanted;
  };
  struct URLContents {
    std::vector<std::string> files;
    std::vector<std::string> directories;
  };

  DirectoryIterator();
  ~DirectoryIterator();
  DirectoryIterator(const DirectoryIterator&) = delete;
  DirectoryIterator& operator=(const DirectoryIterator&) = delete;

  std::pair<int, std::vector<FSItemAndAttrs>> contentsOfDirectoryAtPath(std::string_view path,
                                                                       const HasCanceled& hasCanceled);
  // Every entry with its attributes. `hasCanceled` is not consulted: a
  // listing once begun runs to its end; cancel reaches a crawl between
  // directories.
  std::pair<int, std::vector<FSItemAndAttrs>> contentsOfDirectoryAtPath_galb(std::string_view path,
                                                                            const HasCanceled& hasCanceled = {});
  Listing list(std::string_view path, const Options& options);

  // One level by a plain directory walk (used by the index): links and
  // special files count as files; "/" and the boot volume list "/".
  static URLContents urlContentsOfDirectory(const std::string& path);
  // Names of the extended attributes; undecodable names are skipped.
  static std::vector<std::string> listExtendedAttributes(const std::string& path);

 private:
  std::unique_ptr<unsigned char[]> attrBuffer_;
};

}  // namespace velmora
