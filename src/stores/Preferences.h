#pragma once
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace velmora {

// The keys of the user's settings, their defaults and typed getters, over
// PreferenceStore::shared().
class Preferences {
 public:
  enum class ValueType { boolean, integer, real, text };

  // One row of the defaults table; `defaultValue` is null for keys that are
  // in use without a registered default (they read as false, 0 or empty).
  // Numbers may have a range or a list of choices; a stored value outside
  // them reads as the default.
  struct KeyInfo {
    std::string key;
    ValueType type;
    nlohmann::json defaultValue;
    std::optional<double> minimum = std::nullopt;
    std::optional<double> maximum = std::nullopt;
    std::vector<std::int64_t> choices = {};
  };

  // How often caches are refreshed ("updateCachesEvery"). The raw value is
  // what the setting stores: a count of days for the timed choices.
  enum class CachingUpdatesTag : std::int64_t {
    defaultTiming = 500,
    appRestart = 0,
    day = 1,
    twoDays = 2,
    threeDays = 3,
    week = 7,
    fortnight = 14,
    month = 31,
  };
  // Seconds between refreshes; none for defaultTiming and appRestart.
  static std::optional<std::int64_t> interval(CachingUpdatesTag tag);
  static std::optional<CachingUpdatesTag> cachingUpdatesTag();

  enum class ResultsViewStyle { icons = 0, list = 1, automatic = 2 };

  // Registers the defaults (a layer that is never written back), notes a new
  // build and gives "showInMenuBar" and "bringToFrontHotKey" their
  // first-time values.
  static void startup();
  // The registered defaults alone, for tools that read settings without
  // starting the application.
  static nlohmann::json defaultsDictionary();
  // Registers the defaults unless the store has them already, so that lists
  // used outside a full start-up (command-line tools) see their limits.
  static void registerDefaultsIfNeeded();
  // Records the running build; isNewBuild() tells whether it differs from
  // the build that ran last.
  static void setIsNewBuild();
  static bool isNewBuild();
  static std::string buildVersion();

  // The defaults table in the order it is set up, then the first-time keys
  // and the keys used without a default.
  static const std::vector<KeyInfo>& knownKeys();
  static const KeyInfo* keyInfo(std::string_view key);
  // Whether a value of the key's type lies in its range or choices.
  static bool accepts(const KeyInfo& info, const nlohmann::json& value);
  // The range or choices in words ("from 0 to 1000"); empty when any value goes.
  static std::string rangeText(const KeyInfo& info);

  static bool boolValue(std::string_view key);
  static std::int64_t intValue(std::string_view key);
  static double doubleValue(std::string_view key);
  static std::string stringValue(std::string_view key);

  static ResultsViewStyle resultsViewStyle();
  static bool historyEnabled() { return boolValue("historyEnabled"); }
  static std::int64_t historyMaxCount() { return intValue("historyMaxCount"); }
  static std::int64_t recentItemsMaxCount() { return intValue("recentItemsMaxCount"); }
  static bool hasLaunchedBefore() { return boolValue("hasLaunchedBefore"); }
  static bool showInMenuBar() { return boolValue("showInMenuBar"); }
  static bool bringToFrontHotKey() { return boolValue("bringToFrontHotKey"); }
  static bool startSearchesAutomatically() { return boolValue("startSearchesAutomatically"); }
  static bool searchInsideSystemAndApps() { return boolValue("searchInsideSystemAndApps"); }
  static bool moveFoldersToTop() { return boolValue("moveFoldersToTop"); }
  // The preference that switches the log files on, beside `velmora --log`.
  static constexpr std::string_view loggingKey = "Logger:enabled";
  static bool loggingEnabled() { return boolValue(loggingKey); }

  // Called on the main queue with the key after each change to the store.
  // Returns a token for removePreferencesObserver.
  static int preferencesDidChangeNotification(std::function<void(const std::string& key)> handler);
  static void removePreferencesObserver(int token);
};

}  // namespace velmora
