#pragma once
#include <cstdint>

namespace velmora {

// A set of flags over a signed 32-bit raw value; each member has the value of
// the LMDB flag it is named after.
template <typename Derived>
struct OptionSet {
  std::int32_t rawValue = 0;

  constexpr OptionSet() = default;
  constexpr explicit OptionSet(std::int32_t raw) : rawValue(raw) {}

  friend constexpr Derived operator|(Derived a, Derived b) { return Derived(a.rawValue | b.rawValue); }
  constexpr bool contains(Derived member) const { return (rawValue & member.rawValue) == member.rawValue; }
  constexpr void insert(Derived member) { rawValue |= member.rawValue; }
  friend constexpr bool operator==(Derived a, Derived b) { return a.rawValue == b.rawValue; }
};

}  // namespace velmora
