#pragma once
#include <memory>

#include "query/CommandFactory.h"
#include "query/DateCommandWhat.h"
#include "query/DateCommandWhen.h"

namespace velmora {

// Keeps items whose chosen date lies in a span ("modified today", "created
// in march"). The span is worked out anew for each item, against the
// helper's clock and calendar.
class DateCommand : public Command {
 public:
  DateCommand(DateCommandWhen when, DateCommandWhat what,
              std::shared_ptr<const DateHelper> helper = DateHelper::shared());

  DateCommandWhen when;
  DateCommandWhat what;

  const DateHelper& helper() const { return *helper_; }

  std::string commandToString() const override;
  std::string commandExample() const override;
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  void commandImpQuerySearchArguments(QuerySearchArguments& arguments) const override;
  bool isTemplateEqualTo(const Command& other) const override;
  std::shared_ptr<Command> copy() const override { return std::make_shared<DateCommand>(when, what, helper_); }
  std::string debugDescription() const override;

 private:
  std::shared_ptr<const DateHelper> helper_;
};

// Makes date commands from the 22 date sentence forms. The first argument
// is the date type; forms written without one name it in the flag
// "dateType" ("today" means "modified today").
class DateCommandCreator : public CommandFactory {
 public:
  explicit DateCommandCreator(std::shared_ptr<const DateHelper> helper = nullptr) : helper_(std::move(helper)) {}
  std::vector<std::string> commandNames() const override;
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;

 private:
  // Null: the shared helper at the time of each creation.
  std::shared_ptr<const DateHelper> helper_;
};

}  // namespace velmora
