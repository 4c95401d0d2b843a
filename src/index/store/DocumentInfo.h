#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "common/Clock.h"
#include "index/store/ContentIndexMode.h"

namespace velmora {

// What an index says about itself, stored as JSON under "D" + "documentInfo".
// Keys in this order: "suggestedTarget" (a file URL, only if set),
// "lastUpdated" (seconds since 2001), "numberOfFSItems" (only if set),
// "lastIndexMode", "isDirty", "diskKey" (only if set).
struct DocumentInfo {
  std::optional<std::string> suggestedTarget;  // absolute path of the folder or disk indexed
  Date lastUpdated{};
  std::optional<std::int64_t> numberOfFSItems;
  ContentIndexMode lastIndexMode = ContentIndexMode::off;
  bool isDirty = false;
  std::optional<std::string> diskKey;

  std::string toJSON() const;
  // Absent, with the reason in `error`, when the text is not JSON or a
  // required key is missing or of the wrong kind. Unknown keys are ignored.
  static std::optional<DocumentInfo> fromJSON(std::string_view json, std::string* error = nullptr);

  // A folder path as a file URL ("file:///a%20b/"), and back. fromFileURL
  // also takes a plain absolute path.
  static std::string fileURL(const std::string& path);
  static std::optional<std::string> pathFromURL(std::string_view url);

  bool operator==(const DocumentInfo&) const = default;
};

}  // namespace velmora
