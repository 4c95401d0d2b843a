#include "query/QWCDateFormatter.h"

#include <mutex>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>

namespace velmora {

namespace {
icu::DateFormat::EStyle icuStyle(QWCDateFormatter::Style style) {
  switch (style) {
    case QWCDateFormatter::Style::none: return icu::DateFormat::kNone;
    case QWCDateFormatter::Style::shortStyle: return icu::DateFormat::kShort;
    case QWCDateFormatter::Style::mediumStyle: return icu::DateFormat::kMedium;
    case QWCDateFormatter::Style::longStyle: return icu::DateFormat::kLong;
    case QWCDateFormatter::Style::fullStyle: return icu::DateFormat::kFull;
  }
  return icu::DateFormat::kNone;
}

std::unique_ptr<icu::DateFormat> makeFormat(QWCDateFormatter::Style dateStyle, QWCDateFormatter::Style timeStyle,
                                            const DateHelper& helper) {
  icu::Locale locale(helper.localeId().c_str());
  std::unique_ptr<icu::DateFormat> format(
      icu::DateFormat::createDateTimeInstance(icuStyle(dateStyle), icuStyle(timeStyle), locale));
  if (format) format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(helper.timeZoneId())));
  return format;
}

std::string format(icu::DateFormat* format, Date date) {
  if (!format) return {};
  icu::UnicodeString out;
  format->format(std::chrono::duration<double, std::milli>(date.time_since_epoch()).count(), out);
  std::string text;
  out.toUTF8String(text);
  return text;
}
}  // namespace

struct QWCDateFormatter::Impl {
  std::mutex mutex;
  std::unique_ptr<icu::DateFormat> full;
  std::unique_ptr<icu::DateFormat> timeOnly;
};

QWCDateFormatter::QWCDateFormatter(Style dateStyle, Style timeStyle, const DateHelper& helper)
    : impl_(std::make_unique<Impl>()), timeStyle_(timeStyle), helper_(helper) {
  impl_->full = makeFormat(dateStyle, timeStyle, helper);
  if (timeStyle != Style::none) impl_->timeOnly = makeFormat(Style::none, timeStyle, helper);
}

QWCDateFormatter::~QWCDateFormatter() = default;

std::string QWCDateFormatter::formatPlain(Date date) const {
  std::lock_guard guard(impl_->mutex);
  return format(impl_->full.get(), date);
}

std::string QWCDateFormatter::dateToString(Date date) const {
  Date now = helper_.now();
  std::string day;
  if (helper_.isSameDay(date, now)) {
    day = "Today";
  } else if (helper_.isSameDay(date, helper_.addingDays(now, -1))) {
    day = "Yesterday";
  } else if (helper_.isSameDay(date, helper_.addingDays(now, 1))) {
    day = "Tomorrow";
  } else {
    return formatPlain(date);
  }
  if (timeStyle_ == Style::none) return day;
  std::lock_guard guard(impl_->mutex);
  return day + " at " + format(impl_->timeOnly.get(), date);
}

}  // namespace velmora
