#include "query/DateCommandWhen.h"

#include "query/QWCDateFormatter.h"

namespace velmora {

namespace {
// The platform's distant past and distant future (years 1 and 4001).
constexpr std::int64_t kDistantPast = -62135769600;
constexpr std::int64_t kDistantFuture = 64092211200;
constexpr std::int64_t kDay = 86400;
}  // namespace

std::optional<DateCommandWhen> DateCommandWhen::fixedNamedTimeRange(std::string_view word) {
  if (word == "recent") return DateCommandWhen{WhenType::recent, {}, {}};
  if (word == "today") return DateCommandWhen{WhenType::today, {}, {}};
  if (word == "yesterday") return DateCommandWhen{WhenType::yesterday, {}, {}};
  if (word == "tomorrow") return DateCommandWhen{WhenType::tomorrow, {}, {}};
  return std::nullopt;
}

std::pair<std::int64_t, std::int64_t> DateCommandWhen::timeIntervalDateRange(const DateHelper& helper) const {
  switch (when) {
    case WhenType::ever: return {kDistantPast, kDistantFuture};
    case WhenType::now: {
      std::int64_t nowSec = unixSeconds(helper.now());
      return {nowSec - 60, nowSec};
    }
    case WhenType::recent: {
      std::int64_t nowSec = unixSeconds(helper.now());
      return {nowSec - 3600, nowSec};
    }
    case WhenType::today:
    case WhenType::yesterday:
    case WhenType::tomorrow: {
      std::int64_t day0 = unixSeconds(helper.startOfDay(helper.now()));
      if (when == WhenType::today) return {day0, day0 + kDay};
      if (when == WhenType::yesterday) return {day0 - kDay, day0};
      return {day0 + kDay, day0 + 2 * kDay};
    }
    case WhenType::specificDay: {
      std::int64_t start = specificDay ? unixSeconds(*specificDay) : 0;
      return {start, start + kDay};
    }
    case WhenType::dateRange:
      if (!dateRange) return {0, 0};
      return {unixSeconds(dateRange->first), unixSeconds(dateRange->second)};
  }
  return {0, 0};
}

std::string DateCommandWhen::toString(const DateHelper& helper) const {
  switch (when) {
    case WhenType::ever: return "ever";
    case WhenType::now: return "now";
    case WhenType::recent: return "recent";
    case WhenType::today: return "today";
    case WhenType::yesterday: return "yesterday";
    case WhenType::tomorrow: return "tomorrow";
    case WhenType::specificDay:
      return specificDay ? QWCDateFormatter(QWCDateFormatter::Style::shortStyle, QWCDateFormatter::Style::none, helper)
                               .formatPlain(*specificDay)
                         : std::string();
    case WhenType::dateRange: {
      if (!dateRange) return {};
      QWCDateFormatter f(QWCDateFormatter::Style::shortStyle, QWCDateFormatter::Style::shortStyle, helper);
      return f.dateToString(dateRange->first) + " " + f.dateToString(dateRange->second);
    }
  }
  return {};
}

std::string DateCommandWhen::debugDescription(const DateHelper& helper) const {
  auto [lower, upper] = timeIntervalDateRange(helper);
  return toString(helper) + " [" + std::to_string(lower) + ", " + std::to_string(upper) + ")";
}

}  // namespace velmora
