#include "query/NameMatching.h"

#include <unicode/uchar.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <vector>

#include "query/SentenceComponent.h"

namespace velmora {

std::string_view NameMatching::lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  if (path == "/") return path;
  auto slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view NameMatching::deletingLastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  if (slash == 0) return path.substr(0, 1);
  return path.substr(0, slash);
}

std::string_view NameMatching::pathExtension(std::string_view path) {
  std::string_view name = lastPathComponent(path);
  auto dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return {};
  return name.substr(dot + 1);
}

std::string NameMatching::localizedLowercase(std::string_view text) {
  bool ascii = true;
  for (unsigned char c : text)
    if (c >= 0x80) {
      ascii = false;
      break;
    }
  if (ascii) return plainLowercase(text);
  icu::UnicodeString u =
      icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  u.toLower(icu::Locale::getDefault());
  std::string out;
  u.toUTF8String(out);
  return out;
}

namespace {
struct Folded {
  std::vector<UChar32> points;
  std::vector<std::size_t> offsets;  // byte offset of each point
};
Folded fold(std::string_view text) {
  Folded f;
  int32_t offset = 0, length = static_cast<int32_t>(text.size());
  while (offset < length) {
    f.offsets.push_back(static_cast<std::size_t>(offset));
    UChar32 c = 0;
    U8_NEXT(reinterpret_cast<const uint8_t*>(text.data()), offset, length, c);
    f.points.push_back(c < 0 ? 0xFFFD : u_foldCase(c, U_FOLD_CASE_DEFAULT));
  }
  return f;
}
}  // namespace

std::size_t NameMatching::findCaseInsensitive(std::string_view haystack, std::string_view needle, std::size_t from) {
  if (needle.empty() || from > haystack.size()) return std::string_view::npos;
  Folded h = fold(haystack), n = fold(needle);
  for (std::size_t i = 0; i + n.points.size() <= h.points.size(); ++i) {
    if (h.offsets[i] < from) continue;
    bool same = true;
    for (std::size_t j = 0; j < n.points.size() && same; ++j) same = h.points[i + j] == n.points[j];
    if (same) return h.offsets[i];
  }
  return std::string_view::npos;
}

}  // namespace velmora
