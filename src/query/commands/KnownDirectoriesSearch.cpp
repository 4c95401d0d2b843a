#include "query/commands/KnownDirectoriesSearch.h"

#include <filesystem>
#include <system_error>

#include "query/QueryContainer.h"
#include "query/commands/KnownDirectoriesCommand.h"

namespace velmora {

namespace fs = std::filesystem;

std::vector<std::string> KnownDirectoriesSearch::dataSourceLocations(const QueryContainer& query) const {
  auto command = query.findCommand<KnownDirectoriesCommand>();
  if (!command || !command->directory) return {};
  return {*command->directory};
}

void KnownDirectoriesSearch::search(const QueryContainer& query, SearchDataSourceDelegate& handler) {
  auto command = query.findCommand<KnownDirectoriesCommand>();
  if (!command || !command->directory) return;
  constexpr std::size_t kBatch = 256;
  std::vector<SearchResult> batch;
  std::int64_t examined = 0;
  auto flush = [&] {
    if (batch.empty()) return;
    handler.searchDataSourceProgress(examined);
    examined = 0;
    handler.searchResults(std::move(batch), *this);
    batch.clear();
  };
  auto report = [&](const fs::directory_entry& entry) {
    std::error_code error;
    const bool isDirectory = entry.is_directory(error) && !entry.is_symlink(error);
    std::string path = entry.path().string();
    batch.push_back(isDirectory ? SearchResult::directory(type(), path, false)
                                : SearchResult::file(type(), path, false));
    ++examined;
    if (batch.size() >= kBatch) flush();
  };

  std::error_code error;
  const auto options = fs::directory_options::skip_permission_denied;
  if (command->shallow) {
    for (fs::directory_iterator it(*command->directory, options, error), end; !error && it != end;
         it.increment(error)) {
      if (stop_ || handler.shouldStop()) return;
      report(*it);
    }
  } else {
    // Unreadable folders are skipped by the iterator; other errors end the listing.
    for (fs::recursive_directory_iterator it(*command->directory, options, error), end; it != end;) {
      if (stop_ || handler.shouldStop()) return;
      report(*it);
      it.increment(error);
      if (error) break;
    }
  }
  flush();
}

}  // namespace velmora
