#include "query/commands/DateCommandCreators.h"

namespace velmora::DateCommandCreators {

namespace {

std::optional<int> intArg(const std::vector<std::any>& args, std::size_t i) {
  if (i >= args.size()) return std::nullopt;
  const std::any& a = args[i];
  if (auto p = std::any_cast<int>(&a)) return *p;
  if (auto p = std::any_cast<long>(&a)) return int(*p);
  if (auto p = std::any_cast<long long>(&a)) return int(*p);
  return std::nullopt;
}

std::optional<CalendarComponent> unitArg(const std::vector<std::any>& args, std::size_t i) {
  if (i >= args.size()) return std::nullopt;
  if (auto p = std::any_cast<CalendarComponent>(&args[i])) return *p;
  return std::nullopt;
}

std::optional<DateCommandWhen> whenArg(const std::vector<std::any>& args, std::size_t i) {
  if (i >= args.size()) return std::nullopt;
  if (auto p = std::any_cast<DateCommandWhen>(&args[i])) return *p;
  return std::nullopt;
}

DateComponents on(const DateHelper& helper, std::optional<int> year, std::optional<int> month, int day) {
  DateComponents c = helper.nowComponents();
  if (year) c.year = year;
  if (month) c.month = month;
  c.day = day;
  return c;
}

DateComponents epochStart(const DateHelper& helper) { return on(helper, 1970, 1, 1); }

std::optional<DateCommandWhen> untilNow(const DateComponents& first, const DateHelper& helper) {
  auto start = helper.toDateWithYearInPast(first);
  if (!start) return std::nullopt;
  Date now = helper.now();
  return DateCommandWhen::range(std::min(*start, now), std::max(*start, now));
}

std::optional<DateCommandWhen> dayStartingAt(std::optional<DateCommandWhen> day) {
  if (!day || !day->specificDay) return std::nullopt;
  return day;
}

}  // namespace

const std::vector<std::string>& commandNames() {
  static const std::vector<std::string> names = {
      "specificDateRange", "thisTimeUnit",     "lastTimeUnit",    "lastNDateUnit",        "month",
      "monthYear",         "monthToMonth",     "monthYearToMonth", "monthToMonthYear",    "monthYearToMonthYear",
      "monthYearToYear",   "yearMonthToMonth", "monthDayToMonth", "yearToYear",           "year",
      "afterDate",         "afterYear",        "afterMonth",      "beforeDate",           "beforeYear",
      "beforeMonth",       "dayMonth"};
  return names;
}

std::optional<double> timeUnitFactor(CalendarComponent unit) {
  switch (unit) {
    case CalendarComponent::minute: return -60.0;
    case CalendarComponent::hour: return -3600.0;
    case CalendarComponent::day: return -86400.0;
    case CalendarComponent::weekOfYear: return -604800.0;
    case CalendarComponent::month: return -18144000.0;
    case CalendarComponent::year: return -220752000.0;
  }
  return std::nullopt;
}

std::optional<DateCommandWhen> twoDatesToDate(const DateComponents& first, const DateComponents& second,
                                              const DateHelper& helper, bool secondFollowsFirst) {
  auto a = helper.toDateWithYearInPast(first);
  if (!a) return std::nullopt;
  DateComponents secondAdjusted = second;
  if (secondFollowsFirst && first.year && first.month && second.month) {
    // The second month follows the first through the calendar: in the year
    // the first landed in, or the next one when it comes earlier in the year
    // ("december to february" spans the new year).
    auto asGiven = helper.date(first);
    int year = *first.year - (asGiven && *asGiven != *a ? 1 : 0);
    if (*second.month < *first.month) ++year;
    secondAdjusted.year = year;
  }
  auto b = helper.date(secondAdjusted);
  if (!b) return std::nullopt;
  return DateCommandWhen::range(std::min(*a, *b), std::max(*a, *b));
}

std::optional<DateCommandWhen> when(const std::string& name, const std::vector<std::any>& args,
                                    const DateHelper& h) {
  const auto i0 = intArg(args, 0), i1 = intArg(args, 1), i2 = intArg(args, 2), i3 = intArg(args, 3);

  if (name == "specificDateRange") return whenArg(args, 0);

  if (name == "thisTimeUnit") {
    auto unit = unitArg(args, 0);
    if (!unit || (*unit != CalendarComponent::year && *unit != CalendarComponent::month &&
                  *unit != CalendarComponent::weekOfYear))
      return std::nullopt;
    auto range = h.dateInterval(*unit, h.now());
    if (!range) return std::nullopt;
    return DateCommandWhen::range(range->first, range->second);
  }

  if (name == "lastTimeUnit") {
    auto unit = unitArg(args, 0);
    if (!unit) return std::nullopt;
    DateComponents now = h.nowComponents();
    switch (*unit) {
      case CalendarComponent::year:
        return twoDatesToDate(on(h, *now.year - 1, 1, 1), on(h, *now.year - 1, 12, 31), h);
      case CalendarComponent::month: {
        int month = *now.month - 1, year = *now.year;
        if (month < 1) month = 12, year -= 1;
        // Day 32 rolls over into the following month, a few days past its start.
        return twoDatesToDate(on(h, year, month, 1), on(h, year, month, 32), h);
      }
      case CalendarComponent::weekOfYear: {
        auto range = h.dateInterval(CalendarComponent::weekOfYear, h.now() - std::chrono::seconds(604800));
        if (!range) return std::nullopt;
        return DateCommandWhen::range(range->first, range->second);
      }
      default: return std::nullopt;
    }
  }

  if (name == "lastNDateUnit") {
    auto unit = unitArg(args, 1);
    if (!i0 || !unit) return std::nullopt;
    auto factor = timeUnitFactor(*unit);
    if (!factor) return std::nullopt;
    Date now = h.now();
    // Counted in seconds so that absurd counts stop at the ends of time.
    Date start = dateFromUnixSeconds(double(unixSeconds(now)) + double(*i0) * *factor);
    return DateCommandWhen::range(std::min(start, now), std::max(start, now));
  }

  if (name == "month") {
    if (!i0) return std::nullopt;
    return twoDatesToDate(on(h, {}, *i0, 1), on(h, {}, *i0 + 1, 1), h, true);
  }
  if (name == "monthYear") {
    if (!i0 || !i1) return std::nullopt;
    return twoDatesToDate(on(h, *i1, *i0, 1), on(h, *i1, *i0 + 1, 1), h);
  }
  if (name == "monthToMonth") {
    if (!i0 || !i1) return std::nullopt;
    return twoDatesToDate(on(h, {}, *i0, 1), on(h, {}, *i1 + 1, 1), h, true);
  }
  if (name == "monthYearToMonth") {
    if (!i0 || !i1 || !i2) return std::nullopt;
    return twoDatesToDate(on(h, *i1, *i0, 1), on(h, *i1, *i2 + 1, 1), h);
  }
  if (name == "monthToMonthYear") {
    if (!i0 || !i1 || !i2) return std::nullopt;
    return twoDatesToDate(on(h, *i2, *i0, 1), on(h, *i2, *i1 + 1, 1), h);
  }
  if (name == "monthYearToMonthYear") {
    if (!i0 || !i1 || !i2 || !i3) return std::nullopt;
    return twoDatesToDate(on(h, *i1, *i0, 1), on(h, *i3, *i2, 1), h);
  }
  if (name == "monthYearToYear") {
    if (!i0 || !i1 || !i2) return std::nullopt;
    return twoDatesToDate(on(h, *i1, *i0, 1), on(h, *i2, 1, 1), h);
  }
  if (name == "yearMonthToMonth") {
    if (!i0 || !i1 || !i2) return std::nullopt;
    return twoDatesToDate(on(h, *i0, *i1, 1), on(h, *i0, *i2 + 1, 1), h);
  }
  if (name == "monthDayToMonth") {
    if (!i0 || !i1 || !i2) return std::nullopt;
    return twoDatesToDate(on(h, {}, *i0, *i1), on(h, {}, *i2, 1), h, true);
  }
  if (name == "yearToYear") {
    if (!i0 || !i1) return std::nullopt;
    return twoDatesToDate(on(h, *i0, 1, 1), on(h, *i1, 12, 31), h);
  }
  if (name == "year") {
    if (!i0) return std::nullopt;
    return twoDatesToDate(on(h, *i0, 1, 1), on(h, *i0, 12, 31), h);
  }
  if (name == "afterDate") {
    auto day = dayStartingAt(whenArg(args, 0));
    if (!day) return std::nullopt;
    Date now = h.now();
    return DateCommandWhen::range(std::min(*day->specificDay, now), std::max(*day->specificDay, now));
  }
  if (name == "afterYear") {
    if (!i0) return std::nullopt;
    return untilNow(on(h, *i0, 1, 1), h);
  }
  if (name == "afterMonth") {
    if (!i0) return std::nullopt;
    return untilNow(on(h, {}, *i0, 1), h);
  }
  if (name == "beforeDate") {
    auto day = dayStartingAt(whenArg(args, 0));
    auto start = h.date(epochStart(h));
    if (!day || !start) return std::nullopt;
    return DateCommandWhen::range(std::min(*start, *day->specificDay), std::max(*start, *day->specificDay));
  }
  if (name == "beforeYear") {
    if (!i0) return std::nullopt;
    return twoDatesToDate(epochStart(h), on(h, *i0, 1, 1), h);
  }
  if (name == "beforeMonth") {
    if (!i0) return std::nullopt;
    return twoDatesToDate(epochStart(h), on(h, {}, *i0, 1), h);
  }
  if (name == "dayMonth") {
    if (!i0 || !i1) return std::nullopt;
    return twoDatesToDate(on(h, {}, *i1, *i0), on(h, {}, *i1, *i0 + 1), h, true);
  }
  return std::nullopt;
}

}  // namespace velmora::DateCommandCreators
