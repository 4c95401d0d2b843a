#include "common/TextCase.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace velmora {

namespace {
bool isASCII(std::string_view text) {
  for (unsigned char c : text)
    if (c >= 0x80) return false;
  return true;
}

std::string lowered(std::string_view text, const icu::Locale& locale) {
  icu::UnicodeString u = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  u.toLower(locale);
  std::string out;
  u.toUTF8String(out);
  return out;
}
}  // namespace

std::string TextCase::asciiLowercase(std::string_view text) {
  std::string out(text);
  for (char& c : out)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return out;
}

std::string TextCase::plainLowercase(std::string_view text) {
  return isASCII(text) ? asciiLowercase(text) : lowered(text, icu::Locale::getRoot());
}

std::string TextCase::localizedLowercase(std::string_view text) {
  // ASCII lowers alike in every locale but Turkish and Azeri ("I" to dotless i).
  const char* language = icu::Locale::getDefault().getLanguage();
  const bool dotlessI = std::string_view(language) == "tr" || std::string_view(language) == "az";
  return isASCII(text) && !dotlessI ? asciiLowercase(text) : lowered(text, icu::Locale::getDefault());
}

}  // namespace velmora
