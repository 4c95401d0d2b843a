#include "query/DateDetector.h"

#include <memory>

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

}  // namespace

std::vector<Date> DateDetector::simpleDatesInString(std::string_view text, const DateHelper& helper) {
  icu::Locale locale(helper.localeId().c_str());
  std::vector<std::unique_ptr<icu::DateFormat>> formats;
  formats.emplace_back(icu::DateFormat::createDateInstance(icu::DateFormat::kShort, locale));
  UErrorCode status = U_ZERO_ERROR;
  auto fixed = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString("YYYY-MM-dd"), locale, status);
  if (U_SUCCESS(status)) formats.push_back(std::move(fixed));

  std::vector<Date> dates;
  for (auto& format : formats) {
    if (!format) continue;
    format->adoptTimeZone(icu::TimeZone::createTimeZone(icu::UnicodeString::fromUTF8(helper.timeZoneId())));
    format->setLenient(false);
  }
  for (const icu::UnicodeString& token : tokens(icu::UnicodeString::fromUTF8(text))) {
    for (auto& format : formats) {
      if (!format) continue;
      icu::ParsePosition position(0);
      UDate ms = format->parse(token, position);
      if (position.getErrorIndex() >= 0 || position.getIndex() != token.length()) continue;
      dates.push_back(Date(std::chrono::duration_cast<Date::duration>(std::chrono::duration<double, std::milli>(ms))));
    }
  }
  return dates;
}

}  // namespace velmora
