#pragma once
#include <string>
#include <string_view>

namespace velmora {

// The Soundex code of a word ("Robert" and "Rupert" are both "R163"), for
// matching names by how they sound. Words shorter than two characters have
// no code (the empty text), so they never match.
namespace Soundex {
std::string value(std::string_view text);
}

}  // namespace velmora
