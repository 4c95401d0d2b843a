#pragma once
#include <filesystem>
#include <memory>

#include "common/Clock.h"
#include "stores/SQLite.h"

namespace velmora {

// The file browser's store of per-folder settings, "Browsing Metadata v2.sql"
// in the support folder. When the file cannot be opened or is not a
// database, the store has no connection (isOpen() is false), a line is
// logged, and the browser goes on without stored settings; the file itself
// is left untouched.
class BrowsingMetadata {
 public:
  static constexpr const char* fileName = "Browsing Metadata v2.sql";
  static constexpr const char* oldFileName = "Browsing Metadata.sql";
  static constexpr const char* familyName = "fileSystemMetaData";
  static constexpr int keepDays = 90;

  // The shared store, opened at first use in the support folder.
  static SQLite& metadata();
  // Opens a store in `folder` the same way (removes the old file, sets up
  // the tables, purges settings older than 90 days).
  static std::unique_ptr<SQLite> openIn(const std::filesystem::path& folder,
                                        const Clock& clock = Clock::system());
  // Forgets the shared store so the next metadata() opens it again (tests).
  static void resetShared();
};

}  // namespace velmora
