#include "stores/HistoryController.h"
#include "stores/StoredValueChange.h"

#include <algorithm>
#include <random>

#include <fmt/format.h>

#include "common/Logger.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"

namespace velmora {

using nlohmann::json;

namespace {
constexpr const char* kHistoryKey = "history";
constexpr const char* kVersionKey = "historyVersion";

std::string trimmed(const std::string& text) {
  const char* space = " \t\n\r\f\v";
  auto first = text.find_first_not_of(space);
  if (first == std::string::npos) return {};
  auto last = text.find_last_not_of(space);
  return text.substr(first, last - first + 1);
}
}  // namespace

std::string makeUUIDString() {
  static thread_local std::mt19937_64 engine{std::random_device{}()};
  std::uint64_t high = engine(), low = engine();
  high = (high & 0xFFFFFFFFFFFF0FFFULL) | 0x0000000000004000ULL;  // version 4
  low = (low & 0x3FFFFFFFFFFFFFFFULL) | 0x8000000000000000ULL;    // RFC 4122 variant
  return fmt::format("{:08X}-{:04X}-{:04X}-{:04X}-{:012X}", high >> 32, (high >> 16) & 0xFFFF, high & 0xFFFF,
                     low >> 48, low & 0xFFFFFFFFFFFFULL);
}

HistoryController::HistoryController(const Clock& clock) : clock_(&clock) {}

HistoryController& HistoryController::shared() {
  static HistoryController instance;
  return instance;
}

void HistoryController::startup() {
  Preferences::registerDefaultsIfNeeded();
  auto& store = PreferenceStore::shared();
  // Only one format exists so far, so an older version needs no conversion.
  if (store.integerForKey(kVersionKey) != currentHistoryVersion) store.set(kVersionKey, currentHistoryVersion);
  load();
}

namespace {
std::vector<HistoryItem> itemsFrom(const json& stored) {
  std::vector<HistoryItem> items;
  if (!stored.is_array()) return items;
  for (const auto& entry : stored)
    if (auto item = HistoryItem::fromJSON(entry)) items.push_back(std::move(*item));
  return items;
}

json jsonFrom(const std::vector<HistoryItem>& items) {
  json array = json::array();
  for (const auto& item : items) array.push_back(item.toJSON());
  return array;
}
}  // namespace

void HistoryController::load() { items_ = itemsFrom(PreferenceStore::shared().objectForKey(kHistoryKey)); }

Status HistoryController::change(const std::function<bool(Items&)>& edit) {
  return changeStoredValue(kHistoryKey, items_, itemsFrom, jsonFrom, edit, notifier_);
}

Status HistoryController::save() {
  Items mine = items_;
  return change([&](Items& items) {
    items = mine;
    return true;
  });
}

void HistoryController::removeOld(Items& items, std::int64_t limit) {
  std::size_t max = limit > 0 ? static_cast<std::size_t>(limit) : 0;
  while (!items.empty() && items.size() >= max) items.erase(items.begin());
}

void HistoryController::addQuery(const std::string& text) {
  std::string query = trimmed(text);
  if (query.empty() || !Preferences::historyEnabled()) return;
  // Read before the change: the store is locked while it runs.
  std::int64_t limit = Preferences::historyMaxCount();
  HistoryItem item;
  item.id = makeUUIDString();
  item.type = HistoryItem::HistoryType::query;
  item.queryString = query;
  item.performedDate = std::chrono::duration<double>(clock_->now().time_since_epoch()).count();
  Status status = change([&](Items& items) {
    removeOld(items, limit);
    std::erase_if(items, [&](const HistoryItem& old) { return old.queryString == query; });
    if (limit > 0) items.push_back(item);
    return true;
  });
  if (!status.ok()) Logger::shared().log("History: \"" + query + "\" not saved: " + status.message());
}

Status HistoryController::deleteQuery(const std::string& query) {
  return change([&](Items& items) {
    return std::erase_if(items, [&](const HistoryItem& item) { return item.queryString == query; }) > 0;
  });
}

Status HistoryController::clear() {
  return change([](Items& items) {
    items.clear();
    return true;
  });
}

std::vector<std::string> HistoryController::queries() const {
  std::vector<std::string> out;
  out.reserve(items_.size());
  for (const auto& item : items_) out.push_back(item.queryString);
  return out;
}

}  // namespace velmora
