#pragma once
#include <string>
#include <vector>

namespace velmora::app {

// The text of the window's help overlay: its keys and a few queries.
struct TerminalWindowHelp {
  static const std::vector<std::string>& lines();
};

}  // namespace velmora::app
