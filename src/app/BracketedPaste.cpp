#include "app/BracketedPaste.h"

#include "app/TerminalText.h"

namespace velmora::app {

BracketedPaste::Step BracketedPaste::feed(bool functionKey, unsigned key) {
  if (functionKey && static_cast<int>(key) == startKey_) {
    active_ = true;
    text_.clear();
    return Step::inPaste;
  }
  if (!active_) return Step::notPaste;
  if (functionKey && static_cast<int>(key) == endKey_) {
    active_ = false;
    return Step::ended;
  }
  // The library's own codes inside a paste (a stray arrow sequence) are no text.
  if (!functionKey && text_.size() < maximumBytes) text_ += TerminalText::encode(static_cast<char32_t>(key));
  return Step::inPaste;
}

std::string BracketedPaste::take() {
  std::string text;
  text.swap(text_);
  return text;
}

}  // namespace velmora::app
