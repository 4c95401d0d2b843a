#include "stores/SavedSearches.h"

#include "stores/PreferenceStore.h"

namespace velmora {

using nlohmann::json;

SavedSearches& SavedSearches::shared() {
  static SavedSearches instance;
  return instance;
}

void SavedSearches::load() {
  contents_.clear();
  json stored = PreferenceStore::shared().objectForKey(defaultsKey);
  if (!stored.is_object()) return;
  for (auto& [id, entry] : stored.items()) {
    auto item = SavedSearchItem::fromJSON(entry);
    if (!item) continue;
    item->id = id;  // the dictionary key is the identity
    contents_.emplace(id, std::move(*item));
  }
}

void SavedSearches::save(std::map<std::string, SavedSearchItem> items) {
  json object = json::object();
  for (auto& [id, item] : items) {
    item.id = id;
    item.dirty = false;
    object[id] = item.toJSON();
  }
  contents_ = std::move(items);
  PreferenceStore::shared().set(defaultsKey, std::move(object));
  notifier_.post();
}

const SavedSearchItem* SavedSearches::item(const std::string& id) const {
  auto it = contents_.find(id);
  return it == contents_.end() ? nullptr : &it->second;
}

bool SavedSearches::nameInUse(const std::string& name) const {
  for (auto& [id, item] : contents_)
    if (item.displayName == name) return true;
  return false;
}

std::string SavedSearches::makeUniqueName(const std::string& base) const {
  if (!nameInUse(base)) return base;
  for (int n = 2;; ++n) {
    std::string candidate = base + " " + std::to_string(n);
    if (!nameInUse(candidate)) return candidate;
  }
}

}  // namespace velmora
