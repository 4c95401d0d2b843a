#pragma once
#include <optional>
#include <string_view>

namespace velmora {

// Numbers written as words in the user's language ("five", "twenty one"),
// read with ICU's spell-out rules. The whole text must be a number.
class SpelledNumber {
 public:
  // Digits first ("5", "2.5", "-3"), then words.
  static std::optional<double> parse(std::string_view text);
  // Digits only: an optional sign, digits and a decimal point.
  static std::optional<double> parseDecimal(std::string_view text);
  // Digits with an optional sign first ("-3", "+12"), then spelled words.
  static std::optional<long long> parseInteger(std::string_view text);
};

}  // namespace velmora
