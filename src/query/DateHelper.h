#pragma once
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "common/Clock.h"

namespace velmora {

// The calendar units that the date language names ("2 weeks", "this month").
enum class CalendarComponent { minute, hour, day, weekOfYear, month, year };

// Calendar fields that may be left unset; unset fields make no claim.
// Days past the end of a month and month 13 are allowed: the calendar
// rolls them over into the next month or year.
struct DateComponents {
  std::optional<int> year;
  std::optional<int> month;  // 1-based
  std::optional<int> day;
  std::optional<int> hour;
  std::optional<int> minute;
  std::optional<int> second;
};

// A half-open range of instants [lower, upper).
using DateRange = std::pair<Date, Date>;

// Month names and calendar arithmetic in one locale and time zone, with
// "now" from a clock. One shared instance serves the language; tests make
// their own with a pinned locale, zone and clock. Safe to share between
// threads: calendar work happens under a lock.
class DateHelper {
 public:
  // Empty ids take the process defaults (ICU's default locale and zone).
  DateHelper(std::string localeId, std::string timeZoneId, const Clock& clock = Clock::system());
  ~DateHelper();
  DateHelper(const DateHelper&) = delete;
  DateHelper& operator=(const DateHelper&) = delete;

  static std::shared_ptr<const DateHelper> shared();
  // Replaces the shared instance (tests, front-ends that change zone).
  static void setShared(std::shared_ptr<const DateHelper> helper);

  // Lowercased, from the calendar of the locale.
  const std::vector<std::string>& monthSymbols() const { return monthSymbols_; }
  const std::vector<std::string>& shortMonthSymbols() const { return shortMonthSymbols_; }
  // 0-based month index of a full or short month name (exact comparison).
  std::optional<int> monthIndexFromWord(std::string_view word) const;

  const std::string& localeId() const { return localeId_; }
  const std::string& timeZoneId() const { return timeZoneId_; }
  const Clock& clock() const { return clock_; }
  Date now() const { return clock_.now(); }

  // Today's year, month and day; no time fields (so a date made from them
  // is at the start of a day).
  DateComponents nowComponents() const;
  // The components of `date`, time fields included.
  DateComponents components(Date date) const;
  // The instant of the components: unset date fields are today's, unset
  // time fields 0. Nothing when the calendar cannot make a date.
  std::optional<Date> date(const DateComponents& components) const;
  // As date(), but a date in the future moves back by one year.
  std::optional<Date> toDateWithYearInPast(DateComponents components) const;
  Date startOfDay(Date date) const;
  // The calendar interval of the unit around `date` (week: the locale's
  // week start). Nothing for units below a day.
  std::optional<DateRange> dateInterval(CalendarComponent unit, Date date) const;
  // Whether two instants fall on the same calendar day.
  bool isSameDay(Date a, Date b) const;
  // "Midnight plus days": start of the day `days` after the day of `date`.
  Date addingDays(Date date, int days) const;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
  std::string localeId_;
  std::string timeZoneId_;
  const Clock& clock_;
  std::vector<std::string> monthSymbols_;
  std::vector<std::string> shortMonthSymbols_;
};

// Whole seconds since 1970, truncated toward zero.
std::int64_t unixSeconds(Date date);
Date dateFromUnixSeconds(double seconds);

}  // namespace velmora
