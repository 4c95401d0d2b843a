#pragma once
#include <bit>
#include <concepts>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>

#include "common/Clock.h"
#include "common/SharedAdditions.h"
#include "index/store/Data.h"

namespace velmora {

// The byte form of a value stored under a key: `asData` and `fromData`
// (fromData gives absent when the bytes are not a value of that type; a
// number of the wrong width is never truncated or widened).
template <typename T>
struct DataConvertible;

template <>
struct DataConvertible<Data> {
  static Data asData(const Data& value) { return value; }
  static std::optional<Data> fromData(ByteView data) { return Data(data.begin(), data.end()); }
};

// Text: UTF-8 without a terminator.
template <>
struct DataConvertible<std::string> {
  static Data asData(const std::string& value) { return dataFrom(value); }
  static std::optional<std::string> fromData(ByteView data) {
    std::string text(asText(data));
    if (!SharedAdditions::isValidUTF8(text)) return std::nullopt;
    return text;
  }
};

template <>
struct DataConvertible<bool> {
  static Data asData(bool value) { return Data{static_cast<std::uint8_t>(value ? 1 : 0)}; }
  static std::optional<bool> fromData(ByteView data) {
    if (data.size() != 1) return std::nullopt;
    return data[0] != 0;
  }
};

// Integers of every width, signed and unsigned: little-endian, natural width.
template <std::integral T>
  requires(!std::same_as<T, bool>)
struct DataConvertible<T> {
  static Data asData(T value) {
    Data data;
    data.reserve(sizeof(T));
    DataHelpers::appendLittleEndian(data, value);
    return data;
  }
  static std::optional<T> fromData(ByteView data) {
    if (data.size() != sizeof(T)) return std::nullopt;
    std::size_t offset = 0;
    return DataHelpers::safeValueAndIncrement<T>(data, offset);
  }
};

// IEEE 754 bits in host order.
template <std::floating_point T>
  requires(sizeof(T) == 4 || sizeof(T) == 8)
struct DataConvertible<T> {
  static Data asData(T value) {
    Data data(sizeof(T));
    std::memcpy(data.data(), &value, sizeof(T));
    return data;
  }
  static std::optional<T> fromData(ByteView data) {
    if (data.size() != sizeof(T)) return std::nullopt;
    T value;
    std::memcpy(&value, data.data(), sizeof(T));
    return value;
  }
};

// Seconds since 2001-01-01 00:00:00 UTC as a 64-bit float.
template <>
struct DataConvertible<Date> {
  static Data asData(Date value) { return DataConvertible<double>::asData(secondsSinceReferenceDate(value)); }
  static std::optional<Date> fromData(ByteView data) {
    auto seconds = DataConvertible<double>::fromData(data);
    // A time point holds about 292 years either side of 1970; beyond that
    // (or NaN) the bytes are not a date this program can represent.
    if (!seconds || !(*seconds > -9.0e9 && *seconds < 9.0e9)) return std::nullopt;
    return dateFromReferenceSeconds(*seconds);
  }
};

template <typename T>
Data asData(const T& value) {
  return DataConvertible<T>::asData(value);
}

}  // namespace velmora
