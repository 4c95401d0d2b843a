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

  static Result inspect(const std::filesystem::path& file);

  static std::string toJSON(const CacheInspection& inspection);
  static std::string toText(const CacheInspection& inspection);
};

}  // namespace velmora
