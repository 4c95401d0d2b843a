#include "query/DateHelper.h"

#include <cmath>
#include <mutex>

#include <unicode/calendar.h>
#include <unicode/dtfmtsym.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

namespace velmora {

namespace {

UDate toUDate(Date date) {
  return std::chrono::duration<double, std::milli>(date.time_since_epoch()).count();
}

// Instants hold nanoseconds in 64 bits: roughly the years 1678 to 2261.
constexpr double kRepresentableMs = 9.2e12;

std::optional<Date> fromUDate(UDate ms) {
  if (!std::isfinite(ms) || ms > kRepresentableMs || ms < -kRepresentableMs) return std::nullopt;
  return Date(std::chrono::duration_cast<Date::duration>(std::chrono::duration<double, std::milli>(ms)));
}

std::string lowered(const icu::UnicodeString& text) {
  icu::UnicodeString copy(text);
  copy.toLower(icu::Locale::getRoot());
  std::string out;
  copy.toUTF8String(out);
  return out;
}

std::mutex sharedMutex;
std::shared_ptr<const DateHelper> sharedHelper;

}  // namespace

struct DateHelper::Impl {
  std::mutex mutex;
  std::unique_ptr<icu::Calendar> calendar;
};

std::int64_t unixSeconds(Date date) {
  return std::chrono::duration_cast<std::chrono::seconds>(date.time_since_epoch()).count();
}

Date dateFromUnixSeconds(double seconds) {
  // Out-of-range values (the distant past and future) stop at the ends.
  if (!(seconds > -kRepresentableMs / 1000)) return Date::min();
  if (seconds > kRepresentableMs / 1000) return Date::max();
  return Date(std::chrono::duration_cast<Date::duration>(std::chrono::duration<double>(seconds)));
}

DateHelper::DateHelper(std::string localeId, std::string timeZoneId, const Clock& clock)
    : impl_(std::make_unique<Impl>()), localeId_(std::move(localeId)), timeZoneId_(std::move(timeZoneId)), clock_(clock) {
  icu::Locale locale = localeId_.empty() ? icu::Locale::getDefault() : icu::Locale(localeId_.c_str());
  if (localeId_.empty()) localeId_ = locale.getName();
  icu::TimeZone* zone = nullptr;
  if (timeZoneId_.empty()) {
    zone = icu::TimeZone::createDefault();
    icu::UnicodeString id;
    zone->getID(id);
    id.toUTF8String(timeZoneId_);
  } else {
    zone = icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(timeZoneId_));
  }
  UErrorCode status = U_ZERO_ERROR;
  impl_->calendar.reset(icu::Calendar::createInstance(zone, locale, status));
  if (U_FAILURE(status) || !impl_->calendar) {
    status = U_ZERO_ERROR;
    impl_->calendar.reset(new icu::GregorianCalendar(status));
  }
  impl_->calendar->setLenient(true);

  status = U_ZERO_ERROR;
  icu::DateFormatSymbols symbols(locale, status);
  if (U_SUCCESS(status)) {
    int32_t count = 0;
    const icu::UnicodeString* months = symbols.getMonths(count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::WIDE);
    for (int32_t i = 0; i < count && i < 12; ++i) monthSymbols_.push_back(lowered(months[i]));
    months = symbols.getMonths(count, icu::DateFormatSymbols::FORMAT, icu::DateFormatSymbols::ABBREVIATED);
    for (int32_t i = 0; i < count && i < 12; ++i) shortMonthSymbols_.push_back(lowered(months[i]));
  }
}

DateHelper::~DateHelper() = default;

std::shared_ptr<const DateHelper> DateHelper::shared() {
  std::lock_guard guard(sharedMutex);
  if (!sharedHelper) sharedHelper = std::make_shared<DateHelper>("", "");
  return sharedHelper;
}

void DateHelper::setShared(std::shared_ptr<const DateHelper> helper) {
  std::lock_guard guard(sharedMutex);
  sharedHelper = std::move(helper);
}

std::optional<int> DateHelper::monthIndexFromWord(std::string_view word) const {
  for (std::size_t i = 0; i < monthSymbols_.size(); ++i)
    if (monthSymbols_[i] == word) return int(i);
  for (std::size_t i = 0; i < shortMonthSymbols_.size(); ++i)
    if (shortMonthSymbols_[i] == word) return int(i);
  return std::nullopt;
}

