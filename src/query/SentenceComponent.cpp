#include "query/SentenceComponent.h"

#include "query/TextCharacters.h"
#include "common/TextCase.h"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>
#include <unicode/utf8.h>

#include <memory>
#include <unordered_set>

namespace velmora {

namespace {

bool isWhitespaceOrNewline(char32_t c) {
  if (c >= 0x09 && c <= 0x0D) return true;
  if (c == 0x85) return true;
  if (c < 0x80) return c == ' ';
  int8_t type = u_charType(static_cast<UChar32>(c));
  return type == U_SPACE_SEPARATOR || type == U_LINE_SEPARATOR || type == U_PARAGRAPH_SEPARATOR;
}

}  // namespace

std::vector<SentenceComponent> SentenceComponent::parseWords(std::string_view text, const SentenceComponent* parent) {
  std::vector<SentenceComponent> words;
  std::vector<TextCharacter> chars = textCharacters(text);

  std::string word;
  int wordStart = 0;
  bool emptyWord = true;
  bool inQuotes = false;
  bool wordWasQuoted = false;
  bool afterColon = false;
  Wildcard wildcard = Wildcard::none;

  auto emit = [&](int end, bool quoted, Wildcard kind) {
    if (emptyWord) return;
    SentenceComponent c;
    c.textLowered = TextCase::plainLowercase(word);
    c.textOriginalCase = word;
    c.position = {wordStart, end};
    c.isAfterAColon = afterColon;
    c.wasInQuotes = quoted;
    if (parent) c.parent.push_back(*parent);
    c.wildcard = kind;
    words.push_back(std::move(c));
  };
  auto resetWord = [&] {
    word.clear();
    wordStart = 0;
    emptyWord = true;
    wildcard = Wildcard::none;
    wordWasQuoted = false;
  };

  const int count = static_cast<int>(chars.size());
  for (int i = 0; i < count; ++i) {
    const TextCharacter& ch = chars[i];
    if (isWhitespaceOrNewline(ch.first)) {
      if (inQuotes) {
        word.append(ch.text);
      } else {
        emit(i, wordWasQuoted, wildcard);
        resetWord();
      }
    } else if (ch.text == "\\" && i + 1 < count && chars[i + 1].text == "\"") {
      // An escaped quote is text, but on its own it does not start a word.
      word.push_back('"');
      ++i;
    } else if (ch.text == "\"") {
      if (!inQuotes) {
        inQuotes = true;
        wordWasQuoted = true;
      } else {
        emit(i, true, wildcard);
        resetWord();
        inQuotes = false;
      }
    } else if (ch.text == "*" && !inQuotes) {
      if (emptyWord) {
        wildcard = Wildcard::suffix;
      } else {
        emit(i, wordWasQuoted, Wildcard::prefix);
        resetWord();
      }
    } else if (ch.text == ":") {
      afterColon = true;
      if (inQuotes) word.push_back(':');
    } else {
      if (emptyWord) wordStart = i;
      word.append(ch.text);
      emptyWord = false;
    }
  }
  emit(count, inQuotes || wordWasQuoted, wildcard);
  return words;
}

std::string_view toString(SentenceComponent::Wildcard wildcard) {
  switch (wildcard) {
    case SentenceComponent::Wildcard::none: return "none";
    case SentenceComponent::Wildcard::prefix: return "prefix";
    case SentenceComponent::Wildcard::suffix: return "suffix";
  }
  return {};
}

std::size_t SentenceComponentHash::operator()(const SentenceComponent& c) const {
  std::size_t h = std::hash<std::string>()(c.textLowered);
  h ^= std::hash<int>()(c.position.lowerBound) + 0x9e3779b97f4a7c15ull + (h << 6) + (h >> 2);
  h ^= std::hash<int>()(c.position.upperBound) + 0x9e3779b97f4a7c15ull + (h << 6) + (h >> 2);
  return h;
}

std::vector<TextRangeOfParts> partLocationsToRanges(const std::vector<SentenceComponent>& parts) {
  std::vector<TextRangeOfParts> ranges;
  ranges.reserve(parts.size());
  for (const auto& p : parts)
    ranges.push_back({p.position.lowerBound, p.position.upperBound - p.position.lowerBound});
  return ranges;
}

std::vector<SentenceComponent> expandedQuotedItems(const std::vector<SentenceComponent>& parts) {
  std::vector<SentenceComponent> out;
  for (const auto& p : parts) {
    auto pieces = SentenceComponent::parseWords(p.textOriginalCase, &p);
    out.insert(out.end(), std::make_move_iterator(pieces.begin()), std::make_move_iterator(pieces.end()));
  }
  return out;
}

SentenceCompareResult compare(const std::vector<SentenceComponent>& parts, const std::vector<SentenceComponent>& other) {
  auto mine = expandedQuotedItems(parts);
  auto theirs = expandedQuotedItems(other);
  std::size_t matched = 0;
  while (matched < mine.size() && matched < theirs.size() && mine[matched].textLowered == theirs[matched].textLowered)
    ++matched;
  if (matched < theirs.size()) return {0, true};
  std::unordered_set<SentenceComponent> parents;
  for (std::size_t i = 0; i < theirs.size(); ++i)
    if (!mine[i].parent.empty()) parents.insert(mine[i].parent.front());
  return {static_cast<int>(parents.size()), false};
}

bool containsComponent(const std::vector<SentenceComponent>& list, const SentenceComponent& c) {
  for (const auto& item : list)
    if (item == c) return true;
  return false;
}

}  // namespace velmora
