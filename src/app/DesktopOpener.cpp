#include "app/DesktopOpener.h"

#include <algorithm>

#include "common/ChildProcess.h"

namespace velmora::app {

DesktopOpener::DesktopOpener(Launcher launcher) : launcher_(std::move(launcher)) {
  if (!launcher_)
    launcher_ = [](const std::vector<std::string>& arguments) {
      auto started = ChildProcess::spawnQuietly(arguments, /*searchPath=*/true);
      if (!started) return false;
      ChildProcess::reapInBackground(started.pid);
      return true;
    };
}

std::vector<std::string> DesktopOpener::targets(const std::vector<std::string>& paths, bool revealFolder) {
  std::vector<std::string> out;
  for (const auto& path : paths) {
    std::string target = path;
    if (revealFolder) {
      auto slash = target.find_last_of('/');
      target = slash == 0 || slash == std::string::npos ? "/" : target.substr(0, slash);
    }
    if (std::find(out.begin(), out.end(), target) == out.end()) out.push_back(std::move(target));
  }
  return out;
}

void DesktopOpener::enqueue(const std::vector<std::string>& targets) {
  queue_.insert(queue_.end(), targets.begin(), targets.end());
}

std::optional<std::string> DesktopOpener::startSome() {
  for (std::size_t started = 0; started < startsPerTurn && !queue_.empty(); ++started) {
    std::string target = std::move(queue_.front());
    queue_.pop_front();
    if (!launcher_({"xdg-open", target})) {
      queue_.clear();
      return "Could not start xdg-open to open " + target;
    }
  }
  return std::nullopt;
}

}  // namespace velmora::app