DateComponents DateHelper::components(Date date) const {
  std::lock_guard guard(impl_->mutex);
  icu::Calendar& cal = *impl_->calendar;
  UErrorCode status = U_ZERO_ERROR;
  cal.setTime(toUDate(date), status);
  DateComponents c;
  c.year = cal.get(UCAL_EXTENDED_YEAR, status);
  c.month = cal.get(UCAL_MONTH, status) + 1;
  c.day = cal.get(UCAL_DATE, status);
  c.hour = cal.get(UCAL_HOUR_OF_DAY, status);
  c.minute = cal.get(UCAL_MINUTE, status);
  c.second = cal.get(UCAL_SECOND, status);
  return c;
}

DateComponents DateHelper::nowComponents() const {
  DateComponents c = components(now());
  c.hour.reset();
  c.minute.reset();
  c.second.reset();
  return c;
}

std::optional<Date> DateHelper::date(const DateComponents& c) const {
  DateComponents today = nowComponents();
  std::lock_guard guard(impl_->mutex);
  icu::Calendar& cal = *impl_->calendar;
  cal.clear();
  cal.set(UCAL_EXTENDED_YEAR, c.year.value_or(*today.year));
  cal.set(UCAL_MONTH, c.month.value_or(*today.month) - 1);
  cal.set(UCAL_DATE, c.day.value_or(*today.day));
  cal.set(UCAL_HOUR_OF_DAY, c.hour.value_or(0));
  cal.set(UCAL_MINUTE, c.minute.value_or(0));
  cal.set(UCAL_SECOND, c.second.value_or(0));
  UErrorCode status = U_ZERO_ERROR;
  UDate ms = cal.getTime(status);
  if (U_FAILURE(status)) return std::nullopt;
  return fromUDate(ms);
}

std::optional<Date> DateHelper::toDateWithYearInPast(DateComponents c) const {
  auto made = date(c);
  if (!made) return std::nullopt;
  if (*made <= now()) return made;
  c.year = c.year.value_or(*nowComponents().year) - 1;
  return date(c);
}

Date DateHelper::startOfDay(Date d) const {
  DateComponents c = components(d);
  c.hour = c.minute = c.second = 0;
  return date(c).value_or(d);
}

Date DateHelper::addingDays(Date d, int days) const {
  DateComponents c = components(d);
  *c.day += days;
  c.hour = c.minute = c.second = 0;
  return date(c).value_or(d);
}

bool DateHelper::isSameDay(Date a, Date b) const {
  DateComponents x = components(a), y = components(b);
  return x.year == y.year && x.month == y.month && x.day == y.day;
}

std::optional<DateRange> DateHelper::dateInterval(CalendarComponent unit, Date d) const {
  std::lock_guard guard(impl_->mutex);
  icu::Calendar& cal = *impl_->calendar;
  UErrorCode status = U_ZERO_ERROR;
  cal.setTime(toUDate(d), status);
  cal.set(UCAL_HOUR_OF_DAY, 0);
  cal.set(UCAL_MINUTE, 0);
  cal.set(UCAL_SECOND, 0);
  cal.set(UCAL_MILLISECOND, 0);
  UCalendarDateFields step;
  switch (unit) {
    case CalendarComponent::year:
      cal.set(UCAL_MONTH, 0);
      cal.set(UCAL_DATE, 1);
      step = UCAL_YEAR;
      break;
    case CalendarComponent::month:
      cal.set(UCAL_DATE, 1);
      step = UCAL_MONTH;
      break;
    case CalendarComponent::weekOfYear: {
      int back = (cal.get(UCAL_DAY_OF_WEEK, status) - int(cal.getFirstDayOfWeek()) + 7) % 7;
      cal.add(UCAL_DATE, -back, status);
      step = UCAL_WEEK_OF_YEAR;
      break;
    }
    case CalendarComponent::day:
      step = UCAL_DATE;
      break;
    default:
      return std::nullopt;
  }
  auto start = fromUDate(cal.getTime(status));
  cal.add(step, 1, status);
  auto end = fromUDate(cal.getTime(status));
  if (U_FAILURE(status) || !start || !end) return std::nullopt;
  return DateRange{*start, *end};
}

}  // namespace velmora
