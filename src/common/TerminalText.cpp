#include "common/TerminalText.h"

#include "common/SharedAdditions.h"

namespace velmora {

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

}  // namespace velmora
