#pragma once
#include <optional>
#include <string>
#include <string_view>

namespace velmora {

// Which date of an item a date command looks at.
enum class DateCommandWhat { modificationDate, creationDate, accessDate };

// "modified", "changed", "edited" and "created", "made"; nothing else. The
// access date has no word of its own.
std::optional<DateCommandWhat> dateCommandWhatFrom(std::string_view wordLowered);
// "modified", "created" or "accessed".
std::string toString(DateCommandWhat what);

}  // namespace velmora
