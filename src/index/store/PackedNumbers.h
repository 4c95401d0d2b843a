#pragma once
#include <cstdint>
#include <vector>

#include "index/store/Data.h"

namespace velmora {

// The packed number lists of the index: child lists, dead lists and the
// document IDs of words. Numbers inside a packed list are big-endian.
namespace PackedNumbers {

// Empty list: no bytes. One number below 256: one byte. One number below
// 65536: two bytes. Otherwise runs of (width byte 1-4, count byte 1-255,
// count numbers of that width). A run's width comes from its first number and
// never narrows.
Data storePacked(const std::vector<std::uint32_t>& numbers);

// The inverse. A width byte outside 1-4, or a run longer than what remains,
// ends the reading with what was read so far.
std::vector<std::uint32_t> unpackStored(ByteView data);

// The first number, then each difference from the one before. The list must
// ascend; a descending step is a programming fault and ends the process.
std::vector<std::uint32_t> differential(const std::vector<std::uint32_t>& numbers);
// The running sum (wrapping, so damaged input can't fault).
std::vector<std::uint32_t> inverseDifferential(const std::vector<std::uint32_t>& deltas);

// differential then storePacked, and its inverse.
Data storePackedDeltas(const std::vector<std::uint32_t>& ascending);
std::vector<std::uint32_t> unpackStoredDeltas(ByteView data);

}  // namespace PackedNumbers
}  // namespace velmora
