#include "stores/PreferenceStore.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>
#include <fstream>
#include <memory>
#include <sstream>
#include <system_error>

#include "common/AppDirectories.h"
#include "common/JSONText.h"
#include "common/Logger.h"
#include "common/MainQueue.h"

namespace velmora {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {
std::mutex sharedMutex;
std::unique_ptr<PreferenceStore>& sharedSlot() {
  static std::unique_ptr<PreferenceStore> slot;
  return slot;
}

// Writes bytes to a temporary file beside `file`, syncs and renames it over.
std::string writeAtomically(const fs::path& file, const std::string& bytes) {
  std::error_code ec;
  fs::create_directories(file.parent_path(), ec);
  fs::path temporary = file;
  temporary += ".tmp-" + std::to_string(::getpid());
  int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return "cannot create " + temporary.string() + ": " + std::strerror(errno);
  const char* p = bytes.data();
  std::size_t left = bytes.size();
  while (left > 0) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      std::string error = std::strerror(errno);
      ::close(fd);
      fs::remove(temporary, ec);
      return "cannot write " + temporary.string() + ": " + error;
    }
    p += n;
    left -= static_cast<std::size_t>(n);
  }
  if (::fsync(fd) != 0 || ::close(fd) != 0) {
    fs::remove(temporary, ec);
    return "cannot sync " + temporary.string();
  }
  fs::rename(temporary, file, ec);
  if (ec) {
    fs::remove(temporary, ec);
    return "cannot replace " + file.string() + ": " + ec.message();
  }
  return {};
}

fs::path freeDamagedName(const fs::path& file) {
  for (int n = 1;; ++n) {
    fs::path candidate = file;
    candidate += ".damaged-" + std::to_string(n);
    std::error_code ec;
    if (!fs::exists(candidate, ec)) return candidate;
  }
}
}  // namespace

PreferenceStore::PreferenceStore(fs::path file) : file_(std::move(file)) { load(); }

PreferenceStore& PreferenceStore::shared() {
  std::lock_guard guard(sharedMutex);
  auto& slot = sharedSlot();
  if (!slot) slot = std::make_unique<PreferenceStore>(AppDirectories::preferencesFile());
  return *slot;
}

void PreferenceStore::resetShared(fs::path file) {
  std::lock_guard guard(sharedMutex);
  sharedSlot() = std::make_unique<PreferenceStore>(std::move(file));
}

void PreferenceStore::load() {
  std::error_code ec;
  if (!fs::exists(file_, ec)) return;
  std::ifstream in(file_, std::ios::binary);
  std::stringstream buffer;
  buffer << in.rdbuf();
  json parsed = json::parse(buffer.str(), nullptr, /*allow_exceptions=*/false);
  if (parsed.is_object()) {
    values_ = std::move(parsed);
    return;
  }
  // Keep the damaged file for the user to inspect; never write over it.
  fs::path aside = freeDamagedName(file_);
  fs::rename(file_, aside, ec);
  std::string what = "Preferences: the file " + file_.string() + " could not be read as settings";
  what += ec ? " and could not be moved aside (" + ec.message() + ")"
             : "; it was kept as " + aside.string() + " and defaults are in use";
  Logger::shared().log(what);
}

void PreferenceStore::registerDefaults(const json& defaults) {
  if (!defaults.is_object()) return;
  std::lock_guard guard(mutex_);
  for (auto& [key, value] : defaults.items()) defaults_[key] = value;
}

json PreferenceStore::objectForKey(std::string_view key) const {
  std::lock_guard guard(mutex_);
  std::string k(key);
  if (auto it = values_.find(k); it != values_.end()) return *it;
  if (auto it = defaults_.find(k); it != defaults_.end()) return *it;
  return nullptr;
}

bool PreferenceStore::boolForKey(std::string_view key) const {
  json v = objectForKey(key);
  if (v.is_boolean()) return v.get<bool>();
  if (v.is_number()) return v.get<double>() != 0;
  if (v.is_string()) {
    auto s = v.get<std::string>();
    return s == "YES" || s == "yes" || s == "true" || s == "1";
  }
  return false;
}

std::int64_t PreferenceStore::integerForKey(std::string_view key) const {
  json v = objectForKey(key);
  if (v.is_number_integer()) return v.get<std::int64_t>();
  if (v.is_number()) return static_cast<std::int64_t>(v.get<double>());
  if (v.is_boolean()) return v.get<bool>() ? 1 : 0;
  if (v.is_string()) {
    try {
      return std::stoll(v.get<std::string>());
    } catch (...) {
    }
  }
  return 0;
}

double PreferenceStore::doubleForKey(std::string_view key) const {
  json v = objectForKey(key);
  if (v.is_number()) return v.get<double>();
  if (v.is_boolean()) return v.get<bool>() ? 1 : 0;
  if (v.is_string()) {
    try {
      return std::stod(v.get<std::string>());
    } catch (...) {
    }
  }
  return 0;
}

std::string PreferenceStore::stringForKey(std::string_view key) const {
  json v = objectForKey(key);
  if (v.is_string()) return v.get<std::string>();
  if (v.is_number() || v.is_boolean()) return JSONText::dump(v);
  return {};
}

bool PreferenceStore::hasUserValue(std::string_view key) const {
  std::lock_guard guard(mutex_);
  return values_.contains(std::string(key));
}

std::optional<json> PreferenceStore::defaultValue(std::string_view key) const {
  std::lock_guard guard(mutex_);
  if (auto it = defaults_.find(std::string(key)); it != defaults_.end()) return *it;
  return std::nullopt;
}

json PreferenceStore::userValues() const {
  std::lock_guard guard(mutex_);
  return values_;
}

json PreferenceStore::defaults() const {
  std::lock_guard guard(mutex_);
  return defaults_;
}

void PreferenceStore::set(std::string_view key, json value) {
  {
    std::lock_guard guard(mutex_);
    values_[std::string(key)] = std::move(value);
    saveLocked();
  }
  notify(std::string(key));
}

void PreferenceStore::remove(std::string_view key) {
  {
    std::lock_guard guard(mutex_);
    if (values_.erase(std::string(key)) == 0) return;
    saveLocked();
  }
  notify(std::string(key));
}

void PreferenceStore::saveLocked() {
  std::string error = writeAtomically(file_, JSONText::dump(values_, 2) + "\n");
  if (!error.empty() && error != lastSaveError_)
    Logger::shared().log("Preferences: settings not saved: " + error);
  lastSaveError_ = error;
}

std::string PreferenceStore::lastSaveError() const {
  std::lock_guard guard(mutex_);
  return lastSaveError_;
}

int PreferenceStore::addObserver(Observer observer) {
  std::lock_guard guard(mutex_);
  int token = nextToken_++;
  observers_.emplace(token, std::move(observer));
  return token;
}

void PreferenceStore::removeObserver(int token) {
  std::lock_guard guard(mutex_);
  observers_.erase(token);
}

void PreferenceStore::notify(const std::string& key) {
  std::vector<Observer> observers;
  {
    std::lock_guard guard(mutex_);
    for (auto& [token, o] : observers_) observers.push_back(o);
  }
  if (observers.empty()) return;
  MainQueue::async([observers = std::move(observers), key] {
    for (auto& o : observers) o(key);
  });
}

}  // namespace velmora
