#include "query/Soundex.h"

#include <unicode/locid.h>
#include <unicode/unistr.h>

namespace velmora {

namespace {
char digitFor(UChar32 c) {
  switch (c) {
    case 'R': return '6';
    case 'M': case 'N': return '5';
    case 'L': return '4';
    case 'T': case 'D': return '3';
    case 'C': case 'S': case 'K': case 'G': case 'J': case 'Q': case 'X': case 'Z': return '2';
    case 'B': case 'P': case 'F': case 'V': return '1';
    default: return '0';
  }
}
bool isVowel(UChar32 c) { return c == 'A' || c == 'E' || c == 'I' || c == 'O' || c == 'U'; }
}  // namespace

std::string Soundex::value(std::string_view text) {
  std::size_t begin = text.find_first_not_of(" \t");
  if (begin == std::string_view::npos) return {};
  std::size_t end = text.find_last_not_of(" \t");
  text = text.substr(begin, end - begin + 1);
  icu::UnicodeString upper =
      icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  upper.toUpper(icu::Locale::getRoot());
  if (upper.countChar32() < 2) return {};

  std::string code;
  UChar32 first = upper.char32At(0);
  icu::UnicodeString(first).toUTF8String(code);
  int length = 1;  // in characters; the first may take several bytes
  char previous = '-';
  bool isFirst = true;
  for (int32_t i = 0; i < upper.length() && length < 4; i = upper.moveIndex32(i, 1)) {
    UChar32 c = upper.char32At(i);
    if (isVowel(c)) {
      previous = '-';
      isFirst = false;
      continue;
    }
    char digit = digitFor(c);
    if (!isFirst && digit != '0' && digit != previous) {
      code.push_back(digit);
      ++length;
    }
    // Letters without a digit (H, W, Y, signs) also part two equal digits,
    // so "Ashcraft" codes both its S and its C.
    previous = digit;
    isFirst = false;
  }
  for (; length < 4; ++length) code.push_back('0');
  return code;
}

}  // namespace velmora
