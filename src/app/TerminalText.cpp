#include "app/TerminalText.h"

#include "common/SharedAdditions.h"

#include <cwchar>

namespace velmora::app {

std::size_t TerminalText::nextCodePoint(const std::string& text, std::size_t at) {
  if (at >= text.size()) return text.size();
  ++at;
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) ++at;
  return at;
}

std::size_t TerminalText::previousCodePoint(const std::string& text, std::size_t at) {
  if (at == 0) return 0;
  if (at > text.size()) return text.size();
  --at;
  while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80) --at;
  return at;
}

int TerminalText::cellWidth(const std::string& text, std::size_t from, std::size_t to) {
  if (to > text.size()) to = text.size();
  std::mbstate_t state{};
  int width = 0;
  for (std::size_t at = from; at < to;) {
    wchar_t wide = 0;
    std::size_t used = std::mbrtowc(&wide, text.data() + at, to - at, &state);
    if (used == 0 || used == static_cast<std::size_t>(-1) || used == static_cast<std::size_t>(-2)) {
      // A byte that starts no character still takes a cell on screen.
      state = {};
      ++width;
      ++at;
      continue;
    }
    int w = ::wcwidth(wide);
    width += w < 0 ? 1 : w;
    at += used;
  }
  return width;
}

std::string TerminalText::fit(const std::string& text, int width) {
  if (width <= 0) return {};
  std::string out;
  int used = 0;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t next = nextCodePoint(text, at);
    int w = cellWidth(text, at, next);
    bool last = next >= text.size();
    // Cut when this character does not fit, or when it fills the last cell
    // and more visible text follows: the "…" needs that cell.
    if (used + w > width || (!last && used + w == width && cellWidth(text, next, text.size()) > 0)) {
      while (used > width - 1 && !out.empty()) {
        std::size_t back = previousCodePoint(out, out.size());
        used -= cellWidth(out, back, out.size());
        out.resize(back);
      }
      out += "\u2026";
      used += 1;
      break;
    }
    char c = text[at];
    if (next == at + 1) {
      if (static_cast<unsigned char>(c) < 0x20 || c == 0x7f) c = ' ';
      out += c;
    } else if (next == at + 2 && static_cast<unsigned char>(c) == 0xC2 &&
               static_cast<unsigned char>(text[at + 1]) < 0xA0) {
      out += ' ';  // a C1 control: some terminals act on U+009B as on ESC [
    } else {
      out.append(text, at, next - at);
    }
    used += w;
    at = next;
  }
  if (used < width) out.append(static_cast<std::size_t>(width - used), ' ');
  return out;
}

std::string TerminalText::encode(char32_t c) {
  std::string out;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    if (c >= 0xD800 && c <= 0xDFFF) return {};
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c <= 0x10FFFF) {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
  return out;
}

namespace {

void appendHex(std::string& out, unsigned char byte) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  out += "\\x";
  out += kHex[byte >> 4];
  out += kHex[byte & 0xF];
}

}  // namespace

std::string TerminalText::escaped(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  for (std::size_t at = 0; at < bytes.size();) {
    auto byte = static_cast<unsigned char>(bytes[at]);
    if (byte < 0x20 || byte == 0x7F) {
      switch (byte) {
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        case 0x1B: out += "\\e"; break;
        default: appendHex(out, byte);
      }
      ++at;
      continue;
    }
    if (byte < 0x80) {
      out += static_cast<char>(byte);
      ++at;
      continue;
    }
    // A UTF-8 sequence is kept whole unless it is a C1 control (U+0080 to
    // U+009F, which some terminals obey); bytes outside any sequence are
    // shown by value.
    std::size_t length = byte >= 0xF0 ? 4 : byte >= 0xE0 ? 3 : byte >= 0xC0 ? 2 : 1;
    std::string_view piece = bytes.substr(at, length);
    if (length > 1 && piece.size() == length && SharedAdditions::isValidUTF8(piece)) {
      bool c1 = byte == 0xC2 && static_cast<unsigned char>(piece[1]) < 0xA0;
      if (c1) {
        appendHex(out, byte);
        appendHex(out, static_cast<unsigned char>(piece[1]));
      } else {
        out.append(piece);
      }
      at += length;
      continue;
    }
    appendHex(out, byte);
    ++at;
  }
  return out;
}

}  // namespace velmora::app
