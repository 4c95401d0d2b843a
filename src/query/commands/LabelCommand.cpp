#include "query/commands/LabelCommand.h"

#include <cerrno>
#include <sys/xattr.h>

#include "query/commands/CommandSupport.h"
#include "query/commands/LabelTagManager.h"
#include "model/SearchResult.h"
#include "common/TextCase.h"

namespace velmora {

LabelCommand::LabelCommand(std::string name, bool notTag) : labelName(TextCase::plainLowercase(name)), notTag(notTag) {}

std::optional<std::vector<std::string>> LabelCommand::tagNames(const std::string& path) {
  ssize_t size = getxattr(path.c_str(), kTagsAttribute, nullptr, 0);
  if (size < 0) return std::nullopt;
  std::string value(std::size_t(size), '\0');
  if (size > 0) {
    size = getxattr(path.c_str(), kTagsAttribute, value.data(), value.size());
    if (size < 0) return std::vector<std::string>{};
    value.resize(std::size_t(size));
  }
  std::vector<std::string> tags;
  std::size_t start = 0;
  while (start <= value.size()) {
    std::size_t end = value.find(',', start);
    if (end == std::string::npos) end = value.size();
    std::string tag = value.substr(start, end - start);
    while (!tag.empty() && (tag.back() == ' ' || tag.back() == '\0')) tag.pop_back();
    while (!tag.empty() && tag.front() == ' ') tag.erase(0, 1);
    if (!tag.empty()) tags.push_back(tag);
    start = end + 1;
  }
  return tags;
}

CommandApplyResult LabelCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) {
  auto tags = tagNames(result.path);
  if (!tags) return notTag ? CommandApplyResult::accept : CommandApplyResult::exclude;
  if (tags->empty()) return CommandApplyResult::exclude;
  LabelTagManager::shared().noteSeen(*tags);
  std::string joined;
  for (const auto& tag : *tags) {
    if (!joined.empty()) joined += ' ';
    joined += tag;
  }
  bool contains = TextCase::plainLowercase(joined).find(labelName) != std::string::npos;
  if (notTag) return contains ? CommandApplyResult::exclude : CommandApplyResult::accept;
  return contains ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

std::shared_ptr<Command> LabelCommandFactory::create(const std::string& name, const Args& args, const Flags&) const {
  const SentenceComponent* word = commandsupport::arg<SentenceComponent>(args, 0);
  if (!word) return nullptr;
  if (name == "label") return std::make_shared<LabelCommand>(word->textLowered, false);
  if (name == "labelExcluding") return std::make_shared<LabelCommand>(word->textLowered, true);
  return nullptr;
}

}  // namespace velmora
