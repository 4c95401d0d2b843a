#pragma once
#include "query/CommandFactory.h"

namespace velmora {

// Limits a length in characters, strictly: "max name length 10" passes up to
// 9 characters, "min path length 10" from 11. The name and the whole path
// are measured alike; only the text measured differs.
class LengthCommand : public Command {
 public:
  enum class Measure { name, path };
  enum class Choice { min, max };
  LengthCommand(Measure measure, int count, Choice choice) : measure(measure), count(count), choice(choice) {}

  Measure measure;
  int count;
  Choice choice;

  std::string commandToString() const override;
  std::string commandExample() const override;
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
};

class NameLengthCommand final : public LengthCommand {
 public:
  NameLengthCommand(int count, Choice choice) : LengthCommand(Measure::name, count, choice) {}
  std::shared_ptr<Command> copy() const override { return std::make_shared<NameLengthCommand>(count, choice); }
};

class PathLengthCommand final : public LengthCommand {
 public:
  PathLengthCommand(int count, Choice choice) : LengthCommand(Measure::path, count, choice) {}
  std::shared_ptr<Command> copy() const override { return std::make_shared<PathLengthCommand>(count, choice); }
};

// "nameMaxLength" and "nameMinLength", or the same for "path".
class LengthCommandFactory : public CommandFactory {
 public:
  explicit LengthCommandFactory(LengthCommand::Measure measure) : measure_(measure) {}
  std::vector<std::string> commandNames() const override;
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;

 private:
  LengthCommand::Measure measure_;
};

class NameLengthCommandFactory final : public LengthCommandFactory {
 public:
  NameLengthCommandFactory() : LengthCommandFactory(LengthCommand::Measure::name) {}
};

class PathLengthCommandFactory final : public LengthCommandFactory {
 public:
  PathLengthCommandFactory() : LengthCommandFactory(LengthCommand::Measure::path) {}
};

}  // namespace velmora
