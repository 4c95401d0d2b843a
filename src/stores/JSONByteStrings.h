#pragma once
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace velmora {

// How strings that are not UTF-8 live in a JSON file. Linux file names are
// bytes, and a remembered folder or a recent item must come back byte for
// byte, while the file must stay valid JSON for every other reader.
//
// A string (value or key) that is not well-formed UTF-8 is written as U+0000
// followed by its bytes with each byte of an ill-formed sequence, and each
// "%", written as "%XX" (two uppercase hexadecimal digits); well-formed
// sequences stay as they are. A file name or a command-line argument can
// never hold U+0000, so ordinary text is written unchanged; a string that
// does begin with U+0000 is written the same escaped way, which keeps the
// reading unambiguous: every stored string that begins with U+0000 is
// decoded, and nothing else is.
class JSONByteStrings {
 public:
  static std::string encode(std::string_view bytes);
  // The bytes a stored string stands for; text that is not in the escaped
  // form (or is damaged) comes back as it is.
  static std::string decode(std::string_view stored);

  // The whole value with every string and key converted. Callers bound the
  // depth first (the conversion recurses once per level).
  static nlohmann::json encoded(const nlohmann::json& value);
  static nlohmann::json decoded(const nlohmann::json& value);
};

}  // namespace velmora
