#include "stores/FavoriteFolders.h"

#include <filesystem>

#include "common/AppDirectories.h"
#include "common/SharedAdditions.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"

namespace velmora {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {
std::string lastComponent(const fs::path& path) {
  auto name = path.filename().string();
  return name.empty() ? path.string() : name;
}
}  // namespace

FavoriteFolders& FavoriteFolders::shared() {
  static FavoriteFolders instance;
  return instance;
}

void FavoriteFolders::startup() {
  Preferences::registerDefaultsIfNeeded();
  load();
  auto& store = PreferenceStore::shared();
  if (store.boolForKey("firstRememberedItemsLoad")) return;
  if (auto name = add((AppDirectories::homeDirectory() / "Downloads").string()))
    store.set(downloadsNameKey, *name);
  store.set("firstRememberedItemsLoad", true);
}

void FavoriteFolders::load() {
  pairs_.clear();
  json stored = PreferenceStore::shared().objectForKey(defaultsKey);
  if (!stored.is_object()) return;
  for (auto& [name, path] : stored.items())
    if (path.is_string()) pairs_[name] = path.get<std::string>();
}

void FavoriteFolders::save() {
  json object = json::object();
  for (auto& [name, path] : pairs_) object[name] = path;
  PreferenceStore::shared().set(defaultsKey, std::move(object));
  notifier_.post();
}

std::optional<std::string> FavoriteFolders::add(const std::string& rawPath) {
  if (rawPath.empty() || rawPath.front() != '/') return std::nullopt;
  fs::path path = fs::path(rawPath).lexically_normal();
  if (path.has_relative_path() && path.filename().empty()) path = path.parent_path();  // drop a trailing "/"
  std::string text = path.string();

  std::string key = lastComponent(path);
  if (auto it = pairs_.find(key); it != pairs_.end() && it->second != text)
    key += "-" + lastComponent(path.parent_path());
  // Two folders can still share "name-parent"; number the later ones.
  std::string base = key;
  for (int n = 2;; ++n) {
    auto it = pairs_.find(key);
    if (it == pairs_.end()) break;
    if (it->second == text) return key;  // already remembered: nothing changes
    key = base + " " + std::to_string(n);
  }
  pairs_[key] = text;
  save();
  return key;
}

bool FavoriteFolders::addNamed(const std::string& name, const std::string& rawPath) {
  if (name.empty() || rawPath.empty() || rawPath.front() != '/') return false;
  fs::path path = fs::path(rawPath).lexically_normal();
  if (path.has_relative_path() && path.filename().empty()) path = path.parent_path();
  auto it = pairs_.find(name);
  if (it != pairs_.end()) return it->second == path.string();
  pairs_[name] = path.string();
  save();
  return true;
}

std::vector<std::pair<std::string, std::string>> FavoriteFolders::displayItems() const {
  std::vector<std::string> names;
  for (auto& [name, path] : pairs_) names.push_back(name);
  SharedAdditions::localizedSort(names);
  std::vector<std::pair<std::string, std::string>> out;
  for (auto& name : names) out.emplace_back(name, pairs_.at(name));
  return out;
}

bool FavoriteFolders::deleteDisplayItem(std::size_t index) {
  auto items = displayItems();
  if (index >= items.size()) return false;
  return remove(items[index].first);
}

bool FavoriteFolders::remove(const std::string& name) {
  if (pairs_.erase(name) == 0) return false;
  save();
  return true;
}

std::optional<std::string> FavoriteFolders::pathFor(const std::string& name) const {
  if (auto it = pairs_.find(name); it != pairs_.end()) return it->second;
  return std::nullopt;
}

std::string FavoriteFolders::downloadsName() const {
  auto stored = PreferenceStore::shared().stringForKey(downloadsNameKey);
  return stored.empty() ? "Downloads" : stored;
}

}  // namespace velmora
