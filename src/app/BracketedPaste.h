#pragma once
#include <cstddef>
#include <string>

namespace velmora::app {

// A paste the terminal brackets with ESC [200~ and ESC [201~ (bracketed
// paste mode): what comes between the two marks is text, never key commands,
// whichever part of the window has the focus.
class BracketedPaste {
 public:
  // More than this is dropped: the field keeps one line anyway.
  static constexpr std::size_t maximumBytes = 1 << 20;
  // Sequences that switch the mode on and off.
  static constexpr const char* enableSequence = "\x1b[?2004h";
  static constexpr const char* disableSequence = "\x1b[?2004l";
  static constexpr const char* startMark = "\x1b[200~";
  static constexpr const char* endMark = "\x1b[201~";

  // The key codes the terminal library gives for the two marks.
  BracketedPaste(int startKey, int endKey) : startKey_(startKey), endKey_(endKey) {}

  enum class Step { notPaste, inPaste, ended };
  // Each key read from the terminal: `functionKey` for the library's own key
  // codes, else `key` is a character.
  Step feed(bool functionKey, unsigned key);
  bool active() const { return active_; }
  // The text of the paste that ended; empties it.
  std::string take();

 private:
  int startKey_;
  int endKey_;
  bool active_ = false;
  std::string text_;
};

}  // namespace velmora::app
