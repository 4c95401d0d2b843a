#pragma once

namespace velmora::app {

// The terminal in window mode for as long as this object lives: ncurses
// started, bracketed paste on, the screen restored on destruction. Ctrl-C and
// SIGTERM only set a flag the window polls on every turn of its loop; a crash
// signal restores the terminal before the process dies, so the shell is never
// left in raw mode. The Escape delay is 25 ms unless ESCDELAY says otherwise.
class TerminalWindowScreen {
 public:
  TerminalWindowScreen();
  ~TerminalWindowScreen();
  TerminalWindowScreen(const TerminalWindowScreen&) = delete;
  TerminalWindowScreen& operator=(const TerminalWindowScreen&) = delete;

  bool ok() const { return ok_; }
  bool hasColors() const { return colors_; }
  // Ctrl-C or SIGTERM arrived.
  static bool interrupted();
  // The signal that arrived, 0 for none.
  static int interruptingSignal();
  // Key codes of the marks around a bracketed paste.
  static int pasteStartKey();
  static int pasteEndKey();

  // Colour pairs.
  enum Pair { normal = 0, recognised = 1, error = 2, header = 3, dim = 4, accent = 5 };

 private:
  bool ok_ = false;
  bool colors_ = false;
};

}  // namespace velmora::app
