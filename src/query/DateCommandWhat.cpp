#include "query/DateCommandWhat.h"

namespace velmora {

std::optional<DateCommandWhat> dateCommandWhatFrom(std::string_view word) {
  if (word == "modified" || word == "changed" || word == "edited") return DateCommandWhat::modificationDate;
  if (word == "created" || word == "made") return DateCommandWhat::creationDate;
  return std::nullopt;
}

std::string toString(DateCommandWhat what) {
  switch (what) {
    case DateCommandWhat::modificationDate: return "modified";
    case DateCommandWhat::creationDate: return "created";
    case DateCommandWhat::accessDate: return "accessed";
  }
  return {};
}

}  // namespace velmora
