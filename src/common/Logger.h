#pragma once
#include <atomic>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <fmt/format.h>

#include "common/Clock.h"

namespace velmora {

// The program's log: lines of the form "d/M Hmm:ss.SSS <text>" appended to
// "Today's Log.txt" in the caches folder, and printed to standard error when
// asked (`velmora --log-stderr`). Never to standard output: that belongs to
// the command's own output (`--json`, `prefs get`). The first line of a new
// day moves the file to "Previous Log.txt", so two days are kept at most.
class Logger {
 public:
  struct LogURLs {
    std::filesystem::path currentLogURL;
    std::filesystem::path yesterdayLogURL;
  };
  using Delegate = std::function<void(const std::string& line)>;

  static Logger& shared();

  // Logging is off by default: LogFunc then returns before formatting.
  static bool isEnabled() { return enabled_.load(std::memory_order_relaxed); }
  static void setEnabled(bool on) { enabled_.store(on, std::memory_order_relaxed); }

  void log(std::string_view message);

  // "d/M Hmm:ss.SSS" of the local time (no colon between hours and minutes).
  static std::string formatTime(Date date);
  LogURLs logURLs() const;

  // Test and front-end hooks.
  void setFolder(std::filesystem::path folder);  // default: the caches folder
  void setClock(const Clock* clock);             // default: the system clock
  void setEcho(bool toStandardError);            // default: off
  // Told of each new line on the main queue; returns a token for removal.
  int addDelegate(Delegate delegate);
  void removeDelegate(int token);

 private:
  Logger() = default;
  void rotateIfNeeded(const LogURLs& urls, Date now);
  static std::atomic<bool> enabled_;
  struct State;
  State& state() const;
};

// The single log call. Callers use VLOG, which skips all formatting when
// logging is off.
void LogFunc(std::string_view filePath, int line, std::string_view funcy, std::string_view message);

}  // namespace velmora

#define VLOG(...)                                                                   \
  do {                                                                              \
    if (::velmora::Logger::isEnabled())                                             \
      ::velmora::LogFunc(__FILE__, __LINE__, __func__, ::fmt::format(__VA_ARGS__)); \
  } while (0)
