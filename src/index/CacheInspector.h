#pragma once
#include <filesystem>
#include <optional>
#include <string>

#include "common/Result.h"
#include "index/CacheInspection.h"

namespace velmora {

// Reads an index file without changing it. Never throws: a file that is
// missing, not LMDB, cut off or otherwise unreadable gives a failure whose
// message says so.
class CacheInspector {
 public:
  // The option of `velmora index inspect` that makes it read in its own
  // process: what the reading child runs.
  static constexpr const char* kInProcessOption = "--read-here";

  // Reads in a child process, `program index inspect --read-here --json
  // FILE` (by default this program started again): the database library
  // trusts the pages of a file and can fault on damaged ones, which must not
  // take the caller down. The child is a new program, never a copy of this
  // one made by fork alone, which would carry the locks of other threads.
  static Result<CacheInspection> inspect(const std::filesystem::path& file, std::string program = {});
  // The same in this process, for files this program wrote itself.
  static Result<CacheInspection> inspectInProcess(const std::filesystem::path& file);
  // What the reading child prints: "ok" and the JSON, or "error" and the
  // message, each after a line break.
  static std::string childAnswer(const std::filesystem::path& file);

  static std::optional<CacheInspection> fromJSON(std::string_view json);

  static std::string toJSON(const CacheInspection& inspection);
  static std::string toText(const CacheInspection& inspection);
};

}  // namespace velmora
