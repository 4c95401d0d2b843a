#pragma once
#include <filesystem>
#include <optional>
#include <string>

#include "index/CacheInspection.h"

namespace velmora {

// Reads an index file without changing it. Never throws: a file that is
// missing, not LMDB, cut off or otherwise unreadable gives `error`.
class CacheInspector {
 public:
  struct Result {
    std::optional<CacheInspection> inspection;
    std::string error;
  };

  // Reads in a child process: the database library trusts the pages of a
  // file and can fault on damaged ones, which must not take the caller down.
  static Result inspect(const std::filesystem::path& file);
  // The same in this process, for files this program wrote itself.
  static Result inspectInProcess(const std::filesystem::path& file);

  static std::optional<CacheInspection> fromJSON(std::string_view json);

  static std::string toJSON(const CacheInspection& inspection);
  static std::string toText(const CacheInspection& inspection);
};

}  // namespace velmora
