#include "query/commands/MaxDepth.h"

#include "query/commands/CommandSupport.h"
#include "model/SearchResult.h"

namespace velmora {

MaxDepth::MaxDepth(int maxDepth, PathConventions conventions, std::shared_ptr<const VolumeTable> volumes)
    : maxDepth(maxDepth),
      conventions_(std::make_shared<const PathConventions>(std::move(conventions))),
      volumes_(volumes ? std::move(volumes) : std::make_shared<const VolumeTable>()) {}

std::shared_ptr<Command> MaxDepth::copy() const {
  auto copy = std::make_shared<MaxDepth>(*this);
  copy->setCommandConsumedParts({});
  return copy;
}

int MaxDepth::depthOf(std::string_view path) const {
  std::string root;
  // Where volumes mount anywhere, the disk root is the path's mount point.
  if (conventions_->volumesPrefix.empty())
    if (auto volume = volumes_->volumeFor(path)) root = volume->mountPoint;
  return conventions_->depthOf(path, root) - 1;
}

CommandApplyResult MaxDepth::commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) {
  if (maxDepth < 1) return CommandApplyResult::accept;
  return maxDepth >= depthOf(result.path) ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

std::shared_ptr<Command> MaxDepthFactory::create(const std::string& name, const Args& args, const Flags&) const {
  if (name != "maxDepth") return nullptr;
  auto depth = commandsupport::intArg(args, 0).value_or(0);
  if (depth < 0 || depth > 100000) depth = 0;
  // The mount table is read once per query, not per result.
  return std::make_shared<MaxDepth>(int(depth), PathConventions::current(),
                                    std::make_shared<const VolumeTable>(VolumeTable::current()));
}

}  // namespace velmora
