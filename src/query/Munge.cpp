#include "query/Munge.h"

#include <array>

namespace velmora {

namespace {
// Fixed forever: the embedded resources were scrambled against these words.
constexpr std::array<std::uint64_t, 16> kTable = {
    0x9e3779b97f4a7c15ULL, 0xbf58476d1ce4e5b9ULL, 0x94d049bb133111ebULL, 0x2545f4914f6cdd1dULL,
    0xd6e8feb86659fd93ULL, 0xa0761d6478bd642fULL, 0xe7037ed1a0b428dbULL, 0x8ebc6af09c88c6e3ULL,
    0x589965cc75374cc3ULL, 0x1d8e4e27c47d124fULL, 0x72be5d74f27b896fULL, 0x4f1bbcdcbfa53e0bULL,
    0xc2b2ae3d27d4eb4fULL, 0x165667b19e3779f9ULL, 0x85ebca77c2b2ae63ULL, 0x27d4eb2f165667c5ULL,
};
}  // namespace

std::span<const std::uint64_t> Munge::table() { return kTable; }

void Munge::munge(std::span<std::uint8_t> data, std::optional<std::size_t> maxBytes, std::uint64_t multiplier) {
  const std::size_t words = data.size() / 8;
  for (std::size_t i = 0; i < words; ++i) {
    if (maxBytes && i > *maxBytes) break;
    std::uint8_t* p = data.data() + i * 8;
    std::uint64_t word = 0;
    for (int b = 0; b < 8; ++b) word |= std::uint64_t(p[b]) << (8 * b);
    word ^= kTable[i % kTable.size()] * multiplier;  // unsigned: wraps around
    for (int b = 0; b < 8; ++b) p[b] = std::uint8_t(word >> (8 * b));
  }
}

}  // namespace velmora
