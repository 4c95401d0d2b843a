#include "search/results/FileKind.h"

#include <gio/gio.h>

#include <mutex>
#include <string_view>
#include <unordered_map>

#include "common/PathText.h"
#include "common/TextCase.h"

namespace velmora::FileKind {

namespace {

// The desktop's own words for a type, from the shared MIME database, as
// every file manager shows them; empty when the name tells nothing.
std::string describeExtension(const std::string& lowerExtension) {
  if (lowerExtension == "vlcache") return "Velmora index";
  const std::string probe = "file." + lowerExtension;
  gboolean uncertain = FALSE;
  gchar* type = g_content_type_guess(probe.c_str(), nullptr, 0, &uncertain);
  std::string description;
  if (type && !uncertain && !g_content_type_is_unknown(type)) {
    if (gchar* text = g_content_type_get_description(type)) {
      description = text;
      g_free(text);
    }
  }
  g_free(type);
  return description;
}

// Rows ask from the merge threads; a type is described once per process.
std::string cachedDescription(const std::string& lowerExtension) {
  static std::mutex mutex;
  static std::unordered_map<std::string, std::string> cache;
  {
    std::lock_guard guard(mutex);
    if (auto it = cache.find(lowerExtension); it != cache.end()) return it->second;
  }
  std::string description = describeExtension(lowerExtension);
  std::lock_guard guard(mutex);
  return cache.emplace(lowerExtension, std::move(description)).first->second;
}

}  // namespace

std::string kindForFileName(const std::string& name) {
  const std::string_view extension = PathText::pathExtension(name);
  if (extension.empty()) return "Document";
  std::string description = cachedDescription(TextCase::asciiLowercase(extension));
  if (!description.empty()) return description;
  std::string upper(extension);
  for (char& c : upper)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return upper + " file";
}

}  // namespace velmora::FileKind
