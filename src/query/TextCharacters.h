#pragma once
#include <string_view>
#include <vector>

namespace velmora {

// One user-perceived character (grapheme cluster) of a UTF-8 text, and its
// first code point; positions in queries count these.
struct TextCharacter {
  std::string_view text;
  char32_t first = 0;
};

// The characters of text, in order; views into text.
std::vector<TextCharacter> textCharacters(std::string_view text);

}  // namespace velmora
