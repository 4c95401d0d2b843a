#include "app/TerminalClipboard.h"

#include <unistd.h>

#include <cerrno>

namespace velmora::app {

std::string TerminalClipboard::base64(const std::string& bytes) {
  static const char digits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  auto byte = [&](std::size_t i) { return static_cast<unsigned>(static_cast<unsigned char>(bytes[i])); };
  std::string out;
  out.reserve((bytes.size() + 2) / 3 * 4);
  std::size_t i = 0;
  for (; i + 2 < bytes.size(); i += 3) {
    unsigned v = (byte(i) << 16) | (byte(i + 1) << 8) | byte(i + 2);
    out += {digits[v >> 18], digits[(v >> 12) & 63], digits[(v >> 6) & 63], digits[v & 63]};
  }
  if (i + 1 == bytes.size()) {
    unsigned v = byte(i) << 16;
    out += {digits[v >> 18], digits[(v >> 12) & 63], '=', '='};
  } else if (i + 2 == bytes.size()) {
    unsigned v = (byte(i) << 16) | (byte(i + 1) << 8);
    out += {digits[v >> 18], digits[(v >> 12) & 63], digits[(v >> 6) & 63], '='};
  }
  return out;
}

std::string TerminalClipboard::copySequence(const std::string& text) {
  return "\x1b]52;c;" + base64(text) + "\x07";
}

bool TerminalClipboard::copy(const std::string& text) {
  std::string sequence = copySequence(text);
  std::size_t written = 0;
  while (written < sequence.size()) {
    ssize_t n = ::write(STDOUT_FILENO, sequence.data() + written, sequence.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    written += static_cast<std::size_t>(n);
  }
  return true;
}

}  // namespace velmora::app
