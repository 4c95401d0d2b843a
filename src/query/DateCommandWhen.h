#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

#include "query/DateHelper.h"

namespace velmora {

// The time span of a date command: a named span relative to now, one day,
// or an explicit range.
struct DateCommandWhen {
  enum class WhenType { ever, now, recent, today, yesterday, tomorrow, specificDay, dateRange };

  WhenType when = WhenType::ever;
  std::optional<Date> specificDay;
  std::optional<DateRange> dateRange;

  static DateCommandWhen day(Date date) { return {WhenType::specificDay, date, std::nullopt}; }
  static DateCommandWhen range(Date lower, Date upper) { return {WhenType::dateRange, std::nullopt, DateRange{lower, upper}}; }

  // "recent", "today", "yesterday", "tomorrow" as a span; other words nothing.
  static std::optional<DateCommandWhen> fixedNamedTimeRange(std::string_view wordLowered);

  // Whole seconds since 1970, upper end exclusive. Every day counts 86400
  // seconds, also across a clock change.
  std::pair<std::int64_t, std::int64_t> timeIntervalDateRange(const DateHelper& helper) const;
  std::string toString(const DateHelper& helper) const;
  std::string debugDescription(const DateHelper& helper) const;
};

}  // namespace velmora
