#include "query/commands/LengthCommand.h"

#include <climits>

#include "common/PathText.h"
#include "model/SearchResult.h"
#include "query/commands/CommandSupport.h"

namespace velmora {

namespace {
const char* measured(LengthCommand::Measure measure) {
  return measure == LengthCommand::Measure::name ? "name" : "path";
}
const char* limit(LengthCommand::Choice choice) { return choice == LengthCommand::Choice::min ? "min" : "max"; }
}  // namespace

std::string LengthCommand::commandToString() const {
  return std::string(limit(choice)) + " " + measured(measure) + " length " + std::to_string(count);
}

std::string LengthCommand::commandExample() const {
  return std::string(limit(choice)) + " " + measured(measure) + " length **" + std::to_string(count) + "**";
}

CommandApplyResult LengthCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                  const QueryContainer&) {
  const std::string_view text = measure == Measure::name ? PathText::lastPathComponent(result.path)
                                                         : std::string_view(result.path);
  const auto length = static_cast<long long>(commandsupport::characterCount(text));
  if (choice == Choice::max) return length >= count ? CommandApplyResult::exclude : CommandApplyResult::accept;
  return length <= count ? CommandApplyResult::exclude : CommandApplyResult::accept;
}

std::vector<std::string> LengthCommandFactory::commandNames() const {
  const std::string prefix = measured(measure_);
  return {prefix + "MaxLength", prefix + "MinLength"};
}

std::shared_ptr<Command> LengthCommandFactory::create(const std::string& name, const Args& args, const Flags&) const {
  const auto names = commandNames();
  const bool isMax = name == names[0];
  if (!isMax && name != names[1]) return nullptr;
  auto count = commandsupport::intArg(args, 0);
  if (!count || *count < INT_MIN || *count > INT_MAX) return nullptr;
  const auto choice = isMax ? LengthCommand::Choice::max : LengthCommand::Choice::min;
  if (measure_ == LengthCommand::Measure::name) return std::make_shared<NameLengthCommand>(int(*count), choice);
  return std::make_shared<PathLengthCommand>(int(*count), choice);
}

}  // namespace velmora
