#include "textimport/WordSplitter.h"

#include <unicode/brkiter.h>
#include <unicode/uniset.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <cassert>

namespace velmora {

namespace {

// The classes of the platform's character sets, as UnicodeSet patterns:
// whitespacesAndNewlines, illegalCharacters, controlCharacters and the
// private use area split; punctuationCharacters and symbols trim.
constexpr const char16_t* splitPattern = u"[[\\p{Z}\\u0009-\\u000D\\u0085][\\p{Cn}][\\p{Cc}\\p{Cf}][\\uE000-\\uF8FF]]";
constexpr const char16_t* trimPattern = u"[[\\p{P}][\\p{S}]]";

std::unique_ptr<icu::UnicodeSet> frozenSet(const char16_t* pattern) {
  UErrorCode status = U_ZERO_ERROR;
  auto set = std::make_unique<icu::UnicodeSet>(icu::UnicodeString(pattern), status);
  assert(U_SUCCESS(status));
  set->freeze();
  return set;
}

std::unique_ptr<icu::BreakIterator> makeClusterIterator() {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::BreakIterator> made(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  if (U_FAILURE(status) || !made) std::abort();
  return made;
}

// Character break iterators are not thread-safe; each thread gets its own,
// one for the text's segments and one for the pieces ended inside them.
icu::BreakIterator& segmentIterator() {
  thread_local std::unique_ptr<icu::BreakIterator> iterator = makeClusterIterator();
  return *iterator;
}
icu::BreakIterator& pieceIterator() {
  thread_local std::unique_ptr<icu::BreakIterator> iterator = makeClusterIterator();
  return *iterator;
}

bool clusterInSet(const icu::UnicodeString& text, int32_t from, int32_t to, const icu::UnicodeSet& set) {
  for (int32_t i = from; i < to;) {
    UChar32 c = text.char32At(i);
    if (!set.contains(c)) return false;
    i += U16_LENGTH(c);
  }
  return true;
}

inline bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

}  // namespace

WordSplitter::WordSplitter() : split_(frozenSet(splitPattern)), trim_(frozenSet(trimPattern)) {
  for (int c = 0; c < 128; ++c) {
    asciiSplit_[c] = split_->contains(c);
    asciiTrim_[c] = trim_->contains(c);
  }
}

WordSplitter::~WordSplitter() = default;

const WordSplitter& WordSplitter::shared() {
  static const WordSplitter splitter;
  return splitter;
}

std::vector<std::string> WordSplitter::words(std::string_view text) const {
  std::vector<std::string> out;
  forEachWord(text, [&](std::string_view w) { out.emplace_back(w); });
  return out;
}

void WordSplitter::slowPiece(std::string_view piece, std::string& scratch,
                             const std::function<void(std::string_view)>& word) const {
  icu::UnicodeString text = icu::UnicodeString::fromUTF8(icu::StringPiece(piece.data(), static_cast<int32_t>(piece.size())));
  // Full lowercase mapping without a locale's special rules.
  text.toLower(icu::Locale::getRoot());
  icu::BreakIterator& clusters = pieceIterator();
  clusters.setText(text);
  thread_local std::vector<int32_t> bounds;
  bounds.clear();
  for (int32_t b = clusters.first(); b != icu::BreakIterator::DONE; b = clusters.next()) bounds.push_back(b);
  if (bounds.size() < 2) return;
  std::size_t first = 0, last = bounds.size() - 1;  // clusters [first, last)
  while (first < last && clusterInSet(text, bounds[first], bounds[first + 1], *trim_)) ++first;
  while (last > first && clusterInSet(text, bounds[last - 1], bounds[last], *trim_)) --last;
  const std::size_t count = last - first;
  if (count == 0 || count > maximumWordClusters) return;
  scratch.clear();
  text.tempSubStringBetween(bounds[first], bounds[last]).toUTF8String(scratch);
  word(scratch);
}

void WordSplitter::forEachWord(std::string_view text, const std::function<void(std::string_view)>& word) const {
  constexpr std::size_t none = std::string_view::npos;
  const std::size_t n = text.size();
  std::size_t pieceStart = none;
  bool pieceAscii = true;
  std::string scratch;

  auto endPiece = [&](std::size_t end) {
    if (pieceStart == none) return;
    std::size_t a = pieceStart, b = end;
    pieceStart = none;
    if (!pieceAscii) {
      slowPiece(text.substr(a, b - a), scratch, word);
      return;
    }
    while (a < b && asciiTrim_[static_cast<unsigned char>(text[a])]) ++a;
    while (b > a && asciiTrim_[static_cast<unsigned char>(text[b - 1])]) --b;
    if (a == b || b - a > maximumWordClusters) return;
    scratch.resize(b - a);
    for (std::size_t i = a; i < b; ++i) {
      char c = text[i];
      scratch[i - a] = (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
    }
    word(scratch);
  };
  auto joinPiece = [&](std::size_t at, bool ascii) {
    if (pieceStart == none) {
      pieceStart = at;
      pieceAscii = true;
    }
    if (!ascii) pieceAscii = false;
  };

  std::vector<char16_t> units;
  std::vector<uint32_t> byteOffsets;  // byte offset within the segment of each UTF-16 unit
  std::size_t p = 0;
  while (p < n) {
    // An ASCII byte followed by ASCII (or the end) is a cluster of its own:
    // no rule of UAX #29 joins two ASCII characters but CR LF.
    if (isAscii(text[p]) && (p + 1 == n || isAscii(text[p + 1]))) {
      if (asciiSplit_[static_cast<unsigned char>(text[p])])
        endPiece(p);
      else
        joinPiece(p, true);
      ++p;
      continue;
    }
    // Everything else up to the next ASCII pair goes through the cluster
    // iterator, with the ASCII neighbours that may join a cluster.
    const std::size_t s = p;
    std::size_t j = p + 1;
    while (j < n && !(isAscii(text[j]) && (j + 1 == n || isAscii(text[j + 1])))) ++j;
    const std::size_t e = j < n ? j + 1 : n;

    units.clear();
    byteOffsets.clear();
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data() + s);
    const int32_t length = static_cast<int32_t>(e - s);
    for (int32_t i = 0; i < length;) {
      const int32_t at = i;
      UChar32 c;
      U8_NEXT(bytes, i, length, c);
      if (c < 0) c = 0xFFFD;
      if (c <= 0xFFFF) {
        units.push_back(static_cast<char16_t>(c));
        byteOffsets.push_back(static_cast<uint32_t>(at));
      } else {
        units.push_back(static_cast<char16_t>(U16_LEAD(c)));
        units.push_back(static_cast<char16_t>(U16_TRAIL(c)));
        byteOffsets.push_back(static_cast<uint32_t>(at));
        byteOffsets.push_back(static_cast<uint32_t>(at));
      }
    }
    byteOffsets.push_back(static_cast<uint32_t>(length));
    icu::UnicodeString segment(false, reinterpret_cast<const UChar*>(units.data()), static_cast<int32_t>(units.size()));
    icu::BreakIterator& clusters = segmentIterator();
    clusters.setText(segment);
    int32_t from = clusters.first();
    for (int32_t to = clusters.next(); to != icu::BreakIterator::DONE; from = to, to = clusters.next()) {
      const std::size_t byteFrom = s + byteOffsets[from], byteTo = s + byteOffsets[to];
      const bool ascii = byteTo - byteFrom == 1 && isAscii(text[byteFrom]);
      const bool splits = ascii ? asciiSplit_[static_cast<unsigned char>(text[byteFrom])]
                                : clusterInSet(segment, from, to, *split_);
      if (splits)
        endPiece(byteFrom);
      else
        joinPiece(byteFrom, ascii);
    }
    p = e;
  }
  endPiece(n);
}

}  // namespace velmora
