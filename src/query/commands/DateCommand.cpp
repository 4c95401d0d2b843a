#include "query/commands/DateCommand.h"

#include <typeinfo>

#include "query/QWCDateFormatter.h"
#include "query/commands/DateCommandCreators.h"
#include "model/SearchResult.h"

namespace velmora {

DateCommand::DateCommand(DateCommandWhen when, DateCommandWhat what, std::shared_ptr<const DateHelper> helper)
    : when(when), what(what), helper_(helper ? std::move(helper) : DateHelper::shared()) {}

std::string DateCommand::commandToString() const { return toString(what) + " " + when.toString(*helper_); }

std::string DateCommand::commandExample() const {
  QWCDateFormatter format(QWCDateFormatter::Style::shortStyle, QWCDateFormatter::Style::none, *helper_);
  return toString(what) + " " + format.formatPlain(helper_->now());
}

std::string DateCommand::debugDescription() const {
  return "DateCommand(" + toString(what) + " " + when.debugDescription(*helper_) + ")";
}

CommandApplyResult DateCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) {
  std::int64_t date = 0;
  switch (what) {
    case DateCommandWhat::modificationDate: date = result.modDate; break;
    case DateCommandWhat::creationDate: date = result.creationDate; break;
    case DateCommandWhat::accessDate: return CommandApplyResult::exclude;
  }
  auto [lower, upper] = when.timeIntervalDateRange(*helper_);
  return date < lower || date >= upper ? CommandApplyResult::exclude : CommandApplyResult::accept;
}

void DateCommand::commandImpQuerySearchArguments(QuerySearchArguments& arguments) const {
  auto [lower, upper] = when.timeIntervalDateRange(*helper_);
  ValueRange<Date> range{dateFromUnixSeconds(double(lower)), dateFromUnixSeconds(double(upper))};
  if (what == DateCommandWhat::modificationDate) arguments.modificationDate = range;
  else if (what == DateCommandWhat::creationDate) arguments.creationDate = range;
}

bool DateCommand::isTemplateEqualTo(const Command& other) const {
  return typeid(other) == typeid(DateCommand) && static_cast<const DateCommand&>(other).what == what;
}

std::vector<std::string> DateCommandCreator::commandNames() const { return DateCommandCreators::commandNames(); }

std::shared_ptr<Command> DateCommandCreator::create(const std::string& name, const Args& args,
                                                    const Flags& flags) const {
  Args rest = args;
  std::optional<DateCommandWhat> what;
  if (!rest.empty()) {
    if (auto p = std::any_cast<DateCommandWhat>(&rest.front())) {
      what = *p;
      rest.erase(rest.begin());
    }
  }
  if (!what) {
    auto flag = flags.find("dateType");
    if (flag != flags.end()) what = dateCommandWhatFrom(flag->second);
  }
  if (!what) return nullptr;
  std::shared_ptr<const DateHelper> helper = helper_ ? helper_ : DateHelper::shared();
  auto when = DateCommandCreators::when(name, rest, *helper);
  if (!when) return nullptr;
  return std::make_shared<DateCommand>(*when, *what, helper);
}

}  // namespace velmora
