#include "query/commands/SpelledNumber.h"

#include <charconv>
#include <cmath>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

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
  // Every word the rules write for numbers. A failed parse costs the
  // lenient parser milliseconds, so text with any other word is turned
  // away before it gets there.
  std::set<std::string> vocabulary;
};

std::vector<std::string> numberWords(std::string_view text) {
  std::vector<std::string> words;
  std::string current;
  for (char c : text) {
    if (c == ' ' || c == '-' || c == ',') {
      if (!current.empty()) words.push_back(current);
      current.clear();
    } else {
      current += c;
    }
  }
  if (!current.empty()) words.push_back(current);
  return words;
}

void buildVocabulary(SpellOut& s) {
  s.vocabulary.clear();
  auto add = [&](double value) {
    icu::UnicodeString text;
    s.format->format(value, text);
    text.toLower(icu::Locale::getRoot());
    std::string utf8;
    text.toUTF8String(utf8);
    for (auto& word : numberWords(utf8)) s.vocabulary.insert(word);
  };
  for (int i = 0; i < 200; ++i) add(i);
  for (double big : {1e3, 1e4, 1e5, 1e6, 1e9, 1e12, 1e15, 2.5, -1.0}) add(big);
}

SpellOut& spellOut() {
  static SpellOut instance;
  return instance;
}

}  // namespace

std::optional<double> SpelledNumber::parse(std::string_view text) {
  if (text.empty() || text.size() > 200) return std::nullopt;
  if (auto plain = parseDecimal(text)) return plain;
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
    buildVocabulary(s);
  }
  std::string lowered;
  icu::UnicodeString(icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), int32_t(text.size()))))
      .toLower(icu::Locale::getRoot())
      .toUTF8String(lowered);
  const std::vector<std::string> words = numberWords(lowered);
  if (words.empty()) return std::nullopt;
  for (const std::string& word : words)
    if (!s.vocabulary.count(word)) return std::nullopt;
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

std::optional<double> SpelledNumber::parseDecimal(std::string_view text) {
  std::string_view digits = text;
  if (!digits.empty() && digits.front() == '+') digits.remove_prefix(1);
  if (digits.empty() || digits.front() == '+' || (text.front() == '+' && digits.front() == '-')) return std::nullopt;
  double value = 0;
  auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
  if (error != std::errc() || end != digits.data() + digits.size() || !std::isfinite(value)) return std::nullopt;
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
