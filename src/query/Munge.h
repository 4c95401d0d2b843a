#pragma once
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace velmora {

// A light scrambling of embedded resources so that they do not sit in the
// binary as plain text. Applying it twice with the same arguments gives the
// original bytes back.
class Munge {
 public:
  // Scrambles `data` in place, one little-endian 64-bit word at a time; a
  // tail shorter than a word is left alone. With `maxBytes` the pass stops
  // once the word index has passed it.
  static void munge(std::span<std::uint8_t> data, std::optional<std::size_t> maxBytes = std::nullopt,
                    std::uint64_t multiplier = 1);
  static void munge(std::vector<std::uint8_t>& data, std::optional<std::size_t> maxBytes = std::nullopt,
                    std::uint64_t multiplier = 1) {
    munge(std::span<std::uint8_t>(data), maxBytes, multiplier);
  }

  static std::span<const std::uint64_t> table();
};

}  // namespace velmora
