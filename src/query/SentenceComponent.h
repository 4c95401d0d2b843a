#pragma once
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// A span of the parsed text, counted in characters (grapheme clusters):
// [lowerBound, upperBound).
struct TextPosition {
  int lowerBound = 0;
  int upperBound = 0;
  bool operator==(const TextPosition&) const = default;
};

// One word of a query or of a sentence template. A value.
struct SentenceComponent {
  enum class Wildcard { none = 0, prefix = 1, suffix = 2 };

  std::string textLowered;
  std::string textOriginalCase;
  TextPosition position;
  // A colon occurred at or before the end of this word.
  bool isAfterAColon = false;
  bool wasInQuotes = false;
  // Empty, or the one quoted word this word was split from.
  std::vector<SentenceComponent> parent;
  Wildcard wildcard = Wildcard::none;

  // The same word in the same place: text (lowered) and position only, so a
  // word typed twice counts twice.
  bool operator==(const SentenceComponent& other) const {
    return position == other.position && textLowered == other.textLowered;
  }

  // Splits text into words: blanks separate, double quotes group (with \"
  // for a literal quote), a leading or trailing "*" marks a wildcard, and a
  // colon starts the command area (it belongs to the word it touches).
  static std::vector<SentenceComponent> parseWords(std::string_view text,
                                                   const SentenceComponent* parent = nullptr);
};

std::string_view toString(SentenceComponent::Wildcard wildcard);

struct SentenceComponentHash {
  std::size_t operator()(const SentenceComponent& c) const;
};

// Location and length of each component's position.
struct TextRangeOfParts {
  int location = 0;
  int length = 0;
};
std::vector<TextRangeOfParts> partLocationsToRanges(const std::vector<SentenceComponent>& parts);

// Each word's original text tokenised again with the word as its parent, so
// that a template phrase can meet text that was typed in quotes.
std::vector<SentenceComponent> expandedQuotedItems(const std::vector<SentenceComponent>& parts);

// How far `parts` matches `other`, word by word on the lowered text of the
// expanded forms. `count`: distinct parents among the first other.size()
// words of parts; `fewerWordsMatched`: the match stopped short, and then
// count is 0.
struct SentenceCompareResult {
  int count = 0;
  bool fewerWordsMatched = false;
};
SentenceCompareResult compare(const std::vector<SentenceComponent>& parts,
                              const std::vector<SentenceComponent>& other);


// Whether a component equal to `c` is in `list`.
bool containsComponent(const std::vector<SentenceComponent>& list, const SentenceComponent& c);

}  // namespace velmora

template <>
struct std::hash<velmora::SentenceComponent> : velmora::SentenceComponentHash {};
