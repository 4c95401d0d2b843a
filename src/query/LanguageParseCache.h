#pragma once
#include <cstdint>
#include <span>
#include <vector>

#include "query/SentenceTemplate.h"

namespace velmora {

// The sentence templates of the language, read once from the embedded
// resource. A resource that is missing or cannot be decoded leaves the list
// empty: queries then still work by their words, with no commands.
class LanguageParseCache {
 public:
  static const LanguageParseCache& shared();

  // From scrambled resource bytes, as embedded in the program.
  static LanguageParseCache fromScrambledBytes(std::span<const std::uint8_t> bytes);
  // From plain template text, one template per line.
  static LanguageParseCache fromText(std::string_view text);

  const std::vector<SentenceTemplate>& templates() const { return templates_; }

 private:
  std::vector<SentenceTemplate> templates_;
};

}  // namespace velmora
