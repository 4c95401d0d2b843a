#include "stores/FavoriteFolders.h"
#include "stores/StoredValueChange.h"

#include <filesystem>

#include "common/AppDirectories.h"
#include "common/Logger.h"
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

std::map<std::string, std::string> pairsFrom(const json& stored) {
  std::map<std::string, std::string> pairs;
  if (!stored.is_object()) return pairs;
  for (auto& [name, path] : stored.items())
    if (path.is_string()) pairs[name] = path.get<std::string>();
  return pairs;
}

json jsonFrom(const std::map<std::string, std::string>& pairs) {
  json object = json::object();
  for (auto& [name, path] : pairs) object[name] = path;
  return object;
}

// An absolute path without "." and ".." and without a trailing "/".
std::optional<fs::path> normalised(const std::string& rawPath) {
  if (rawPath.empty() || rawPath.front() != '/') return std::nullopt;
  fs::path path = fs::path(rawPath).lexically_normal();
  if (path.has_relative_path() && path.filename().empty()) path = path.parent_path();
  return path;
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
  auto name = add((AppDirectories::homeDirectory() / "Downloads").string());
  if (name) store.set(downloadsNameKey, *name);
  else Logger::shared().log("Remembered folders: Downloads not remembered: " + name.status().message());
  store.set("firstRememberedItemsLoad", true);
}

void FavoriteFolders::load() { pairs_ = pairsFrom(PreferenceStore::shared().objectForKey(defaultsKey)); }

Status FavoriteFolders::change(const std::function<bool(Pairs&)>& edit) {
  return changeStoredValue(defaultsKey, pairs_, pairsFrom, jsonFrom, edit, notifier_);
}

Status FavoriteFolders::save() {
  Pairs mine = pairs_;
  return change([&](Pairs& pairs) {
    pairs = mine;
    return true;
  });
}

Result<std::string> FavoriteFolders::add(const std::string& rawPath) {
  auto path = normalised(rawPath);
  if (!path) return Status::invalidArgument("\"" + rawPath + "\" is not an absolute path");
  std::string text = path->string();
  std::string key;
  Status status = change([&](Pairs& pairs) {
    key = lastComponent(*path);
    if (auto it = pairs.find(key); it != pairs.end() && it->second != text) key += "-" + lastComponent(path->parent_path());
    // Two folders can still share "name-parent"; number the later ones.
    std::string base = key;
    for (int n = 2;; ++n) {
      auto it = pairs.find(key);
      if (it == pairs.end()) break;
      if (it->second == text) return false;  // already remembered: nothing changes
      key = base + " " + std::to_string(n);
    }
    pairs[key] = text;
    return true;
  });
  if (!status.ok()) return status;
  return key;
}

Status FavoriteFolders::addNamed(const std::string& name, const std::string& rawPath) {
  if (name.empty()) return Status::invalidArgument("a remembered folder needs a name");
  auto path = normalised(rawPath);
  if (!path) return Status::invalidArgument("\"" + rawPath + "\" is not an absolute path");
  std::string taken;
  Status status = change([&](Pairs& pairs) {
    auto it = pairs.find(name);
    if (it != pairs.end()) {
      if (it->second != path->string()) taken = it->second;
      return false;
    }
    pairs[name] = path->string();
    return true;
  });
  if (!status.ok()) return status;
  if (!taken.empty()) return Status::invalidArgument("the name \"" + name + "\" is already used for " + taken);
  return {};
}

std::vector<std::pair<std::string, std::string>> FavoriteFolders::displayItems() const {
  std::vector<std::string> names;
  for (auto& [name, path] : pairs_) names.push_back(name);
  SharedAdditions::localizedSort(names);
  std::vector<std::pair<std::string, std::string>> out;
  for (auto& name : names) out.emplace_back(name, pairs_.at(name));
  return out;
}

Status FavoriteFolders::deleteDisplayItem(std::size_t index) {
  auto items = displayItems();
  if (index >= items.size()) return Status::notFound("no remembered folder at " + std::to_string(index));
  return remove(items[index].first);
}

Status FavoriteFolders::remove(const std::string& name) {
  bool found = false;
  Status status = change([&](Pairs& pairs) { return found = pairs.erase(name) > 0; });
  if (!status.ok()) return status;
  if (!found) return Status::notFound("no folder is remembered as \"" + name + "\"");
  return {};
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
