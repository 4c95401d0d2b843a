#include "search/IgnoreItems.h"

#include <algorithm>

#include "platform/PathConventions.h"
#include "query/QueryContainer.h"
#include "search/FSUtilities.h"
#include "model/SearchResult.h"
#include "stores/PreferenceStore.h"

namespace velmora {

namespace {

std::vector<std::string> stringsFor(const PreferenceStore& store, const char* key) {
  nlohmann::json value = store.objectForKey(key);
  std::vector<std::string> texts;
  if (!value.is_array()) return texts;
  for (const auto& entry : value) {
    if (!entry.is_string()) return {};  // a damaged list counts as empty
    texts.push_back(entry.get<std::string>());
  }
  return texts;
}

std::string_view extensionOf(std::string_view component) {
  auto dot = component.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return {};
  return component.substr(dot + 1);
}

}  // namespace

IgnoreItems::IgnoreItems() : IgnoreItems(PreferenceStore::shared(), FSUtilities::shared().conventions()) {}

IgnoreItems::IgnoreItems(PreferenceStore& store, const PathConventions& conventions) : store_(store) {
  for (auto text : stringsFor(store, foldersKey)) {
    const auto& prefix = conventions.volumesPrefix;
    if (!prefix.empty() && text.rfind(prefix, 0) == 0) text.erase(0, prefix.size());
    pathComponents.push_back({IgnoreItemType::pathComponent, SearchResult::newUUID(), std::move(text)});
  }
  for (auto& text : stringsFor(store, extensionsKey))
    pathExtensions.push_back({IgnoreItemType::pathExtension, SearchResult::newUUID(), std::move(text)});
}

void IgnoreItems::save() {
  nlohmann::json folders = nlohmann::json::array(), extensions = nlohmann::json::array();
  for (const auto& item : pathComponents) folders.push_back(item.text);
  for (const auto& item : pathExtensions) extensions.push_back(item.text);
  store_.set(foldersKey, folders);
  store_.set(extensionsKey, extensions);
}

bool IgnoreItems::contains(const std::string& path) const {
  return std::any_of(pathComponents.begin(), pathComponents.end(), [&](const auto& i) { return i.text == path; });
}

bool IgnoreItems::containsExtension(std::string_view extension) const {
  return std::any_of(pathExtensions.begin(), pathExtensions.end(),
                     [&](const auto& i) { return i.text == extension; });
}

bool IgnoreItems::includesFolder(const std::string& path) const {
  if (pathComponents.empty() && pathExtensions.empty()) return false;
  std::vector<std::string_view> parts;
  std::string_view rest = path;
  for (std::size_t start = 0; start < rest.size();) {
    auto slash = rest.find('/', start);
    auto end = slash == std::string_view::npos ? rest.size() : slash;
    if (end > start) parts.push_back(rest.substr(start, end - start));
    start = end + 1;
  }
  for (const auto& item : pathComponents) {
    if (item.text.find('/') != std::string::npos) {
      if (path.find(item.text) != std::string::npos) return true;
    } else if (std::find(parts.begin(), parts.end(), item.text) != parts.end()) {
      return true;
    }
  }
  for (auto part : parts) {
    auto extension = extensionOf(part);
    if (!extension.empty() && containsExtension(extension)) return true;
  }
  return false;
}

void IgnoreItems::add(const std::string& path) {
  if (contains(path)) return;
  pathComponents.push_back({IgnoreItemType::pathComponent, SearchResult::newUUID(), path});
  save();
}

void IgnoreItems::addFileExtension(const std::string& fileExtension) {
  if (containsExtension(fileExtension)) return;
  pathExtensions.push_back({IgnoreItemType::pathExtension, SearchResult::newUUID(), fileExtension});
  save();
}

void IgnoreItems::deleteItem(const std::string& id) {
  std::erase_if(pathComponents, [&](const auto& i) { return i.id == id; });
  std::erase_if(pathExtensions, [&](const auto& i) { return i.id == id; });
  save();
}

std::vector<IgnoreItem> IgnoreItems::itemsForDisplay() const {
  auto byText = [](const IgnoreItem& a, const IgnoreItem& b) { return a.text < b.text; };
  std::vector<IgnoreItem> items{{IgnoreItemType::displayGroup, SearchResult::newUUID(), "Files & Folders"}};
  auto folders = pathComponents;
  std::sort(folders.begin(), folders.end(), byText);
  items.insert(items.end(), folders.begin(), folders.end());
  items.push_back({IgnoreItemType::displayGroup, SearchResult::newUUID(), "Extensions"});
  auto extensions = pathExtensions;
  std::sort(extensions.begin(), extensions.end(), byText);
  for (auto& item : extensions) items.push_back({IgnoreItemType::pathExtension, item.id, "." + item.text});
  return items;
}

void IgnoreItems::changeDisplayItemValue(std::size_t index, const std::string& newValue, bool shouldSave) {
  auto display = itemsForDisplay();
  if (index >= display.size()) return;
  const std::string& id = display[index].id;
  for (auto* list : {&pathComponents, &pathExtensions}) {
    auto it = std::find_if(list->begin(), list->end(), [&](const auto& i) { return i.id == id; });
    if (it == list->end()) continue;
    *it = IgnoreItem{it->type, it->id, newValue};
    if (shouldSave) save();
    return;
  }
}

void IgnoreItems::startup() {
  auto& store = PreferenceStore::shared();
  if (!store.boolForKey("firstIgnoreItemsLoad")) store.set("firstIgnoreItemsLoad", true);
  installQueryIgnoreList();
}

void IgnoreItems::installQueryIgnoreList() {
  QueryContainer::setIgnoreListMaker([] { return std::make_shared<const IgnoreItems>(); });
}

}  // namespace velmora
