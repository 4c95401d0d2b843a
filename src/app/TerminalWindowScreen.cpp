#include "app/TerminalWindowScreen.h"

#include <curses.h>
#include <signal.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <clocale>
#include <cstdlib>
#include <cstring>

#include "app/BracketedPaste.h"

namespace velmora::app {

namespace {
std::atomic<int> gInterrupted{0};
struct termios gSavedTerminal;
bool gHaveSavedTerminal = false;

void onInterrupt(int signal) { gInterrupted = signal; }

void writeAll(const char* text) {
  std::size_t length = std::strlen(text);
  while (length > 0) {
    ssize_t n = ::write(STDOUT_FILENO, text, length);
    if (n <= 0) return;
    text += n;
    length -= static_cast<std::size_t>(n);
  }
}

// Only async-signal-safe calls: put the saved terminal modes back, leave the
// alternate screen, show the cursor, then die by the same signal.
void onCrash(int signal) {
  if (gHaveSavedTerminal) ::tcsetattr(STDIN_FILENO, TCSANOW, &gSavedTerminal);
  static const char reset[] = "\x1b[?2004l\x1b[0m\x1b[?1049l\x1b[?25h\r\n";
  ssize_t ignored = ::write(STDOUT_FILENO, reset, sizeof reset - 1);
  (void)ignored;
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

void install(int signal, void (*handler)(int)) {
  struct sigaction action {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  ::sigaction(signal, &action, nullptr);
}
}  // namespace

TerminalWindowScreen::TerminalWindowScreen() {
  if (!::isatty(STDIN_FILENO) || !::isatty(STDOUT_FILENO)) return;
  gHaveSavedTerminal = ::tcgetattr(STDIN_FILENO, &gSavedTerminal) == 0;
  std::setlocale(LC_ALL, "");
  if (!initscr()) return;
  ok_ = true;
  cbreak();
  noecho();
  nonl();
  keypad(stdscr, TRUE);
  // ESCDELAY in the environment (read by initscr) wins over our default.
  if (!std::getenv("ESCDELAY")) set_escdelay(25);
  define_key(BracketedPaste::startMark, pasteStartKey());
  define_key(BracketedPaste::endMark, pasteEndKey());
  writeAll(BracketedPaste::enableSequence);
  timeout(50);
  install(SIGINT, onInterrupt);
  install(SIGTERM, onInterrupt);
  for (int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL}) install(signal, onCrash);
  if (has_colors()) {
    colors_ = true;
    start_color();
    use_default_colors();
    init_pair(recognised, COLOR_BLUE, -1);
    init_pair(error, COLOR_RED, -1);
    init_pair(header, COLOR_BLACK, COLOR_CYAN);
    init_pair(dim, COLOR_WHITE, -1);
    init_pair(accent, COLOR_GREEN, -1);
  }
}

TerminalWindowScreen::~TerminalWindowScreen() {
  if (!ok_) return;
  writeAll(BracketedPaste::disableSequence);
  endwin();
  for (int signal : {SIGSEGV, SIGABRT, SIGBUS, SIGFPE, SIGILL, SIGINT, SIGTERM}) ::signal(signal, SIG_DFL);
  if (gHaveSavedTerminal) ::tcsetattr(STDIN_FILENO, TCSANOW, &gSavedTerminal);
}

bool TerminalWindowScreen::interrupted() { return gInterrupted.load() != 0; }
int TerminalWindowScreen::interruptingSignal() { return gInterrupted.load(); }
int TerminalWindowScreen::pasteStartKey() { return KEY_MAX + 1; }
int TerminalWindowScreen::pasteEndKey() { return KEY_MAX + 2; }

}  // namespace velmora::app
