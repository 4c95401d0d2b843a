#include "stores/PreferenceStore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <system_error>
#include <vector>

#include "common/AppDirectories.h"
#include "common/JSONText.h"
#include "common/Logger.h"
#include "common/MainQueue.h"
#include "stores/JSONByteStrings.h"

namespace velmora {

namespace fs = std::filesystem;
using nlohmann::json;

namespace {
std::mutex sharedMutex;
std::unique_ptr<PreferenceStore>& sharedSlot() {
  static std::unique_ptr<PreferenceStore> slot;
  return slot;
}

// A settings file is a few kilobytes; anything this large is not one.
constexpr off_t kLargestFile = 16 * 1024 * 1024;

// An exclusive flock on the lock file beside the preferences, held while it
// lives. flock belongs to the open file, so two threads of one process
// exclude each other as two processes do.
class LockedFile {
 public:
  explicit LockedFile(const fs::path& path) {
    std::error_code ec;
    fs::create_directories(path.parent_path(), ec);
    int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
    int error = errno;
    // A read-only home still has a lock to take when the file exists.
    if (fd < 0 && (error == EROFS || error == EACCES)) fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    if (fd < 0) {
      status_ = Status::fromErrno(error, "cannot lock " + path.string());
      return;
    }
    while (::flock(fd, LOCK_EX) != 0) {
      if (errno == EINTR) continue;
      status_ = Status::fromErrno(errno, "cannot lock " + path.string());
      ::close(fd);
      return;
    }
    fd_ = fd;
  }
  ~LockedFile() {
    if (fd_ >= 0) ::close(fd_);
  }
  LockedFile(const LockedFile&) = delete;
  LockedFile& operator=(const LockedFile&) = delete;
  const Status& status() const { return status_; }

 private:
  int fd_ = -1;
  Status status_;
};

// Nesting depth and finite numbers, checked without recursion so that no
// value can overflow the stack on its way to the file.
Status checkStorable(const json& value) {
  std::vector<std::pair<const json*, int>> pending{{&value, 1}};
  while (!pending.empty()) {
    auto [node, depth] = pending.back();
    pending.pop_back();
    if (node->is_number_float() && !std::isfinite(node->get<double>()))
      return Status::invalidArgument("a setting cannot hold an infinite or undefined number");
    if (!node->is_structured()) continue;
    if (depth > PreferenceStore::maximumDepth)
      return Status::invalidArgument("a setting cannot be nested deeper than " +
                                     std::to_string(PreferenceStore::maximumDepth) + " levels");
    for (const auto& child : *node) pending.emplace_back(&child, depth + 1);
  }
  return {};
}

// Follows the nesting of a JSON text without building it: settings nested
// deeper than maximumDepth are damage, and building them would only risk
// the stack later.
class DepthCheck : public nlohmann::json_sax<json> {
 public:
  bool tooDeep = false;
  bool null() override { return true; }
  bool boolean(bool) override { return true; }
  bool number_integer(number_integer_t) override { return true; }
  bool number_unsigned(number_unsigned_t) override { return true; }
  bool number_float(number_float_t, const string_t&) override { return true; }
  bool string(string_t&) override { return true; }
  bool binary(binary_t&) override { return true; }
  bool start_object(std::size_t) override { return enter(); }
  bool key(string_t&) override { return true; }
  bool end_object() override { return leave(); }
  bool start_array(std::size_t) override { return enter(); }
  bool end_array() override { return leave(); }
  bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

