#pragma once
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace velmora {

// The user's lasting settings: one JSON object in a file, written atomically
// (temporary file, fsync, rename). Registered defaults are a separate layer
// that is consulted for absent keys and never written back. Absent keys read
// as false, 0 or empty.
//
// A damaged file is moved aside as "<name>.damaged-<n>", reported once in the
// log, and the store starts from its defaults: nothing is overwritten
// silently and nothing crashes.
class PreferenceStore {
 public:
  using Observer = std::function<void(const std::string& key)>;

  explicit PreferenceStore(std::filesystem::path file);
  // The process-wide store at AppDirectories::preferencesFile().
  static PreferenceStore& shared();
  // Points shared() at another file (tests, --prefs-file); drops observers.
  static void resetShared(std::filesystem::path file);

  void registerDefaults(const nlohmann::json& defaults);

  bool boolForKey(std::string_view key) const;
  std::int64_t integerForKey(std::string_view key) const;
  double doubleForKey(std::string_view key) const;
  std::string stringForKey(std::string_view key) const;
  // The stored value, else the default, else null.
  nlohmann::json objectForKey(std::string_view key) const;
  // Whether the user's layer (not the defaults) holds the key.
  bool hasUserValue(std::string_view key) const;
  std::optional<nlohmann::json> defaultValue(std::string_view key) const;
  nlohmann::json userValues() const;
  nlohmann::json defaults() const;

  // Sets and saves; observers are told on the main queue.
  void set(std::string_view key, nlohmann::json value);
  void remove(std::string_view key);

  // Called on the main queue after each change, with the key that changed.
  int addObserver(Observer observer);
  void removeObserver(int token);

  const std::filesystem::path& file() const { return file_; }
  // Empty when the last save worked, else what went wrong.
  std::string lastSaveError() const;

 private:
  void load();
  void saveLocked();
  void notify(const std::string& key);

  std::filesystem::path file_;
  mutable std::mutex mutex_;
  nlohmann::json values_ = nlohmann::json::object();
  nlohmann::json defaults_ = nlohmann::json::object();
  std::map<int, Observer> observers_;
  int nextToken_ = 1;
  std::string lastSaveError_;
};

}  // namespace velmora
