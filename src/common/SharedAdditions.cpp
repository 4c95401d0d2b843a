#include "common/SharedAdditions.h"

#include <unicode/coll.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <array>
#include <memory>
#include <mutex>

#include "common/AppDirectories.h"
#include "common/LocalizedCollator.h"

namespace velmora {

namespace SharedAdditions {

std::string_view dropPrefix(std::string_view text, std::string_view prefix) {
  if (text.substr(0, prefix.size()) == prefix) text.remove_prefix(prefix.size());
  return text;
}

std::string_view dropSuffix(std::string_view text, std::string_view suffix) {
  if (text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix)
    text.remove_suffix(suffix.size());
  return text;
}

std::string displayName(const std::filesystem::path& path) {
  std::string text = path.string();
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  if (text == "/") return text;
  auto slash = text.rfind('/');
  // A name's bytes are kept for system calls; what is shown must be text.
  return repairedUTF8(slash == std::string::npos ? text : std::string_view(text).substr(slash + 1));
}

std::string displayPath(const std::filesystem::path& path) {
  std::string text = path.string();
  std::string home = AppDirectories::homeDirectory().string();
  while (home.size() > 1 && home.back() == '/') home.pop_back();
  if (home.size() > 1 && text.rfind(home, 0) == 0 &&
      (text.size() == home.size() || text[home.size()] == '/'))
    return "~" + repairedUTF8(std::string_view(text).substr(home.size()));
  return repairedUTF8(text);
}


int localizedStandardCompare(std::string_view a, std::string_view b) {
  icu::Collator* c = localizedCollatorForThisThread();
  if (!c) return a.compare(b) < 0 ? -1 : (a == b ? 0 : 1);
  UErrorCode status = U_ZERO_ERROR;
  UCollationResult r = c->compareUTF8(icu::StringPiece(a.data(), static_cast<int32_t>(a.size())),
                                      icu::StringPiece(b.data(), static_cast<int32_t>(b.size())), status);
  return r == UCOL_LESS ? -1 : (r == UCOL_EQUAL ? 0 : 1);
}

void localizedSort(std::vector<std::string>& texts) {
  std::stable_sort(texts.begin(), texts.end(), [](const std::string& a, const std::string& b) {
    return localizedStandardCompare(a, b) < 0;
  });
}

std::string strippingCharactersIn(std::string_view text, std::u32string_view characters) {
  std::string out;
  out.reserve(text.size());
  int32_t i = 0, length = static_cast<int32_t>(text.size());
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  while (i < length) {
    int32_t start = i;
    UChar32 c;
    U8_NEXT(bytes, i, length, c);
    if (c >= 0 && characters.find(static_cast<char32_t>(c)) != std::u32string_view::npos) continue;
    out.append(text.substr(start, i - start));
  }
  return out;
}

std::size_t indexAfterWrapping(std::size_t index, std::size_t count) {
  return (count == 0 || index + 1 >= count) ? 0 : index + 1;
}

std::string tupleOfInt8sToString(const char* bytes, std::size_t capacity) {
  return std::string(bytes, std::find(bytes, bytes + capacity, '\0'));
}

std::string hexString(const void* bytes, std::size_t length) {
  static constexpr char digits[] = "0123456789abcdef";
  std::string out(length * 2, '0');
  const auto* p = static_cast<const unsigned char*>(bytes);
  for (std::size_t i = 0; i < length; ++i) {
    out[2 * i] = digits[p[i] >> 4];
    out[2 * i + 1] = digits[p[i] & 0xF];
  }
  return out;
}

bool isValidUTF8(std::string_view text) {
  int32_t i = 0, length = static_cast<int32_t>(text.size());
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  while (i < length) {
    UChar32 c;
    U8_NEXT(bytes, i, length, c);
    if (c < 0) return false;
  }
  return true;
}

std::string repairedUTF8(std::string_view text) {
  if (isValidUTF8(text)) return std::string(text);
  std::string out;
  int32_t i = 0, length = static_cast<int32_t>(text.size());
  const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
  while (i < length) {
    int32_t start = i;
    UChar32 c;
    U8_NEXT(bytes, i, length, c);
    if (c < 0)
      out += "\xEF\xBF\xBD";
    else
      out.append(text.substr(start, i - start));
  }
  return out;
}

}  // namespace SharedAdditions

namespace {
constexpr std::uint64_t kPolynomial = 0x42F0E1EBA9EA3693ULL;

constexpr std::array<std::uint64_t, 256> makeTable() {
  std::array<std::uint64_t, 256> table{};
  for (std::uint64_t i = 0; i < 256; ++i) {
    std::uint64_t crc = i << 56;
    for (int bit = 0; bit < 8; ++bit)
      crc = (crc & 0x8000000000000000ULL) ? (crc << 1) ^ kPolynomial : crc << 1;
    table[i] = crc;
  }
  return table;
}
constexpr auto kTable = makeTable();
}  // namespace

std::uint64_t crc64_ecma182(std::uint64_t crc, const unsigned char* bytes, std::size_t length) {
  if (!bytes) return 0;
  for (std::size_t i = 0; i < length; ++i) crc = (crc << 8) ^ kTable[((crc >> 56) ^ bytes[i]) & 0xFF];
  return crc;
}

std::int64_t crc64(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  return static_cast<std::int64_t>(
      crc64_ecma182(0, reinterpret_cast<const unsigned char*>(text.data()), text.size()));
}

}  // namespace velmora
