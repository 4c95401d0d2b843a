#pragma once
#include <any>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "query/DateCommandWhen.h"

namespace velmora {

// Turns the arguments of one of the 22 date sentence forms into a span. The
// arguments come without the leading date type; "now" and the calendar come
// from the helper. Nothing when an argument is missing or of another type.
namespace DateCommandCreators {

const std::vector<std::string>& commandNames();

std::optional<DateCommandWhen> when(const std::string& commandName, const std::vector<std::any>& args,
                                    const DateHelper& helper);

// The span from the earlier to the later of two dates. The first is taken
// in the past (a month without a year is its latest occurrence); when that
// moved it back a year and `secondFollowsFirst` is set, the second moves too,
// so "in march" said in February is March of last year as a whole.
std::optional<DateCommandWhen> twoDatesToDate(const DateComponents& first, const DateComponents& second,
                                              const DateHelper& helper, bool secondFollowsFirst = false);

// Seconds per unit for "last N units": a month counts 210 days and a year
// 2555 days. These factors are part of the language's answers and stay.
std::optional<double> timeUnitFactor(CalendarComponent unit);

}  // namespace DateCommandCreators

}  // namespace velmora
