#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace velmora::app {

// Text measured in terminal cells: a CJK character takes two, a combining
// mark none, a byte that is no UTF-8 one (it shows as a replacement). Widths
// follow the C library's wcwidth under the process's LC_CTYPE.
struct TerminalText {
  // Names as a terminal may safely print them: control characters (C0, DEL,
  // C1) and bytes that are not UTF-8 become visible escapes (\n, \t, \r,
  // \e, otherwise \xHH); everything else is kept.
  static std::string escaped(std::string_view bytes);
  // Byte offset of the next or previous code point; clamped to the text.
  static std::size_t nextCodePoint(const std::string& text, std::size_t at);
  static std::size_t previousCodePoint(const std::string& text, std::size_t at);
  // Cells taken by the bytes [from, to).
  static int cellWidth(const std::string& text, std::size_t from, std::size_t to);
  static int cellWidth(const std::string& text) { return cellWidth(text, 0, text.size()); }
  // The text cut (ending in "…") or padded with blanks to exactly `width`
  // cells; control characters become blanks so that a name cannot move the
  // terminal's cursor.
  static std::string fit(const std::string& text, int width);
  // The UTF-8 bytes of one code point as the terminal delivered it; empty
  // for a surrogate or a value beyond U+10FFFF.
  static std::string encode(char32_t codePoint);
};

}  // namespace velmora::app
