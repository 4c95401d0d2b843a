#pragma once
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// Small text and path helpers used across the engine.
namespace SharedAdditions {

std::string_view dropPrefix(std::string_view text, std::string_view prefix);
std::string_view dropSuffix(std::string_view text, std::string_view suffix);

// The last path component as shown to a person ("/" for the root).
std::string displayName(const std::filesystem::path& path);
// The path with the home folder written as "~".
std::string displayPath(const std::filesystem::path& path);

// Sorts texts as a person expects in the current locale: case-insensitive,
// numbers by value ("file 2" before "file 10").
void localizedSort(std::vector<std::string>& texts);
// Negative, zero or positive, by the same rules.
int localizedStandardCompare(std::string_view a, std::string_view b);

// Removes every code point of `characters` from text.
std::string strippingCharactersIn(std::string_view text, std::u32string_view characters);

// The index after `index`, wrapping to 0 past the end of a collection of `count`.
std::size_t indexAfterWrapping(std::size_t index, std::size_t count);

// Text from a fixed-size char array that may lack a terminating zero.
std::string tupleOfInt8sToString(const char* bytes, std::size_t capacity);

// Two lowercase hexadecimal digits per byte.
std::string hexString(const void* bytes, std::size_t length);
inline std::string hexString(std::string_view bytes) { return hexString(bytes.data(), bytes.size()); }

// True for well-formed UTF-8.
bool isValidUTF8(std::string_view text);
// Replaces ill-formed sequences with U+FFFD.
std::string repairedUTF8(std::string_view text);

}  // namespace SharedAdditions

// CRC-64/ECMA-182: polynomial 0x42F0E1EBA9EA3693, initial value 0, most
// significant bit first, no reflection, no final XOR, over the bytes up to
// the first zero byte; read as a signed 64-bit number. Identity of paths in
// the duplicate sets.
std::int64_t crc64(std::string_view text);
std::uint64_t crc64_ecma182(std::uint64_t crc, const unsigned char* bytes, std::size_t length);

}  // namespace velmora
