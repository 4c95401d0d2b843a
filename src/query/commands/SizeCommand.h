#pragma once
#include <span>
#include <cstdint>
#include <optional>
#include <string>

#include "query/CommandFactory.h"
#include "query/LanguageParse.h"

namespace velmora {

enum class SizeCommandType { smallerThan, greaterThan, equalTo, exactlyEqualTo };
enum class SizeUnits { bytes, kilobytes, megabytes, gigabytes, terabytes, petabytes, exabyte, zettabyte, yottabyte };

// A size as the user wrote it: "5 mb", "five mb", "5mb".
struct FileSizeArgs {
  double value = 0;
  SizeUnits units = SizeUnits::bytes;
};

// Narrows by file size. "size 5 mb" is a band a quarter of a unit wide
// above the number, open at both ends; units step by 1000.
class SizeCommand : public Command {
 public:
  SizeCommand(std::optional<SizeCommandType> command, std::optional<SizeUnits> units, std::optional<double> value);

  std::optional<SizeCommandType> command;
  std::optional<SizeUnits> units;
  std::optional<double> value;
  double unitCompareRange = 0.25;

  // value times 1000 per unit step, truncated.
  std::uint64_t toByteCount(double value) const;

  std::string commandToString() const override;
  std::string commandExample() const override;
  CommandApplyResult commandImpApply(SearchResult& result, SearchDataSourceDelegate*, const QueryContainer&) override;
  void commandImpQuerySearchArguments(QuerySearchArguments& arguments) const override;
  bool isTemplateEqualTo(const Command& other) const override;
  std::shared_ptr<Command> copy() const override;

 private:
  std::string text(bool example) const;
};

class SizeCommandFactory : public CommandFactory {
 public:
  std::vector<std::string> commandNames() const override {
    return {"filesBiggerThan", "filesSmallerThan", "filesEqualTo", "filesExactlyEqualTo"};
  }
  std::shared_ptr<Command> create(const std::string& name, const Args& args, const Flags& flags) const override;

  // The "~file size" variable: a number, spelled or in digits, and a unit.
  static std::optional<VariableParserResult> fileSize(std::span<const SentenceComponent> words);
  static std::optional<SizeUnits> unitFromWord(std::string_view word);
};

}  // namespace velmora
