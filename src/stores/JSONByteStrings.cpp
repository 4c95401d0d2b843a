#include "stores/JSONByteStrings.h"

#include <unicode/utf8.h>

#include "common/SharedAdditions.h"

namespace velmora {

using nlohmann::json;

namespace {
constexpr char kMarker = '\0';
constexpr char kHex[] = "0123456789ABCDEF";

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

void appendEscaped(std::string& out, unsigned char byte) {
  out += '%';
  out += kHex[byte >> 4];
  out += kHex[byte & 0xF];
}
}  // namespace

std::string JSONByteStrings::encode(std::string_view bytes) {
  bool plain = (bytes.empty() || bytes.front() != kMarker) && SharedAdditions::isValidUTF8(bytes);
  if (plain) return std::string(bytes);
  std::string out(1, kMarker);
  out.reserve(bytes.size() + 8);
  const auto* data = reinterpret_cast<const std::uint8_t*>(bytes.data());
  auto length = static_cast<std::int32_t>(bytes.size());
  std::int32_t i = 0;
  while (i < length) {
    std::int32_t start = i;
    UChar32 c;
    U8_NEXT(data, i, length, c);
    if (c < 0) {
      for (std::int32_t k = start; k < i; ++k) appendEscaped(out, data[k]);
    } else if (c == '%') {
      appendEscaped(out, '%');
    } else {
      out.append(bytes.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start)));
    }
  }
  return out;
}

std::string JSONByteStrings::decode(std::string_view stored) {
  if (stored.empty() || stored.front() != kMarker) return std::string(stored);
  std::string out;
  out.reserve(stored.size());
  for (std::size_t i = 1; i < stored.size(); ++i) {
    char c = stored[i];
    if (c == '%' && i + 2 < stored.size()) {
      int high = hexValue(stored[i + 1]), low = hexValue(stored[i + 2]);
      if (high >= 0 && low >= 0) {
        out += static_cast<char>(high * 16 + low);
        i += 2;
        continue;
      }
    }
    out += c;
  }
  return out;
}

json JSONByteStrings::encoded(const json& value) {
  switch (value.type()) {
    case json::value_t::string:
      return encode(value.get_ref<const std::string&>());
    case json::value_t::array: {
      json out = json::array();
      for (const auto& element : value) out.push_back(encoded(element));
      return out;
    }
    case json::value_t::object: {
      json out = json::object();
      for (const auto& [key, element] : value.items()) out[encode(key)] = encoded(element);
      return out;
    }
    default:
      return value;
  }
}

json JSONByteStrings::decoded(const json& value) {
  switch (value.type()) {
    case json::value_t::string:
      return decode(value.get_ref<const std::string&>());
    case json::value_t::array: {
      json out = json::array();
      for (const auto& element : value) out.push_back(decoded(element));
      return out;
    }
    case json::value_t::object: {
      json out = json::object();
      for (const auto& [key, element] : value.items()) out[decode(key)] = decoded(element);
      return out;
    }
    default:
      return value;
  }
}

}  // namespace velmora
