#include "app/QueryFieldEditor.h"

#include "app/TerminalText.h"

namespace velmora::app {

void QueryFieldEditor::setText(std::string text) {
  text_ = std::move(text);
  if (cursor_ > text_.size()) cursor_ = text_.size();
  // Back to the start of a code point the cut may have split.
  while (cursor_ > 0 && cursor_ < text_.size() && (static_cast<unsigned char>(text_[cursor_]) & 0xC0) == 0x80)
    --cursor_;
}

bool QueryFieldEditor::insert(std::string_view typed) {
  std::string clean;
  clean.reserve(typed.size());
  for (char c : typed) {
    auto byte = static_cast<unsigned char>(c);
    if (c == '\t')
      clean += ' ';
    else if (byte >= 0x20 && byte != 0x7f)
      clean += c;
    else if (c == '\n' || c == '\r')
      clean += '\n';
  }
  if (clean.empty()) return false;
  text_.insert(cursor_, clean);
  cursor_ += clean.size();
  return true;
}

bool QueryFieldEditor::backspace() {
  if (cursor_ == 0) return false;
  std::size_t from = TerminalText::previousCodePoint(text_, cursor_);
  text_.erase(from, cursor_ - from);
  cursor_ = from;
  return true;
}

bool QueryFieldEditor::deleteForward() {
  if (cursor_ >= text_.size()) return false;
  text_.erase(cursor_, TerminalText::nextCodePoint(text_, cursor_) - cursor_);
  return true;
}

bool QueryFieldEditor::clear() {
  cursor_ = 0;
  if (text_.empty()) return false;
  text_.clear();
  return true;
}

void QueryFieldEditor::left() { cursor_ = TerminalText::previousCodePoint(text_, cursor_); }
void QueryFieldEditor::right() { cursor_ = TerminalText::nextCodePoint(text_, cursor_); }

}  // namespace velmora::app
