#pragma once
#include <cstdint>
#include <string>

namespace velmora {

// Sizes as a file manager shows them: decimal units (1 KB = 1000 bytes),
// "Zero KB", "1 byte", "999 bytes", "2 KB", "1.5 MB", "1.23 GB"; no fraction
// below a megabyte, one digit for megabytes, two above, trailing zeros dropped.
namespace ByteCountFormatter {
std::string stringFromByteCount(std::uint64_t bytes);
}

}  // namespace velmora
