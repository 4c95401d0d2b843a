#include "textimport/PlainTextImporter.h"

#include <unicode/utf8.h>

#include <fmt/format.h>

#include "common/Logger.h"

namespace velmora {

namespace {

constexpr char16_t macRomanHigh[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4, 0x00E3, 0x00E5,
    0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF, 0x00F1, 0x00F3, 0x00F2, 0x00F4,
    0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020, 0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6,
    0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4, 0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265,
    0x00A5, 0x00B5, 0x2202, 0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF,
    0x00A1, 0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3, 0x00D5,
    0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA, 0x00FF, 0x0178, 0x2044,
    0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A, 0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1,
    0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC, 0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9,
    0x0131, 0x02C6, 0x02DC, 0x00AF, 0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7};

ImportTextTools::ImportTextResult onePage(std::string text) {
  ImportTextTools::ImportTextResult result;
  result.text = std::vector<ImportTextTools::Page>{{std::move(text)}};
  return result;
}

}  // namespace

bool PlainTextImporter::isValidUTF8(std::string_view bytes) {
  const auto* s = reinterpret_cast<const uint8_t*>(bytes.data());
  const int64_t n = static_cast<int64_t>(bytes.size());
  int64_t i = 0;
  while (i < n) {
    // Eight ASCII bytes at a time: most text is mostly ASCII.
    while (i + 8 <= n) {
      uint64_t word;
      __builtin_memcpy(&word, s + i, 8);
      if (word & 0x8080808080808080ull) break;
      i += 8;
    }
    if (i >= n) break;
    if (s[i] < 0x80) {
      ++i;
      continue;
    }
    int32_t at = 0;
    const int32_t length = static_cast<int32_t>(std::min<int64_t>(n - i, 4));
    UChar32 c;
    U8_NEXT(s + i, at, length, c);
    if (c < 0) return false;
    i += at;
  }
  return true;
}

std::string PlainTextImporter::macRomanToUTF8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() + bytes.size() / 8);
  for (char ch : bytes) {
    const auto b = static_cast<unsigned char>(ch);
    if (b < 0x80) {
      out.push_back(ch);
      continue;
    }
    const char16_t c = macRomanHigh[b - 0x80];
    if (c < 0x800) {
      out.push_back(static_cast<char>(0xC0 | (c >> 6)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    } else {
      out.push_back(static_cast<char>(0xE0 | (c >> 12)));
      out.push_back(static_cast<char>(0x80 | ((c >> 6) & 0x3F)));
      out.push_back(static_cast<char>(0x80 | (c & 0x3F)));
    }
  }
  return out;
}

std::optional<ImportTextTools::ImportTextResult> PlainTextImporter::importRawText(
    const ImportFile& file, std::size_t, bool, const ImportTextTools::ProgressHandler&,
    const ImportTextTools::ShouldCancel&, std::string& failure) {
  std::string bytes;
  if (!file.readAll(bytes, failure)) {
    VLOG("importRawText fail:  {}: {}", file.path, failure);
    return std::nullopt;
  }
  if (isValidUTF8(bytes)) return onePage(std::move(bytes));
  // Mac OS Roman maps every byte, so the ASCII reading after it is never reached.
  return onePage(macRomanToUTF8(bytes));
}

std::optional<ImportTextTools::ImportTextResult> PlainTextImporter::importUTF8(const ImportFile& file,
                                                                               std::string& failure) {
  std::string bytes;
  if (!file.readAll(bytes, failure)) return std::nullopt;
  if (!isValidUTF8(bytes)) {
    failure = "not valid UTF-8 text";
    return std::nullopt;
  }
  return onePage(std::move(bytes));
}

}  // namespace velmora
