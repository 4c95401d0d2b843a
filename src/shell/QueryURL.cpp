#include "shell/QueryURL.h"

namespace velmora {

namespace {
int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}
}  // namespace

std::string QueryURL::percentDecoded(std::string_view text, bool plusIsSpace) {
  std::string out;
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '%' && i + 2 < text.size()) {
      int high = hexValue(text[i + 1]), low = hexValue(text[i + 2]);
      if (high >= 0 && low >= 0) {
        out += static_cast<char>(high * 16 + low);
        i += 2;
        continue;
      }
    }
    out += (plusIsSpace && c == '+') ? ' ' : c;
  }
  return out;
}

std::optional<QueryURL> QueryURL::parse(std::string_view url) {
  if (!hasScheme(url)) return std::nullopt;
  std::string_view rest = url.substr(scheme.size());
  if (rest.substr(0, 2) == "//") rest.remove_prefix(2);
  if (auto hash = rest.find('#'); hash != std::string_view::npos) rest = rest.substr(0, hash);

  QueryURL result;
  std::string_view query;
  if (auto question = rest.find('?'); question != std::string_view::npos) {
    query = rest.substr(question + 1);
    rest = rest.substr(0, question);
  }
  result.text = percentDecoded(rest, false);

  std::optional<std::string> queryKey;
  while (!query.empty()) {
    auto amp = query.find('&');
    std::string_view pair = query.substr(0, amp);
    query = amp == std::string_view::npos ? std::string_view() : query.substr(amp + 1);
    auto equals = pair.find('=');
    std::string key = percentDecoded(pair.substr(0, equals), true);
    std::string value = equals == std::string_view::npos ? std::string() : percentDecoded(pair.substr(equals + 1), true);
    if (key == "location") {
      if (!result.location) result.location = value;
      result.locations.push_back(value);
    }
    else if ((key == "query" || key == "q") && !queryKey)
      queryKey = value;
  }
  if (result.text.empty() && queryKey) result.text = *queryKey;
  return result;
}

}  // namespace velmora
