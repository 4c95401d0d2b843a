#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "common/Clock.h"

namespace velmora {

// A span of values from lowerBound to upperBound; which ends are included is
// told by the command that fills it.
template <typename T>
struct ValueRange {
  T lowerBound{};
  T upperBound{};
  bool operator==(const ValueRange&) const = default;
};

// Hints by which data sources may narrow what they enumerate. Commands fill
// them; a source that ignores them still gets correct results, since the
// filter applies every command anyway.
struct QuerySearchArguments {
  // False: pathIsInQueryLocation passes every path.
  bool checkPathForResults = true;
  // One word an indexed source may look up; by default the first search word.
  std::optional<std::string> word;
  std::optional<ValueRange<Date>> modificationDate;
  std::optional<ValueRange<Date>> creationDate;
  std::optional<ValueRange<std::uint64_t>> fileSize;

  bool operator==(const QuerySearchArguments&) const = default;
};

}  // namespace velmora
