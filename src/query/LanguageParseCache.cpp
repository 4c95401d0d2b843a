#include "query/LanguageParseCache.h"

#include <string>

#include "common/SharedAdditions.h"
#include "query/Munge.h"

namespace velmora {

namespace resources {
// The template file, scrambled at build time (see tools/munge_resource.cpp).
extern const std::uint8_t Script[];
extern const std::size_t ScriptSize;
}  // namespace resources

const LanguageParseCache& LanguageParseCache::shared() {
  static const LanguageParseCache cache =
      fromScrambledBytes(std::span<const std::uint8_t>(resources::Script, resources::ScriptSize));
  return cache;
}

LanguageParseCache LanguageParseCache::fromScrambledBytes(std::span<const std::uint8_t> bytes) {
  std::vector<std::uint8_t> data(bytes.begin(), bytes.end());
  Munge::munge(data, std::nullopt, 1);
  std::string text(data.begin(), data.end());
  if (!SharedAdditions::isValidUTF8(text)) return {};
  return fromText(text);
}

LanguageParseCache LanguageParseCache::fromText(std::string_view text) {
  static constexpr std::string_view kDraftMark = "\u270F\uFE0F";
  LanguageParseCache cache;
  std::size_t start = 0;
  while (start < text.size()) {
    std::size_t end = text.find('\n', start);
    if (end == std::string_view::npos) end = text.size();
    std::string_view line = text.substr(start, end - start);
    start = end + 1;
    if (line.empty()) continue;
    if (line.find(kDraftMark) != std::string_view::npos) continue;
    if (line.starts_with("//")) continue;
    // A line of blanks alone cannot be a template; a damaged resource must
    // not take the program down, so such lines are passed over.
    if (!SentenceTemplate::isTemplateLine(line)) continue;
    cache.templates_.emplace_back(line);
  }
  return cache;
}

}  // namespace velmora
