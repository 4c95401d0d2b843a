#pragma once
#include <string>
#include <string_view>

namespace velmora {

// Text helpers for testing names and paths against query words.
namespace NameMatching {
// The last component of a path ("/" gives "/", a trailing slash is ignored).
std::string_view lastPathComponent(std::string_view path);
// The path without its last component ("/a/b.txt" gives "/a").
std::string_view deletingLastPathComponent(std::string_view path);
// The extension of the last component without its dot; empty for none,
// for ".hidden" and for "name.".
std::string_view pathExtension(std::string_view path);
// Lowercase by the rules of the user's locale.
std::string localizedLowercase(std::string_view text);
// Byte offset of needle in haystack at or after `from`, ignoring case
// (Unicode simple case folding), or npos.
std::size_t findCaseInsensitive(std::string_view haystack, std::string_view needle, std::size_t from = 0);
}  // namespace NameMatching

}  // namespace velmora
