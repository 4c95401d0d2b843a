#pragma once
#include <cstdint>
#include <optional>
#include <string_view>

namespace velmora {

// How often one index is brought up to date, as its saved record stores it
// ("updatesEvery"). A raw value outside 0-8 reads as defaultTiming.
enum class CachingUpdatesTag : std::int64_t {
  defaultTiming = 0,  // the global "updateCachesEvery"
  appRestart = 1,     // once per run
  day = 2,
  twoDays = 3,
  threeDays = 4,
  week = 5,
  fortnight = 6,
  month = 7,
  never = 8,
};

inline CachingUpdatesTag cachingUpdatesTagFromRaw(std::int64_t raw) {
  if (raw < 0 || raw > 8) return CachingUpdatesTag::defaultTiming;
  return static_cast<CachingUpdatesTag>(raw);
}

// The interval after which an index is stale; none for defaultTiming,
// appRestart and never.
inline std::optional<std::int64_t> cachingUpdatesSeconds(CachingUpdatesTag tag) {
  switch (tag) {
    case CachingUpdatesTag::day: return 86400;
    case CachingUpdatesTag::twoDays: return 172800;
    case CachingUpdatesTag::threeDays: return 259200;
    case CachingUpdatesTag::week: return 604800;
    case CachingUpdatesTag::fortnight: return 1209600;
    case CachingUpdatesTag::month: return 2678400;
    default: return std::nullopt;
  }
}

// The words of `velmora index add --updates-every`.
inline std::optional<CachingUpdatesTag> cachingUpdatesTagFromWord(std::string_view word) {
  if (word == "default") return CachingUpdatesTag::defaultTiming;
  if (word == "restart") return CachingUpdatesTag::appRestart;
  if (word == "day") return CachingUpdatesTag::day;
  if (word == "2days") return CachingUpdatesTag::twoDays;
  if (word == "3days") return CachingUpdatesTag::threeDays;
  if (word == "week") return CachingUpdatesTag::week;
  if (word == "fortnight") return CachingUpdatesTag::fortnight;
  if (word == "month") return CachingUpdatesTag::month;
  if (word == "never") return CachingUpdatesTag::never;
  return std::nullopt;
}

inline const char* cachingUpdatesWord(CachingUpdatesTag tag) {
  switch (tag) {
    case CachingUpdatesTag::defaultTiming: return "default";
    case CachingUpdatesTag::appRestart: return "restart";
    case CachingUpdatesTag::day: return "day";
    case CachingUpdatesTag::twoDays: return "2days";
    case CachingUpdatesTag::threeDays: return "3days";
    case CachingUpdatesTag::week: return "week";
    case CachingUpdatesTag::fortnight: return "fortnight";
    case CachingUpdatesTag::month: return "month";
    case CachingUpdatesTag::never: return "never";
  }
  return "default";
}

}  // namespace velmora
