#pragma once
#include <string>

namespace velmora::app {

// The terminal's own clipboard (the OSC 52 escape sequence): it works over
// ssh and inside tmux, where no desktop clipboard can be reached.
struct TerminalClipboard {
  // Standard base64 with padding (RFC 4648, section 4).
  static std::string base64(const std::string& bytes);
  // The sequence that puts `text` on the clipboard.
  static std::string copySequence(const std::string& text);
  // Writes it to standard output; false when the write failed.
  static bool copy(const std::string& text);
};

}  // namespace velmora::app
