#pragma once
#include <memory>

#include "platform/PathConventions.h"
#include "platform/VolumeTable.h"
#include "query/CommandFactory.h"

namespace velmora {

// Limits how deep below the root of its disk an item may lie. Depth counts
// from the disk's own root, so a path on a mounted disk is as deep as the
// same path on the system disk. A maximum below 1 passes everything.
class MaxDepth : public Command {
 public:
  MaxDepth(int maxDepth, PathConventions conventions, std::shared_ptr<const VolumeTable> volumes);

  int maxDepth;

  // The depth of the item's folder: components below the disk root, minus one.
  int depthOf(std::string_view path) const;

  std::string commandToString() const override { return "max depth " + std::to_string(maxDepth); }
  std::string commandExample() const override { return "max depth **" + std::to_string(maxDepth) + "**"; }
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  bool commandIsOnlyAFilter() const override { return true; }
  std::shared_ptr<Command> copy() const override;

 private:
  std::shared_ptr<const PathConventions> conventions_;
  std::shared_ptr<const VolumeTable> volumes_;
};

class MaxDepthFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override { return {"maxDepth"}; }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;
};

}  // namespace velmora
