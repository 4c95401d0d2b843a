#pragma once
#include <string_view>

namespace velmora {

// Path arithmetic on text, as the engine keeps paths (absolute, "/"-separated,
// bytes as the file system gave them). One place for what every subsystem
// needs, so that trailing slashes and the root are treated alike everywhere.
namespace PathText {
// The last component ("/" gives "/"; a trailing slash is ignored).
std::string_view lastPathComponent(std::string_view path);
// The path without its last component ("/a/b.txt" gives "/a", "/a" gives "/",
// "name" gives "").
std::string_view deletingLastPathComponent(std::string_view path);
// The extension of the last component without its dot; empty for none, for
// ".hidden" and for "name.".
std::string_view pathExtension(std::string_view path);
}  // namespace PathText

}  // namespace velmora
