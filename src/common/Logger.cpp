#include "common/Logger.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <ctime>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>

#include "common/AppDirectories.h"
#include "common/MainQueue.h"

namespace velmora {

namespace fs = std::filesystem;

std::atomic<bool> Logger::enabled_{false};

struct Logger::State {
  std::mutex mutex;  // guards the settings below, never held while writing
  fs::path folder;
  const Clock* clock = &Clock::system();
  bool echo = false;
  std::map<int, Delegate> delegates;
  int nextToken = 1;
};

Logger::State& Logger::state() const {
  static State instance;
  return instance;
}

Logger& Logger::shared() {
  static Logger instance;
  return instance;
}

void Logger::setFolder(fs::path folder) {
  std::lock_guard guard(state().mutex);
  state().folder = std::move(folder);
}

void Logger::setClock(const Clock* clock) {
  std::lock_guard guard(state().mutex);
  state().clock = clock ? clock : &Clock::system();
}

void Logger::setEcho(bool toStandardError) {
  std::lock_guard guard(state().mutex);
  state().echo = toStandardError;
}

int Logger::addDelegate(Delegate delegate) {
  std::lock_guard guard(state().mutex);
  int token = state().nextToken++;
  state().delegates.emplace(token, std::move(delegate));
  return token;
}

void Logger::removeDelegate(int token) {
  std::lock_guard guard(state().mutex);
  state().delegates.erase(token);
}

Logger::LogURLs Logger::logURLs() const {
  fs::path folder;
  {
    std::lock_guard guard(state().mutex);
    folder = state().folder;
  }
  if (folder.empty()) folder = AppDirectories::appCachesDirectory();
  return {folder / "Today's Log.txt", folder / "Previous Log.txt"};
}

namespace {
std::tm localTime(Date date) {
  std::time_t t = std::chrono::system_clock::to_time_t(date);
  std::tm parts{};
  localtime_r(&t, &parts);
  return parts;
}

bool sameLocalDay(Date a, Date b) {
  std::tm x = localTime(a), y = localTime(b);
  return x.tm_year == y.tm_year && x.tm_yday == y.tm_yday;
}

// The file's birth time where the file system records one, else its
// modification time.
std::optional<Date> creationDate(const fs::path& file) {
  struct statx info {};
  if (statx(AT_FDCWD, file.c_str(), 0, STATX_BTIME | STATX_MTIME, &info) != 0) return std::nullopt;
  const statx_timestamp& ts = (info.stx_mask & STATX_BTIME) ? info.stx_btime : info.stx_mtime;
  return Date(std::chrono::duration_cast<Date::duration>(std::chrono::seconds(ts.tv_sec) +
                                                         std::chrono::nanoseconds(ts.tv_nsec)));
}

// Failures of the logger go to standard error, never back into the log.
void selfReport(const std::string& text) { std::fprintf(stderr, "%s\n", text.c_str()); }
}  // namespace

std::string Logger::formatTime(Date date) {
  std::tm parts = localTime(date);
  auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(date.time_since_epoch()).count() % 1000;
  if (millis < 0) millis += 1000;
  return fmt::format("{}/{} {}{:02}:{:02}.{:03}", parts.tm_mday, parts.tm_mon + 1, parts.tm_hour,
                     parts.tm_min, parts.tm_sec, millis);
}

void Logger::rotateIfNeeded(const LogURLs& urls, Date now) {
  std::error_code ec;
  if (!fs::exists(urls.currentLogURL, ec)) return;
  auto created = creationDate(urls.currentLogURL);
  if (!created || sameLocalDay(*created, now)) return;
  if (fs::exists(urls.yesterdayLogURL, ec)) {
    fs::remove(urls.yesterdayLogURL, ec);
    if (ec) selfReport("Logger: Remove yesterday failed: " + ec.message());
  }
  fs::rename(urls.currentLogURL, urls.yesterdayLogURL, ec);
  if (ec) selfReport("Logger: Rename current to yesterday failed: " + ec.message());
}

void Logger::log(std::string_view message) {
  const Clock* clock;
  bool echo;
  std::vector<Delegate> delegates;
  {
    std::lock_guard guard(state().mutex);
    clock = state().clock;
    echo = state().echo;
    for (auto& [token, d] : state().delegates) delegates.push_back(d);
  }
  Date now = clock->now();
  std::string line = formatTime(now) + " " + std::string(message);
  if (line.empty() || line.back() != '\n') line += '\n';

  if (echo) std::fwrite(line.data(), 1, line.size(), stderr);
  if (!delegates.empty())
    MainQueue::async([delegates = std::move(delegates), line] {
      for (auto& d : delegates) d(line);
    });

  LogURLs urls = logURLs();
  std::error_code ec;
  fs::create_directories(urls.currentLogURL.parent_path(), ec);
  rotateIfNeeded(urls, now);
  // One handle per line, opened for appending: lines of two threads may
  // interleave only at line granularity.
  int fd = ::open(urls.currentLogURL.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
  if (fd < 0) {
    selfReport("Logger: Can't open log file: " + urls.currentLogURL.string());
    return;
  }
  ssize_t written = ::write(fd, line.data(), line.size());
  (void)written;
  ::close(fd);
}

void LogFunc(std::string_view filePath, int line, std::string_view funcy, std::string_view message) {
  if (!Logger::isEnabled()) return;
  std::string_view file = filePath;
  if (auto slash = file.rfind('/'); slash != std::string_view::npos) file.remove_prefix(slash + 1);
  if (auto dot = file.rfind('.'); dot != std::string_view::npos) file = file.substr(0, dot);
  std::string_view function = funcy.substr(0, funcy.find('('));
  Logger::shared().log(fmt::format("{} {}:{} {}", file, function, line, message));
}

}  // namespace velmora
