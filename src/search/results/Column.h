#pragma once
#include <optional>
#include <string_view>

namespace velmora {

// The columns of the results list, in their fixed order. The string values
// are the column identifiers stored in preferences and given on the command line.
enum class Column { image, name, size, modDate, created, kind, inside, path, rank };

std::string_view toString(Column column);
std::optional<Column> columnFromString(std::string_view text);

}  // namespace velmora
