#pragma once
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace velmora::app {

// Hands items to the desktop's opener (xdg-open). Openers start a few per
// turn of the main loop, so that opening many items never stalls the window
// and quitting drops the ones not yet started. More than `askAbove` items are
// confirmed first, as file managers do.
class DesktopOpener {
 public:
  // Starts one program with these arguments; false when it could not start.
  using Launcher = std::function<bool(const std::vector<std::string>& arguments)>;
  static constexpr std::size_t askAbove = 5;
  static constexpr std::size_t startsPerTurn = 4;

  // Without a launcher, xdg-open is started with its output discarded.
  explicit DesktopOpener(Launcher launcher = {});

  // What to open: the items themselves, or their folders, each folder once.
  static std::vector<std::string> targets(const std::vector<std::string>& paths, bool revealFolder);
  static bool needsConfirmation(std::size_t count) { return count > askAbove; }

  void enqueue(const std::vector<std::string>& targets);
  // Starts up to startsPerTurn openers. On a failure the rest is dropped and
  // the message says what could not be opened.
  std::optional<std::string> startSome();
  void cancel() { queue_.clear(); }
  std::size_t pending() const { return queue_.size(); }

 private:
  Launcher launcher_;
  std::deque<std::string> queue_;
};

}  // namespace velmora::app
