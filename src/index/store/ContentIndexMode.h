#pragma once
#include <optional>

namespace velmora {

// What a build puts in an index besides the names. Raw values are stored.
enum class ContentIndexMode : int { off = 0, textDocuments = 1, ocrAndTextDocuments = 2 };

inline std::optional<ContentIndexMode> contentIndexModeFromRaw(long long raw) {
  if (raw < 0 || raw > 2) return std::nullopt;
  return static_cast<ContentIndexMode>(raw);
}

inline const char* contentIndexModeName(ContentIndexMode mode) {
  switch (mode) {
    case ContentIndexMode::off: return "off";
    case ContentIndexMode::textDocuments: return "textDocuments";
    case ContentIndexMode::ocrAndTextDocuments: return "ocrAndTextDocuments";
  }
  return "off";
}

}  // namespace velmora
