#pragma once
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "common/Result.h"

namespace velmora {

// The user's lasting settings: one JSON object in a file, written atomically
// (temporary file, fsync, rename). Registered defaults are a separate layer
// that is consulted for absent keys and never written back. Absent keys, and
// stored values that cannot be read as the type asked for, read as their
// default, else as false, 0 or empty.
//
// Several processes share the file (`velmora serve`, windows, the command
// line), so every change is a read-modify-write of the one key it changes,
// under an exclusive flock on "<file>.lock" beside it: what another process
// wrote in between is kept. Strings that are not UTF-8 (file names are
// bytes) are kept byte for byte; see JSONByteStrings for their form in the
// file.
//
// A damaged file (not JSON, not an object, nested deeper than maximumDepth,
// a folder) is moved aside as "<name>.damaged-<n>", reported once in the
// log, and the store starts from its defaults: nothing is overwritten
// silently and nothing crashes. A file that exists but cannot be read (no
// permission, an I/O error) is left where it is and reported; changes are
// then refused rather than written over settings that were never read.
class PreferenceStore {
 public:
  using Observer = std::function<void(const std::string& key)>;
  // Gets the key's value on disk now (null when absent) and returns the new
  // value, or nothing to leave the key as it is. Runs under the store's
  // locks: it must not call the store.
  using Change = std::function<std::optional<nlohmann::json>(const nlohmann::json& current)>;

  // Settings are shallow; anything deeper is damage, not data.
  static constexpr int maximumDepth = 64;

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

  // Change one key on top of the file as it is now and save; observers are
  // told on the main queue. A failure is returned and nothing is saved.
  Status setValue(std::string_view key, nlohmann::json value);
  Status removeValue(std::string_view key);
  Status update(std::string_view key, const Change& change);
  // setValue and removeValue for callers with no one to tell: a failure is
  // written to the log.
  void set(std::string_view key, nlohmann::json value);
  void remove(std::string_view key);

  // How the file read last time: ok (also when there is no file yet),
  // corruption (it was moved aside) or the error that kept it from being read.
  Status loadStatus() const;

  // Called on the main queue after each change, with the key that changed.
  int addObserver(Observer observer);
  void removeObserver(int token);

  const std::filesystem::path& file() const { return file_; }
  std::filesystem::path lockFile() const;

 private:
  struct Disk;
  Disk readDisk() const;
  void load();
  Status change(std::string_view key, const Change& change);
  void notify(const std::string& key);

  std::filesystem::path file_;
  mutable std::mutex mutex_;
  nlohmann::json values_ = nlohmann::json::object();
  nlohmann::json defaults_ = nlohmann::json::object();
  Status loadStatus_;
  std::map<int, Observer> observers_;
  int nextToken_ = 1;
};

}  // namespace velmora
