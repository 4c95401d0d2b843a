#include "query/commands/SpelledNumber.h"

#include <charconv>
#include <cmath>
#include <memory>
#include <mutex>
#include <string>

#include <unicode/fmtable.h>
#include <unicode/locid.h>
#include <unicode/rbnf.h>
#include <unicode/unistr.h>

namespace velmora {

namespace {

struct SpellOut {
  std::mutex mutex;
  std::string localeName;
  std::unique_ptr<icu::RuleBasedNumberFormat> format;
};

SpellOut& spellOut() {
  static SpellOut instance;
  return instance;
}

}  // namespace

std::optional<double> SpelledNumber::parse(std::string_view text) {
  if (text.empty() || text.size() > 200) return std::nullopt;
  SpellOut& s = spellOut();
  std::lock_guard guard(s.mutex);
  const icu::Locale& locale = icu::Locale::getDefault();
  if (!s.format || s.localeName != locale.getName()) {
    UErrorCode status = U_ZERO_ERROR;
    s.format = std::make_unique<icu::RuleBasedNumberFormat>(icu::URBNF_SPELLOUT, locale, status);
    if (U_FAILURE(status)) {
      s.format.reset();
      return std::nullopt;
    }
    // Strict parsing reads "twenty one" as 2001; lenient parsing gets 21.
    s.format->setLenient(true);
    s.localeName = locale.getName();
  }
  icu::UnicodeString input = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size())));
  icu::Formattable result;
  icu::ParsePosition position(0);
  s.format->parse(input, result, position);
  if (position.getIndex() != input.length() || position.getErrorIndex() >= 0) return std::nullopt;
  UErrorCode status = U_ZERO_ERROR;
  double value = result.getDouble(status);
  if (U_FAILURE(status) || !std::isfinite(value)) return std::nullopt;
  return value;
}

std::optional<long long> SpelledNumber::parseInteger(std::string_view text) {
  std::string_view digits = text;
  if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
  long long value = 0;
  if (!digits.empty() && digits.front() != '+') {
    auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    if (error == std::errc() && end == digits.data() + digits.size()) return value;
  }
  auto spelled = parse(text);
  if (!spelled || std::trunc(*spelled) != *spelled || std::fabs(*spelled) > 9.0e15) return std::nullopt;
  return static_cast<long long>(*spelled);
}

}  // namespace velmora
