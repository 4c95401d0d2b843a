#include "query/DateDetector.h"

#include <cmath>
#include <memory>
#include <mutex>
#include <string>

#include <unicode/datefmt.h>
#include <unicode/locid.h>
#include <unicode/smpdtfmt.h>
#include <unicode/timezone.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>

namespace velmora {

namespace {

// Words are cut at blanks and at punctuation other than what dates are
// written with.
bool isSeparator(UChar32 c) {
  if (c == '/' || c == '-' || c == '.') return false;
  return u_isUWhiteSpace(c) || u_ispunct(c);
}

std::vector<icu::UnicodeString> tokens(const icu::UnicodeString& text) {
  std::vector<icu::UnicodeString> out;
  icu::UnicodeString current;
  for (int32_t i = 0; i < text.length();) {
    UChar32 c = text.char32At(i);
    i += U16_LENGTH(c);
    if (isSeparator(c)) {
      if (!current.isEmpty()) out.push_back(current);
      current.remove();
    } else {
      current.append(c);
    }
  }
  if (!current.isEmpty()) out.push_back(current);
  return out;
}

// Making the two formatters costs far more than parsing with them, so they
// are kept for the last locale and zone asked for.
struct Formats {
  std::string key;
  std::vector<std::unique_ptr<icu::DateFormat>> formats;
};

Formats& formatsFor(const DateHelper& helper) {
  static Formats cached;
  const std::string key = helper.localeId() + "|" + helper.timeZoneId();
  if (cached.key == key && !cached.formats.empty()) return cached;
  cached.formats.clear();
  icu::Locale locale(helper.localeId().c_str());
  cached.formats.emplace_back(icu::DateFormat::createDateInstance(icu::DateFormat::kShort, locale));
  UErrorCode status = U_ZERO_ERROR;
  auto fixed = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString("YYYY-MM-dd"), locale, status);
  if (U_SUCCESS(status)) cached.formats.push_back(std::move(fixed));
  for (auto& format : cached.formats) {
    if (!format) continue;
    format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(helper.timeZoneId())));
    format->setLenient(false);
  }
  cached.key = key;
  return cached;
}

}  // namespace

std::vector<Date> DateDetector::simpleDatesInString(std::string_view text, const DateHelper& helper) {
  std::vector<Date> dates;
  // Both forms hold digits; a text without any holds no date.
  if (text.find_first_of("0123456789") == std::string_view::npos) return dates;
  static std::mutex mutex;
  std::lock_guard guard(mutex);
  auto& formats = formatsFor(helper).formats;
  for (const icu::UnicodeString& token : tokens(icu::UnicodeString::fromUTF8(text))) {
    for (auto& format : formats) {
      if (!format) continue;
      icu::ParsePosition position(0);
      UDate ms = format->parse(token, position);
      if (position.getErrorIndex() >= 0 || position.getIndex() != token.length()) continue;
      // Dates beyond what an instant holds are no dates here.
      if (!std::isfinite(ms) || ms > 9.2e12 || ms < -9.2e12) continue;
      dates.push_back(Date(std::chrono::duration_cast<Date::duration>(std::chrono::duration<double, std::milli>(ms))));
    }
  }
  return dates;
}

}  // namespace velmora
