#include "query/commands/FileOrFolderCommand.h"

#include "model/SearchResult.h"

namespace velmora {

CommandApplyResult FileOrFolderCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                        const QueryContainer&) {
  if (result.isDirectory) {
    std::string_view path = result.path;
    while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
    if (path.ends_with(".app")) return CommandApplyResult::exclude;
    return type == FileOrFolderType::folder ? CommandApplyResult::accept : CommandApplyResult::exclude;
  }
  return type == FileOrFolderType::file ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

}  // namespace velmora
