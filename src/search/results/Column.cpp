#include "search/results/Column.h"

#include <array>

namespace velmora {

namespace {
constexpr std::array<std::string_view, 9> kNames{"image", "name",   "size", "modDate", "created",
                                                 "kind",  "inside", "path", "rank"};
}

std::string_view toString(Column column) { return kNames[static_cast<std::size_t>(column)]; }

std::optional<Column> columnFromString(std::string_view text) {
  for (std::size_t i = 0; i < kNames.size(); ++i)
    if (kNames[i] == text) return static_cast<Column>(i);
  return std::nullopt;
}

}  // namespace velmora
