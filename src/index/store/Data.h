#pragma once
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace velmora {

// Raw bytes as stored in an index file.
using Data = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

inline ByteView asBytes(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}
inline std::string_view asText(ByteView bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}
inline Data dataFrom(std::string_view text) { return Data(text.begin(), text.end()); }

// Byte-level helpers shared by the record readers. Every read is checked
// against the end of the value, so damaged records give "absent", never a
// read past the end.
namespace DataHelpers {

// The bytes [offset, offset + length), or absent when that leaves the value.
std::optional<ByteView> subdata_safe(ByteView data, std::size_t offset, std::size_t length);

// Reads a little-endian fixed-width number at `offset` and moves `offset`
// past it; absent (offset unchanged) when fewer bytes remain.
template <typename T>
std::optional<T> safeValueAndIncrement(ByteView data, std::size_t& offset) {
  static_assert(std::is_trivially_copyable_v<T>);
  if (offset > data.size() || data.size() - offset < sizeof(T)) return std::nullopt;
  T value;
  if constexpr (std::is_integral_v<T>) {
    using U = std::make_unsigned_t<T>;
    U bits = 0;
    for (std::size_t i = 0; i < sizeof(T); ++i) bits |= static_cast<U>(static_cast<U>(data[offset + i]) << (8 * i));
    value = static_cast<T>(bits);
  } else {
    std::memcpy(&value, data.data() + offset, sizeof(T));
  }
  offset += sizeof(T);
  return value;
}

// Appends a number in little-endian order (the byte order of every fixed
// field in the index records).
template <typename T>
void appendLittleEndian(Data& data, T value) {
  static_assert(std::is_integral_v<T>);
  using U = std::make_unsigned_t<T>;
  U bits = static_cast<U>(value);
  for (std::size_t i = 0; i < sizeof(T); ++i) data.push_back(static_cast<std::uint8_t>(bits >> (8 * i)));
}

// Two lowercase hexadecimal digits per byte.
std::string hexString(ByteView data);

}  // namespace DataHelpers
}  // namespace velmora
