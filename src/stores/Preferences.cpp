#include "stores/Preferences.h"

#include <algorithm>
#include <atomic>
#include <cmath>

#include <fmt/format.h>

#include "common/Logger.h"
#include "stores/PreferenceStore.h"

#ifndef VELMORA_VERSION
#define VELMORA_VERSION "unknown"
#endif

namespace velmora {

using nlohmann::json;
using Type = Preferences::ValueType;

namespace {
std::atomic<bool> newBuild{false};

constexpr std::string_view kLastBuildKey = "lastLaunchedBuild";

std::vector<Preferences::KeyInfo> makeKnownKeys() {
  // Order matters: this is the order the defaults are set up in.
  std::vector<Preferences::KeyInfo> keys = {
      {"hasLaunchedBefore", Type::boolean, false},
      {"moveItemsStartingWithQueryToTop", Type::boolean, false},
      {"firstIgnoreItemsLoad", Type::boolean, false},
      {"firstRememberedItemsLoad", Type::boolean, false},
      {"useFinderKindField", Type::boolean, false},
      {"dateModifiedIsVisible", Type::boolean, true},
      {"dateCreatedIsVisible", Type::boolean, false},
      {"sizeIsVisible", Type::boolean, true},
      {"kindIsVisible", Type::boolean, true},
      {"insideIsVisible", Type::boolean, true},
      {"historyEnabled", Type::boolean, true},
      {"showAppsFoundAnywhere", Type::boolean, false},
      {"lastSearchlocationPopupSelectedItemName", Type::text, "in home"},
      {"highlightFoundWords", Type::boolean, true},
      {"sidebarShouldShowSidebar", Type::boolean, true},
      {"sidebarShouldShowSavedSearches", Type::boolean, true},
      {"sidebarShouldShowChanged", Type::boolean, true},
      {"sidebarShouldShowHistory", Type::boolean, false},
      {"sidebarShouldShowQuickFolders", Type::boolean, true},
      {"sidebarShouldShowPopular", Type::boolean, false},
      {"allowNetworkSearches", Type::boolean, false},
      {"checkForLocalConnections", Type::boolean, true},
      {"diskCatalogCaching", Type::boolean, false},
      {"nettworkDiskCachingOnly", Type::boolean, true},
      {"updateCachesEvery", Type::integer, 500, std::nullopt, std::nullopt, {0, 1, 2, 3, 7, 14, 31, 500}},
      {"fileContentCaching", Type::boolean, false},
      {"fileContentCachingAskToAdd", Type::boolean, false},
      {"resultsViewStyle", Type::integer, 2, 0, 2},
      {"iconSizeSlider", Type::real, 290.0, 16, 1024},
      {"recentItemsMaxCount", Type::integer, 10, 0, 1000},
      {"historyMaxCount", Type::integer, 20, 0, 1000},
      {"hoverPreviews", Type::boolean, false},
      {"listTextSize", Type::integer, 12, 6, 72},
      {"quitAfterLastSearchWindowGone", Type::boolean, false},
      {"fileContentCachingTimeUpdatesEnabled", Type::boolean, false},
      {"sidebarShouldShowDownloads", Type::boolean, true},
      // The import helper's address-space limit, and how long an import may
      // go without progress before the helper is stopped (0: no limit).
      {"importMemoryLimitMB", Type::integer, 2048},
      {"importTimeLimitSeconds", Type::integer, 300},
  };
  // First-time values, set into the user's layer rather than registered.
  keys.push_back({"showInMenuBar", Type::boolean, nullptr});
  keys.push_back({"bringToFrontHotKey", Type::boolean, nullptr});
  for (const char* key : {"moveFoldersToTop", "startSearchesAutomatically", "searchInsideSystemAndApps",
                          "rankInVisible", "SearchAllFileTypes"})
    keys.push_back({key, Type::boolean, nullptr});
  keys.push_back({std::string(Preferences::loggingKey), Type::boolean, nullptr});
  return keys;
}
}  // namespace

const std::vector<Preferences::KeyInfo>& Preferences::knownKeys() {
  static const std::vector<KeyInfo> keys = makeKnownKeys();
  return keys;
}

const Preferences::KeyInfo* Preferences::keyInfo(std::string_view key) {
  for (const auto& info : knownKeys())
    if (info.key == key) return &info;
  return nullptr;
}

bool Preferences::accepts(const KeyInfo& info, const json& value) {
  if (!value.is_number()) return info.minimum == std::nullopt && info.maximum == std::nullopt && info.choices.empty();
  double number = value.get<double>();
  if (!std::isfinite(number)) return false;
  if (info.minimum && number < *info.minimum) return false;
  if (info.maximum && number > *info.maximum) return false;
  if (!info.choices.empty())
    return std::find(info.choices.begin(), info.choices.end(), static_cast<std::int64_t>(number)) !=
               info.choices.end() &&
           static_cast<double>(static_cast<std::int64_t>(number)) == number;
  return true;
}

std::string Preferences::rangeText(const KeyInfo& info) {
  auto number = [](double value) { return fmt::format("{}", value); };
  if (!info.choices.empty()) {
    std::string text = "one of";
    for (std::size_t i = 0; i < info.choices.size(); ++i)
      text += (i == 0 ? " " : i + 1 == info.choices.size() ? " or " : ", ") + std::to_string(info.choices[i]);
    return text;
  }
  if (info.minimum && info.maximum) return "from " + number(*info.minimum) + " to " + number(*info.maximum);
  if (info.minimum) return "of at least " + number(*info.minimum);
  if (info.maximum) return "of at most " + number(*info.maximum);
  return {};
}

std::string Preferences::buildVersion() { return VELMORA_VERSION; }

void Preferences::setIsNewBuild() {
  auto& store = PreferenceStore::shared();
  bool differs = store.stringForKey(kLastBuildKey) != buildVersion();
  newBuild = differs;
  if (differs) store.set(kLastBuildKey, buildVersion());
}

bool Preferences::isNewBuild() { return newBuild; }

json Preferences::defaultsDictionary() {
  json defaults = json::object();
  for (const auto& info : knownKeys())
    if (!info.defaultValue.is_null()) defaults[info.key] = info.defaultValue;
  return defaults;
}

void Preferences::registerDefaultsIfNeeded() {
  auto& store = PreferenceStore::shared();
  if (!store.defaultValue("historyMaxCount")) store.registerDefaults(defaultsDictionary());
}

void Preferences::startup() {
  VLOG("registering defaults");
  json defaults = defaultsDictionary();
  defaults.erase("sidebarShouldShowDownloads");  // added after the build check
  setIsNewBuild();
  defaults["sidebarShouldShowDownloads"] = true;
  auto& store = PreferenceStore::shared();
  store.registerDefaults(defaults);
  if (!store.hasUserValue("showInMenuBar")) store.set("showInMenuBar", true);
  if (!store.hasUserValue("bringToFrontHotKey")) store.set("bringToFrontHotKey", false);
}

std::optional<std::int64_t> Preferences::interval(CachingUpdatesTag tag) {
  switch (tag) {
    case CachingUpdatesTag::defaultTiming:
    case CachingUpdatesTag::appRestart:
      return std::nullopt;
    default:
      return static_cast<std::int64_t>(tag) * 86400;
  }
}

std::optional<Preferences::CachingUpdatesTag> Preferences::cachingUpdatesTag() {
  std::int64_t raw = intValue("updateCachesEvery");
  for (auto tag : {CachingUpdatesTag::defaultTiming, CachingUpdatesTag::appRestart, CachingUpdatesTag::day,
                   CachingUpdatesTag::twoDays, CachingUpdatesTag::threeDays, CachingUpdatesTag::week,
                   CachingUpdatesTag::fortnight, CachingUpdatesTag::month})
    if (static_cast<std::int64_t>(tag) == raw) return tag;
  return std::nullopt;
}

bool Preferences::boolValue(std::string_view key) { return PreferenceStore::shared().boolForKey(key); }

// A number outside its setting's range reads as the default, as a value of
// the wrong type does.
std::int64_t Preferences::intValue(std::string_view key) {
  std::int64_t value = PreferenceStore::shared().integerForKey(key);
  const KeyInfo* info = keyInfo(key);
  if (!info || accepts(*info, value) || !info->defaultValue.is_number()) return value;
  return info->defaultValue.get<std::int64_t>();
}

double Preferences::doubleValue(std::string_view key) {
  double value = PreferenceStore::shared().doubleForKey(key);
  const KeyInfo* info = keyInfo(key);
  if (!info || accepts(*info, value) || !info->defaultValue.is_number()) return value;
  return info->defaultValue.get<double>();
}
std::string Preferences::stringValue(std::string_view key) { return PreferenceStore::shared().stringForKey(key); }

Preferences::ResultsViewStyle Preferences::resultsViewStyle() {
  switch (intValue("resultsViewStyle")) {
    case 0:
      return ResultsViewStyle::icons;
    case 1:
      return ResultsViewStyle::list;
    default:
      return ResultsViewStyle::automatic;
  }
}

int Preferences::preferencesDidChangeNotification(std::function<void(const std::string& key)> handler) {
  return PreferenceStore::shared().addObserver(std::move(handler));
}

void Preferences::removePreferencesObserver(int token) { PreferenceStore::shared().removeObserver(token); }

}  // namespace velmora
