#include "query/commands/SizeCommand.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <typeinfo>

#include "query/commands/CommandSupport.h"
#include "query/commands/SpelledNumber.h"
#include "model/SearchResult.h"

namespace velmora {

namespace {

std::string shortestDecimal(double value) {
  char buffer[64];
  auto [end, error] = std::to_chars(buffer, buffer + sizeof buffer, value);
  std::string text(buffer, error == std::errc() ? end : buffer);
  // Written as a floating number always carries a fraction: "5.0".
  if (text.find_first_of(".eE") == std::string::npos && text.find_first_not_of("-0123456789") == std::string::npos)
    text += ".0";
  return text;
}

const char* unitText(SizeUnits units) {
  static const char* names[] = {"b", "kb", "mb", "gb", "tb", "pb", "eb", "zb", "yb"};
  return names[int(units)];
}

// Splits "5mb" into 5 and "mb"; "5" into 5 and "".
std::optional<std::pair<double, std::string>> splitNumberAndWord(std::string_view text) {
  std::size_t i = 0;
  while (i < text.size() && (std::isdigit(static_cast<unsigned char>(text[i])) || text[i] == '.' ||
                             (i == 0 && (text[i] == '-' || text[i] == '+'))))
    ++i;
  std::string_view number = text.substr(0, i);
  if (!number.empty() && number.front() == '+') number.remove_prefix(1);
  double value = 0;
  auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (number.empty() || error != std::errc() || end != number.data() + number.size() || !std::isfinite(value))
    return std::nullopt;
  return std::pair{value, std::string(text.substr(i))};
}

}  // namespace

SizeCommand::SizeCommand(std::optional<SizeCommandType> command, std::optional<SizeUnits> units,
                         std::optional<double> value)
    : command(command), units(units), value(value) {}

std::uint64_t SizeCommand::toByteCount(double v) const {
  double product = v;
  for (int step = 0; step < int(units.value_or(SizeUnits::bytes)); ++step) product *= 1000.0;
  if (!std::isfinite(product) || product < -9.2e18 || product > 1.8e19) {
    std::fprintf(stderr, "SizeCommand: byte count out of range\n");
    std::abort();
  }
  if (product < 0) return std::uint64_t(std::int64_t(product));
  return std::uint64_t(product);
}

std::string SizeCommand::text(bool example) const {
  std::string prefix;
  switch (command.value_or(SizeCommandType::equalTo)) {
    case SizeCommandType::smallerThan: prefix = "smaller than"; break;
    case SizeCommandType::greaterThan: prefix = "larger than"; break;
    case SizeCommandType::equalTo:
    case SizeCommandType::exactlyEqualTo: prefix = "size"; break;
  }
  std::string amount = shortestDecimal(value.value_or(0)) + unitText(units.value_or(SizeUnits::bytes));
  return prefix + " " + (example ? "**" + amount + "**" : amount);
}

std::string SizeCommand::commandToString() const { return text(false); }
std::string SizeCommand::commandExample() const { return text(true); }

CommandApplyResult SizeCommand::commandImpApply(SearchResult& result, SearchDataSourceDelegate*,
                                                const QueryContainer&) {
  if (!command || !units || !value) return CommandApplyResult::skip;
  const std::uint64_t n = toByteCount(*value);
  const std::uint64_t size = result.size;
  bool pass = false;
  switch (*command) {
    case SizeCommandType::smallerThan: pass = n >= 1 && size < n; break;
    case SizeCommandType::greaterThan: pass = size > n; break;
    case SizeCommandType::exactlyEqualTo: pass = size == n; break;
    case SizeCommandType::equalTo: pass = size > n && size < n + toByteCount(unitCompareRange); break;
  }
  return pass ? CommandApplyResult::accept : CommandApplyResult::exclude;
}

void SizeCommand::commandImpQuerySearchArguments(QuerySearchArguments& arguments) const {
  if (!command || !units || !value) return;
  const std::uint64_t n = toByteCount(*value);
  ValueRange<std::uint64_t> range =
      arguments.fileSize.value_or(ValueRange<std::uint64_t>{0, std::uint64_t(std::numeric_limits<std::int64_t>::max())});
  switch (*command) {
    case SizeCommandType::greaterThan:
      if (range.upperBound < n) return;
      range.lowerBound = n;
      break;
    case SizeCommandType::smallerThan:
      if (n < range.lowerBound) return;
      range.upperBound = n;
      break;
    case SizeCommandType::exactlyEqualTo: range = {n, n + 1}; break;
    case SizeCommandType::equalTo: range = {n, n + toByteCount(unitCompareRange)}; break;
  }
  arguments.fileSize = range;
}

bool SizeCommand::isTemplateEqualTo(const Command& other) const {
  auto size = dynamic_cast<const SizeCommand*>(&other);
  return size && typeid(other) == typeid(SizeCommand) && size->command == command;
}

std::shared_ptr<Command> SizeCommand::copy() const { return std::make_shared<SizeCommand>(command, units, value); }

std::optional<SizeUnits> SizeCommandFactory::unitFromWord(std::string_view w) {
  struct Entry {
    std::string_view word;
    SizeUnits units;
  };
  static constexpr Entry table[] = {
      {"bytes", SizeUnits::bytes},        {"b", SizeUnits::bytes},
      {"k", SizeUnits::kilobytes},        {"kb", SizeUnits::kilobytes},
      {"kilobytes", SizeUnits::kilobytes}, {"kilobyte", SizeUnits::kilobytes},
      {"m", SizeUnits::megabytes},        {"mb", SizeUnits::megabytes},
      {"megabytes", SizeUnits::megabytes}, {"megabyte", SizeUnits::megabytes},
      {"g", SizeUnits::gigabytes},        {"gb", SizeUnits::gigabytes},
      {"gigabytes", SizeUnits::gigabytes}, {"gigabyte", SizeUnits::gigabytes},
      {"t", SizeUnits::terabytes},        {"tb", SizeUnits::terabytes},
      {"terabytes", SizeUnits::terabytes}, {"terabyte", SizeUnits::terabytes},
      {"p", SizeUnits::petabytes},        {"pb", SizeUnits::petabytes},
      {"petabytes", SizeUnits::petabytes}, {"petabyte", SizeUnits::petabytes},
      {"e", SizeUnits::exabyte},          {"eb", SizeUnits::exabyte},
      {"exabytes", SizeUnits::exabyte},   {"exabyte", SizeUnits::exabyte},
      {"z", SizeUnits::zettabyte},        {"zb", SizeUnits::zettabyte},
      {"zettabytes", SizeUnits::zettabyte}, {"zettabyte", SizeUnits::zettabyte},
      {"y", SizeUnits::yottabyte},        {"yb", SizeUnits::yottabyte},
      {"yottabytes", SizeUnits::yottabyte}, {"yottabyte", SizeUnits::yottabyte},
  };
  for (const Entry& e : table)
    if (e.word == w) return e.units;
  return std::nullopt;
}

std::optional<VariableParserResult> SizeCommandFactory::fileSize(std::span<const SentenceComponent> words) {
  if (words.empty()) return std::nullopt;
  // Spelled numbers first: the longest run of words that reads as a number.
  std::optional<float> number;
  std::size_t numberWords = 0;
  std::string joinedText;
  for (std::size_t i = 0; i < words.size() && i < 8; ++i) {
    if (i) joinedText += ' ';
    joinedText += words[i].textLowered;
    auto parsed = SpelledNumber::parse(joinedText);
    if (!parsed) break;
    number = float(*parsed);
    numberWords = i + 1;
  }
  if (number) {
    if (numberWords >= words.size()) return std::nullopt;
    auto units = unitFromWord(words[numberWords].textLowered);
    if (!units) return std::nullopt;
    return VariableParserResult{FileSizeArgs{double(*number), *units}, int(numberWords) + 1};
  }
  auto split = splitNumberAndWord(words[0].textLowered);
  if (!split) return std::nullopt;
  if (!split->second.empty()) {
    auto units = unitFromWord(split->second);
    if (!units) return std::nullopt;
    return VariableParserResult{FileSizeArgs{split->first, *units}, 1};
  }
  if (words.size() < 2) return std::nullopt;
  auto units = unitFromWord(words[1].textLowered);
  if (!units) return std::nullopt;
  return VariableParserResult{FileSizeArgs{split->first, *units}, 2};
}

std::shared_ptr<Command> SizeCommandFactory::create(const std::string& name, const Args& args, const Flags&) const {
  const FileSizeArgs* size = commandsupport::arg<FileSizeArgs>(args, 0);
  if (!size) return nullptr;
  std::optional<SizeCommandType> type;
  if (name == "filesBiggerThan") type = SizeCommandType::greaterThan;
  else if (name == "filesSmallerThan") type = SizeCommandType::smallerThan;
  else if (name == "filesEqualTo") type = SizeCommandType::equalTo;
  else if (name == "filesExactlyEqualTo") type = SizeCommandType::exactlyEqualTo;
  else return nullptr;
  // Sizes the byte count cannot hold make no command rather than a fault;
  // the band of "size" reaches a quarter unit further.
  double bytes = size->value + 0.25;
  for (int step = 0; step < int(size->units); ++step) bytes *= 1000.0;
  if (!std::isfinite(bytes) || size->value < 0 || bytes > 9.0e18) return nullptr;
  return std::make_shared<SizeCommand>(type, size->units, size->value);
}

}  // namespace velmora
