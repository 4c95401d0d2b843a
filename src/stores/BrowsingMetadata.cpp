#include "stores/BrowsingMetadata.h"

#include <mutex>
#include <system_error>

#include "common/AppDirectories.h"
#include "common/Logger.h"

namespace velmora {

namespace fs = std::filesystem;

namespace {
std::mutex sharedMutex;
std::unique_ptr<SQLite>& sharedSlot() {
  static std::unique_ptr<SQLite> slot;
  return slot;
}
}  // namespace

std::unique_ptr<SQLite> BrowsingMetadata::openIn(const fs::path& folder, const Clock& clock) {
  auto store = std::make_unique<SQLite>();
  store->setClock(clock);
  std::error_code ec;
  fs::remove(folder / oldFileName, ec);  // an older format nobody reads any more
  fs::create_directories(folder, ec);
  fs::path file = folder / fileName;
  if (Status error = store->open(file, SQLite::readWriteCreate); !error.ok()) {
    Logger::shared().log("Browsing metadata: cannot open " + file.string() + ": " + error.message() +
                         "; folder settings will not be kept");
    return store;
  }
  if (Status error = store->setupForHierarchicalDBValue(); !error.ok()) {
    Logger::shared().log("Browsing metadata: " + file.string() + " is not usable (" + error.message() +
                         "); it is left as it is and folder settings will not be kept");
    store->close();
    return store;
  }
  store->purge(keepDays, DBFamily{familyName});
  return store;
}

SQLite& BrowsingMetadata::metadata() {
  std::lock_guard guard(sharedMutex);
  auto& slot = sharedSlot();
  if (!slot) slot = openIn(AppDirectories::applicationSupportDirectory());
  return *slot;
}

void BrowsingMetadata::resetShared() {
  std::lock_guard guard(sharedMutex);
  sharedSlot().reset();
}

}  // namespace velmora
