#include "query/TextCharacters.h"

#include <unicode/brkiter.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>

namespace velmora {

std::vector<TextCharacter> textCharacters(std::string_view text) {
  std::vector<TextCharacter> out;
  out.reserve(text.size());
  bool simple = true;
  for (unsigned char c : text)
    if (c >= 0x80 || c == '\r') {
      simple = false;
      break;
    }
  if (simple) {
    for (std::size_t i = 0; i < text.size(); ++i) out.push_back({text.substr(i, 1), char32_t(text[i])});
    return out;
  }
  auto firstOf = [](std::string_view piece) {
    int32_t offset = 0;
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(piece.data()), offset, static_cast<int32_t>(piece.size()), c);
    return c < 0 ? char32_t(0xFFFD) : char32_t(c);
  };
  // Making a character iterator is costly; one per thread serves every query.
  thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::BreakIterator> it(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    return U_SUCCESS(status) ? std::move(it) : nullptr;
  }();
  UErrorCode status = U_ZERO_ERROR;
  UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
  if (iterator && U_SUCCESS(status)) {
    iterator->setText(utext, status);
    if (U_SUCCESS(status)) {
      int32_t start = iterator->first();
      for (int32_t end = iterator->next(); end != icu::BreakIterator::DONE; start = end, end = iterator->next()) {
        std::string_view piece = text.substr(start, end - start);
        out.push_back({piece, firstOf(piece)});
      }
      // The iterator must not keep pointing at this text.
      iterator->setText(icu::UnicodeString());
      utext_close(utext);
      return out;
    }
  }
  if (utext) utext_close(utext);
  out.clear();
  // Without the iterator, code points stand for characters.
  int32_t offset = 0, length = static_cast<int32_t>(text.size());
  while (offset < length) {
    int32_t start = offset;
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(text.data()), offset, length, c);
    out.push_back({text.substr(start, offset - start), c < 0 ? char32_t(0xFFFD) : char32_t(c)});
  }
  return out;
}

}  // namespace velmora
