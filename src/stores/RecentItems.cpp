#include "stores/RecentItems.h"

#include <algorithm>
#include <ctime>

#include "common/JSONText.h"
#include "common/Logger.h"
#include "stores/JSONByteStrings.h"
#include "stores/OpenedFilesNotification.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"

namespace velmora {

using nlohmann::json;

namespace {
constexpr const char* kItemsKey = "recentSmartItems";
constexpr const char* kLastPurgeKey = "recentSmartLastPurge";

bool sameLocalDay(Date a, Date b) {
  std::time_t x = std::chrono::system_clock::to_time_t(a), y = std::chrono::system_clock::to_time_t(b);
  std::tm dx{}, dy{};
  localtime_r(&x, &dx);
  localtime_r(&y, &dy);
  return dx.tm_year == dy.tm_year && dx.tm_yday == dy.tm_yday;
}

void sortNewestFirst(std::vector<RecentItem>& items) {
  std::stable_sort(items.begin(), items.end(),
                   [](const RecentItem& a, const RecentItem& b) { return a.lastSeen > b.lastSeen; });
}
}  // namespace

RecentItems::RecentItems(const Clock& clock) : clock_(&clock) {}

RecentItems::~RecentItems() {
  if (openedToken_) OpenedFilesNotification::removeObserver(openedToken_);
}

RecentItems& RecentItems::shared() {
  static RecentItems instance;
  return instance;
}

void RecentItems::startup() {
  Preferences::registerDefaultsIfNeeded();
  load();
  purge();
  if (!openedToken_)
    openedToken_ = OpenedFilesNotification::observe(
        [this](const std::vector<std::string>& paths) { addPopularItem(paths); });
}

void RecentItems::load() {
  items_.clear();
  std::string text = PreferenceStore::shared().stringForKey(kItemsKey);
  if (text.empty()) return;
  json parsed = json::parse(text, nullptr, /*allow_exceptions=*/false);
  if (!parsed.is_array()) {
    VLOG("the stored recent items are not a JSON list and are ignored");
    return;
  }
  for (const auto& entry : parsed)
    if (auto item = RecentItem::fromJSON(entry)) {
      item->path = JSONByteStrings::decode(item->path);
      items_.push_back(std::move(*item));
    }
}

void RecentItems::save() {
  json array = json::array();
  // The list is JSON text inside one setting, so paths that are not UTF-8
  // take the store's escaped form here too.
  for (auto item : items_) {
    item.path = JSONByteStrings::encode(item.path);
    array.push_back(item.toJSON());
  }
  PreferenceStore::shared().set(kItemsKey, JSONText::dump(array));
  notifier_.post();
}

void RecentItems::addPopularItem(const std::vector<std::string>& paths, bool save) {
  for (const auto& path : paths) {
    std::erase_if(items_, [&](const RecentItem& item) { return item.path == path; });
    items_.insert(items_.begin(), RecentItem{path, clock_->now()});
  }
  if (save) this->save();
}

void RecentItems::deleteItem(const std::string& path, bool save) {
  std::erase_if(items_, [&](const RecentItem& item) { return item.path == path; });
  if (save) this->save();
}

void RecentItems::purge() {
  auto& store = PreferenceStore::shared();
  Date now = clock_->now();
  double stored = store.doubleForKey(kLastPurgeKey);
  if (stored == 0) {
    // A first run counts as purged today, so the first cut is tomorrow.
    store.set(kLastPurgeKey, secondsSinceReferenceDate(now));
    return;
  }
  if (sameLocalDay(dateFromReferenceSeconds(stored), now)) return;
  sortNewestFirst(items_);
  auto limit = Preferences::recentItemsMaxCount();
  std::size_t max = limit > 0 ? static_cast<std::size_t>(limit) : 0;
  if (items_.size() > max) items_.resize(max);
  store.set(kLastPurgeKey, secondsSinceReferenceDate(now));
  save();
}

std::vector<RecentItem> RecentItems::itemsForDisplay() const {
  auto sorted = items_;
  sortNewestFirst(sorted);
  return sorted;
}

void RecentItems::tryBuildRecentMenu() const {
  if (!sink_) return;
  auto ordered = itemsForDisplay();
  std::reverse(ordered.begin(), ordered.end());
  for (const auto& item : ordered) sink_(item.path);
}

}  // namespace velmora
