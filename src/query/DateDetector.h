#pragma once
#include <string_view>
#include <vector>

#include "query/DateHelper.h"

namespace velmora {

// Finds dates written in a text: in the locale's short date style, or as
// "2024-03-15".
class DateDetector {
 public:
  static std::vector<Date> simpleDatesInString(std::string_view text, const DateHelper& helper);
};

}  // namespace velmora