 private:
  bool enter() {
    if (++depth_ <= PreferenceStore::maximumDepth) return true;
    tooDeep = true;
    return false;
  }
  bool leave() {
    --depth_;
    return true;
  }
  int depth_ = 0;
};

// Writes bytes to a temporary file beside `file`, syncs and renames it over.
Status writeAtomically(const fs::path& file, const std::string& bytes) {
  std::error_code ec;
  fs::create_directories(file.parent_path(), ec);
  fs::path temporary = file;
  temporary += ".tmp-" + std::to_string(::getpid());
  int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return Status::fromErrno(errno, "cannot create " + temporary.string());
  auto fail = [&](const std::string& what) {
    Status status = Status::fromErrno(errno, what + " " + temporary.string());
    ::close(fd);
    ::unlink(temporary.c_str());
    return status;
  };
  const char* p = bytes.data();
  std::size_t left = bytes.size();
  while (left > 0) {
    ssize_t n = ::write(fd, p, left);
    if (n < 0) {
      if (errno == EINTR) continue;
      return fail("cannot write");
    }
    p += n;
    left -= static_cast<std::size_t>(n);
  }
  if (::fsync(fd) != 0) return fail("cannot sync");
  if (::close(fd) != 0) {
    Status status = Status::fromErrno(errno, "cannot write " + temporary.string());
    ::unlink(temporary.c_str());
    return status;
  }
  if (::rename(temporary.c_str(), file.c_str()) != 0) {
    Status status = Status::fromErrno(errno, "cannot replace " + file.string());
    ::unlink(temporary.c_str());
    return status;
  }
  // The rename itself lasts only once the folder is on disk too.
  int folder = ::open(file.parent_path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder >= 0) {
    ::fsync(folder);
    ::close(folder);
  }
  return {};
}

fs::path freeDamagedName(const fs::path& file) {
  for (int n = 1;; ++n) {
    fs::path candidate = file;
    candidate += ".damaged-" + std::to_string(n);
    std::error_code ec;
    // Not even a dangling link may be renamed over.
    if (fs::symlink_status(candidate, ec).type() == fs::file_type::not_found) return candidate;
  }
}

// Typed readings of a stored value; nothing when it cannot be read as the
// type, so that the default stands in for it.
std::optional<bool> asBool(const json& v) {
  if (v.is_boolean()) return v.get<bool>();
  if (v.is_number()) return v.get<double>() != 0;
  if (v.is_string()) {
    const auto& s = v.get_ref<const std::string&>();
    if (s == "YES" || s == "yes" || s == "true" || s == "1") return true;
    if (s == "NO" || s == "no" || s == "false" || s == "0") return false;
  }
  return std::nullopt;
}

std::optional<std::int64_t> asInteger(const json& v) {
  if (v.is_number_unsigned()) {
    auto u = v.get<std::uint64_t>();
    if (u > static_cast<std::uint64_t>(INT64_MAX)) return std::nullopt;
    return static_cast<std::int64_t>(u);
  }
  if (v.is_number_integer()) return v.get<std::int64_t>();
  if (v.is_number_float()) {
    double d = v.get<double>();
    // The range check keeps the conversion defined.
    if (!std::isfinite(d) || d < -9.2e18 || d > 9.2e18) return std::nullopt;
    return static_cast<std::int64_t>(d);
  }
  if (v.is_boolean()) return v.get<bool>() ? 1 : 0;
  if (v.is_string()) {
    const auto& s = v.get_ref<const std::string&>();
    if (s.empty()) return std::nullopt;
    char* end = nullptr;
    errno = 0;
    long long parsed = std::strtoll(s.c_str(), &end, 10);
    if (*end != '\0' || errno == ERANGE) return std::nullopt;
    return parsed;
  }
  return std::nullopt;
}

std::optional<double> asDouble(const json& v) {
  if (v.is_number()) {
    double d = v.get<double>();
    if (std::isfinite(d)) return d;
    return std::nullopt;
  }
  if (v.is_boolean()) return v.get<bool>() ? 1 : 0;
  if (v.is_string()) {
    const auto& s = v.get_ref<const std::string&>();
    if (s.empty()) return std::nullopt;
    char* end = nullptr;
    double parsed = std::strtod(s.c_str(), &end);
    if (*end != '\0' || !std::isfinite(parsed)) return std::nullopt;
    return parsed;
  }
  return std::nullopt;
}

std::optional<std::string> asString(const json& v) {
  if (v.is_string()) return v.get<std::string>();
  if (v.is_number() || v.is_boolean()) return JSONText::dump(v);
  return std::nullopt;
}
}  // namespace

struct PreferenceStore::Disk {
  enum class State { absent, ok, unreadable, damaged };
  State state = State::absent;
  json values = json::object();
  Status problem;  // why it is unreadable or damaged
};

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

fs::path PreferenceStore::lockFile() const {
  fs::path lock = file_;
  lock += ".lock";
  return lock;
}

PreferenceStore::Disk PreferenceStore::readDisk() const {
  Disk disk;
  // Non-blocking, so that a FIFO in the file's place cannot hang us.
  int fd = ::open(file_.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) {
    if (errno == ENOENT) return disk;
    disk.state = Disk::State::unreadable;
    disk.problem = Status::fromErrno(errno, "cannot read " + file_.string());
    return disk;
  }
  auto damaged = [&](const std::string& why) {
    ::close(fd);
    disk.state = Disk::State::damaged;
    disk.problem = Status::corruption(file_.string() + " " + why);
    return disk;
  };
  struct stat info {};
  if (::fstat(fd, &info) != 0) {
    disk.state = Disk::State::unreadable;
    disk.problem = Status::fromErrno(errno, "cannot read " + file_.string());
    ::close(fd);
    return disk;
  }
  if (S_ISDIR(info.st_mode)) return damaged("is a folder");
  if (!S_ISREG(info.st_mode)) return damaged("is not a regular file");
  if (info.st_size > kLargestFile) return damaged("is too large to be settings");
  std::string text;
  text.resize(static_cast<std::size_t>(info.st_size));
  std::size_t got = 0;
  char chunk[65536];
  for (;;) {
    ssize_t n = ::read(fd, chunk, sizeof chunk);
    if (n < 0) {
      if (errno == EINTR) continue;
      disk.state = Disk::State::unreadable;
      disk.problem = Status::fromErrno(errno, "cannot read " + file_.string());
      ::close(fd);
      return disk;
    }
    if (n == 0) break;
    if (got + static_cast<std::size_t>(n) > static_cast<std::size_t>(kLargestFile))
      return damaged("is too large to be settings");
    if (got + static_cast<std::size_t>(n) > text.size()) text.resize(got + static_cast<std::size_t>(n));
    std::memcpy(text.data() + got, chunk, static_cast<std::size_t>(n));
    got += static_cast<std::size_t>(n);
  }
  text.resize(got);
  ::close(fd);

  DepthCheck depth;
  bool wellFormed = json::sax_parse(text, &depth, json::input_format_t::json, /*strict=*/true);
  if (depth.tooDeep) {
    disk.state = Disk::State::damaged;
    disk.problem = Status::corruption(file_.string() + " is nested deeper than " + std::to_string(maximumDepth) +
                                      " levels");
    return disk;
  }
  json parsed = wellFormed ? json::parse(text, nullptr, /*allow_exceptions=*/false) : json();
  if (!wellFormed || !parsed.is_object()) {
    disk.state = Disk::State::damaged;
    disk.problem = Status::corruption(file_.string() + (wellFormed ? " does not hold a JSON object"
                                                                   : " is not well-formed JSON"));
    return disk;
  }
  disk.state = Disk::State::ok;
  disk.values = JSONByteStrings::decoded(parsed);
  return disk;
}

namespace {
// Moves a damaged file aside under the store's file lock, so that it is the
// file that was read and never one a writer has put there since.
Status setAside(const fs::path& file, const Status& why) {
  fs::path aside = freeDamagedName(file);
  std::string what = "Preferences: the file " + file.string() + " could not be read as settings (" +
                     why.message() + ")";
  if (::rename(file.c_str(), aside.c_str()) != 0) {
    Status failed = Status::fromErrno(errno, "cannot move " + file.string() + " aside");
    Logger::shared().log(what + " and could not be moved aside (" + failed.message() + "); defaults are in use");
    return failed;
  }
  Logger::shared().log(what + "; it was kept as " + aside.string() + " and defaults are in use");
  return {};
}
}  // namespace

void PreferenceStore::load() {
  Disk disk = readDisk();
  if (disk.state == Disk::State::damaged) {
    LockedFile lock(lockFile());
    if (lock.status().ok()) disk = readDisk();  // a writer may have replaced it meanwhile
    if (disk.state == Disk::State::damaged) {
      setAside(file_, disk.problem).ignore();  // reported in the log either way
      loadStatus_ = Status::corruption(disk.problem.message() + "; it was moved aside and defaults are in use");
      return;
    }
  }
  switch (disk.state) {
    case Disk::State::ok:
      values_ = std::move(disk.values);
      break;
    case Disk::State::unreadable:
      loadStatus_ = disk.problem;
      Logger::shared().log("Preferences: " + disk.problem.message() +
                           "; defaults are in use and changes are not saved until it can be read");
      break;
    default:
      break;
  }
}

Status PreferenceStore::loadStatus() const {
  std::lock_guard guard(mutex_);
  return loadStatus_;
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

namespace {
// The user's value when it reads as the type, else the default's, else zero.
template <typename T, typename Convert>
T typedValue(const json& values, const json& defaults, std::string_view key, Convert convert, T zero) {
  std::string k(key);
  if (auto it = values.find(k); it != values.end())
    if (auto value = convert(*it)) return *value;
  if (auto it = defaults.find(k); it != defaults.end())
    if (auto value = convert(*it)) return *value;
  return zero;
}
}  // namespace

bool PreferenceStore::boolForKey(std::string_view key) const {
  std::lock_guard guard(mutex_);
  return typedValue(values_, defaults_, key, asBool, false);
}

std::int64_t PreferenceStore::integerForKey(std::string_view key) const {
  std::lock_guard guard(mutex_);
  return typedValue<std::int64_t>(values_, defaults_, key, asInteger, 0);
}

double PreferenceStore::doubleForKey(std::string_view key) const {
  std::lock_guard guard(mutex_);
  return typedValue(values_, defaults_, key, asDouble, 0.0);
}

std::string PreferenceStore::stringForKey(std::string_view key) const {
  std::lock_guard guard(mutex_);
  return typedValue(values_, defaults_, key, asString, std::string());
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

Status PreferenceStore::change(std::string_view key, const Change& edit) {
  std::string k(key);
  bool changed = false;
  Status status;
  {
    std::lock_guard guard(mutex_);
    LockedFile lock(lockFile());
    if (!lock.status().ok()) return lock.status();
    Disk disk = readDisk();
    json base = json::object();
    switch (disk.state) {
      case Disk::State::ok:
        base = std::move(disk.values);
        break;
      case Disk::State::absent:
        break;
      case Disk::State::unreadable:
        // Writing now would replace settings nobody could read.
        return Status(disk.problem.code(), disk.problem.message() + "; nothing was saved");
      case Disk::State::damaged:
        if (Status moved = setAside(file_, disk.problem); !moved.ok()) return moved;
        // What this process read before the damage is the best there is.
        base = values_;
        break;
    }
    json current = base.contains(k) ? base[k] : json();
    std::optional<json> next;
    try {
      next = edit(current);
    } catch (const json::exception& e) {
      return Status::internal(std::string("cannot change ") + k + ": " + e.what());
    }
    if (next) {
      if (next->is_discarded()) {
        changed = base.erase(k) > 0;
      } else {
        if (Status storable = checkStorable(*next); !storable.ok()) return storable;
        base[k] = std::move(*next);
        changed = true;
      }
    }
    if (changed) {
      // Every string is UTF-8 once encoded; JSONText's dump never throws besides.
      status = writeAtomically(file_, JSONText::dump(JSONByteStrings::encoded(base), 2) + "\n");
    }
    // Kept in memory even when the file could not be written, so that this
    // process goes on as the user asked; the caller reports the failure.
    values_ = std::move(base);
  }
  if (changed) notify(k);
  return status;
}

Status PreferenceStore::update(std::string_view key, const Change& edit) { return change(key, edit); }

Status PreferenceStore::setValue(std::string_view key, json value) {
  if (value.is_discarded()) return Status::invalidArgument("not a value");
  if (Status storable = checkStorable(value); !storable.ok()) return storable;
  return change(key, [&value](const json&) -> std::optional<json> { return std::move(value); });
}

Status PreferenceStore::removeValue(std::string_view key) {
  // A discarded value is how change() is told to remove the key.
  return change(key, [](const json&) -> std::optional<json> { return json(json::value_t::discarded); });
}

void PreferenceStore::set(std::string_view key, json value) {
  if (Status status = setValue(key, std::move(value)); !status.ok())
    Logger::shared().log("Preferences: \"" + std::string(key) + "\" not saved: " + status.message());
}

void PreferenceStore::remove(std::string_view key) {
  if (Status status = removeValue(key); !status.ok())
    Logger::shared().log("Preferences: \"" + std::string(key) + "\" not removed: " + status.message());
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
