#pragma once
#include <string>
#include <string_view>

namespace velmora {

// Text helpers for testing names and paths against query words.
namespace NameMatching {
// Byte offset of needle in haystack at or after `from`, ignoring case
// (Unicode simple case folding), or npos.
std::size_t findCaseInsensitive(std::string_view haystack, std::string_view needle, std::size_t from = 0);
}  // namespace NameMatching

}  // namespace velmora
