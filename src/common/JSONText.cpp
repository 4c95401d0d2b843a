#include "common/JSONText.h"

#include "common/SharedAdditions.h"

namespace velmora {

namespace {

// Length of the valid UTF-8 sequence at `at`, 0 when the byte starts none.
std::size_t sequenceLength(std::string_view text, std::size_t at) {
  auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  unsigned char lead = byte(at);
  if (lead < 0x80) return 1;
  std::size_t length = 0;
  unsigned char low = 0x80, high = 0xBF;
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;
  } else {
    return 0;
  }
  if (at + length > text.size()) return 0;
  if (byte(at + 1) < low || byte(at + 1) > high) return 0;
  for (std::size_t i = 2; i < length; ++i)
    if (byte(at + i) < 0x80 || byte(at + i) > 0xBF) return 0;
  return length;
}

int hexValue(char ch) {
  if (ch >= '0' && ch <= '9') return ch - '0';
  if (ch >= 'A' && ch <= 'F') return ch - 'A' + 10;
  if (ch >= 'a' && ch <= 'f') return ch - 'a' + 10;
  return -1;
}

}  // namespace

bool JSONText::needsEscaping(std::string_view bytes) { return !SharedAdditions::isValidUTF8(bytes); }

std::string JSONText::escaped(std::string_view bytes) {
  if (!needsEscaping(bytes)) return std::string(bytes);
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  out.reserve(bytes.size() + 8);
  for (std::size_t at = 0; at < bytes.size();) {
    std::size_t length = sequenceLength(bytes, at);
    if (length == 0) {
      auto byte = static_cast<unsigned char>(bytes[at]);
      out += "\\x";
      out += kHex[byte >> 4];
      out += kHex[byte & 0xF];
      ++at;
      continue;
    }
    if (bytes[at] == '\\') out += '\\';
    out.append(bytes.substr(at, length));
    at += length;
  }
  return out;
}

std::string JSONText::unescaped(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] == '\\' && at + 1 < text.size()) {
      if (text[at + 1] == '\\') {
        out += '\\';
        ++at;
        continue;
      }
      if (text[at + 1] == 'x' && at + 3 < text.size() && hexValue(text[at + 2]) >= 0 && hexValue(text[at + 3]) >= 0) {
        out += static_cast<char>(hexValue(text[at + 2]) * 16 + hexValue(text[at + 3]));
        at += 3;
        continue;
      }
    }
    out += text[at];
  }
  return out;
}

}  // namespace velmora
