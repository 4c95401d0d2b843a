#pragma once
#include "query/CommandFactory.h"

namespace velmora {

enum class FileOrFolderType { file, folder };

// "is file", "is folder". An application bundle (a folder ending in ".app")
// is neither.
class FileOrFolderCommand : public Command {
 public:
  explicit FileOrFolderCommand(FileOrFolderType type) : type(type) {}

  FileOrFolderType type;

  std::string commandToString() const override { return type == FileOrFolderType::file ? "is file" : "is folder"; }
  std::string commandExample() const override { return commandToString(); }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  std::shared_ptr<Command> copy() const override { return std::make_shared<FileOrFolderCommand>(type); }
};

class FileOrFolderCommandFactry : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"isFile", "isFolder"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args&, const Flags&) const override {
    if (name == "isFile") return std::make_shared<FileOrFolderCommand>(FileOrFolderType::file);
    if (name == "isFolder") return std::make_shared<FileOrFolderCommand>(FileOrFolderType::folder);
    return nullptr;
  }
};

}  // namespace velmora
