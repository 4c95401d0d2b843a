#pragma once
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmora {

// A search asked for by a "velmora:" URL: "velmora:report%20budget?location=/home/ann".
// The part before "?" is the query text (percent-decoded); the key
// "location" names where to search. With an empty text part, the key
// "query" (or "q") gives the text instead.
struct QueryURL {
  static constexpr std::string_view scheme = "velmora:";

  std::string text;
  // The first "location"; `locations` holds every one, in order.
  std::optional<std::string> location;
  std::vector<std::string> locations;

  static bool hasScheme(std::string_view url) { return url.substr(0, scheme.size()) == scheme; }
  // Nothing for a URL not beginning with "velmora:".
  static std::optional<QueryURL> parse(std::string_view url);
  // Percent-decoding; with plusIsSpace, "+" stands for a blank (query keys).
  static std::string percentDecoded(std::string_view text, bool plusIsSpace);
};

}  // namespace velmora
