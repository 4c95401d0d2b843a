#pragma once
#include <filesystem>

namespace velmora {

// Where Velmora keeps its files. With VELMORA_HOME set, everything lives under
// that one folder (support/, caches/, scripts/, preferences.json); otherwise
// the XDG base directories with their defaults.
namespace AppDirectories {
std::filesystem::path applicationSupportDirectory();  // $XDG_DATA_HOME/velmora
std::filesystem::path appCachesDirectory();           // $XDG_CACHE_HOME/velmora
std::filesystem::path applicationScriptsDirectory();  // $XDG_CONFIG_HOME/velmora/scripts
std::filesystem::path preferencesFile();              // $XDG_CONFIG_HOME/velmora/preferences.json
std::filesystem::path homeDirectory();                // $HOME, else the password entry
// Creates the folder (and parents) when missing; returns it unchanged.
std::filesystem::path ensured(const std::filesystem::path& folder);
}  // namespace AppDirectories

}  // namespace velmora
