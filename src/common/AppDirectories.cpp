#include "common/AppDirectories.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <system_error>

namespace velmora::AppDirectories {

namespace fs = std::filesystem;

namespace {
const char* env(const char* name) {
  const char* value = std::getenv(name);
  return (value && *value) ? value : nullptr;
}

fs::path velmoraHome() {
  const char* home = env("VELMORA_HOME");
  return home ? fs::path(home) : fs::path();
}

fs::path xdg(const char* variable, const char* fallbackBelowHome) {
  if (const char* value = env(variable); value && fs::path(value).is_absolute()) return value;
  return homeDirectory() / fallbackBelowHome;
}
}  // namespace

fs::path homeDirectory() {
  if (const char* home = env("HOME")) return home;
  if (const passwd* entry = getpwuid(getuid()); entry && entry->pw_dir) return entry->pw_dir;
  return "/";
}

fs::path applicationSupportDirectory() {
  if (auto home = velmoraHome(); !home.empty()) return home / "support";
  return xdg("XDG_DATA_HOME", ".local/share") / "velmora";
}

fs::path appCachesDirectory() {
  if (auto home = velmoraHome(); !home.empty()) return home / "caches";
  return xdg("XDG_CACHE_HOME", ".cache") / "velmora";
}

fs::path applicationScriptsDirectory() {
  if (auto home = velmoraHome(); !home.empty()) return home / "scripts";
  return xdg("XDG_CONFIG_HOME", ".config") / "velmora" / "scripts";
}

fs::path preferencesFile() {
  if (auto home = velmoraHome(); !home.empty()) return home / "preferences.json";
  return xdg("XDG_CONFIG_HOME", ".config") / "velmora" / "preferences.json";
}

fs::path ensured(const fs::path& folder) {
  std::error_code ec;
  fs::create_directories(folder, ec);
  return folder;
}

}  // namespace velmora::AppDirectories
