#pragma once
#include <string>
#include <string_view>

namespace velmora {

// Names as a terminal may safely show them: a name can hold a newline or an
// escape sequence that would rewrite the screen.
class TerminalText {
 public:
  // Control characters (C0, DEL, C1) and bytes that are not UTF-8 become
  // visible escapes: \n, \t, \r, \e, otherwise \xHH; everything else is
  // kept.
  static std::string escaped(std::string_view bytes);
};

}  // namespace velmora
