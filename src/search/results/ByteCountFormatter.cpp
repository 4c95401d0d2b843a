#include "search/results/ByteCountFormatter.h"

#include <array>
#include <cmath>

#include <fmt/format.h>

namespace velmora::ByteCountFormatter {

std::string stringFromByteCount(std::uint64_t bytes) {
  if (bytes == 0) return "Zero KB";
  if (bytes == 1) return "1 byte";
  if (bytes < 1000) return fmt::format("{} bytes", bytes);
  static constexpr std::array<const char*, 6> units{"KB", "MB", "GB", "TB", "PB", "EB"};
  double value = static_cast<double>(bytes) / 1000.0;
  std::size_t unit = 0;
  while (true) {
    int digits = unit == 0 ? 0 : (unit == 1 ? 1 : 2);
    double scale = std::pow(10.0, digits);
    double rounded = std::round(value * scale) / scale;
    // 999,999 bytes rounds to 1,000 KB: show it as the next unit instead.
    if (rounded >= 1000.0 && unit + 1 < units.size()) {
      value /= 1000.0;
      ++unit;
      continue;
    }
    std::string text = fmt::format("{:.{}f}", rounded, digits);
    if (text.find('.') != std::string::npos) {
      while (text.back() == '0') text.pop_back();
      if (text.back() == '.') text.pop_back();
    }
    return text + " " + units[unit];
  }
}

}  // namespace velmora::ByteCountFormatter
