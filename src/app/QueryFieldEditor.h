#pragma once
#include <cstddef>
#include <string>
#include <string_view>

namespace velmora::app {

// The query field's text and its insertion point (a byte offset that always
// stands between two code points). Each edit says whether the text changed,
// so the window tells the controller only then.
class QueryFieldEditor {
 public:
  const std::string& text() const { return text_; }
  std::size_t cursor() const { return cursor_; }
  // The controller may have cut the text; the insertion point stays inside it.
  void setText(std::string text);

  // Typed or pasted text at the insertion point. Tabs become blanks and other
  // control characters are dropped, except line ends: the controller keeps
  // the first line of a paste of several.
  bool insert(std::string_view typed);
  bool backspace();
  bool deleteForward();
  bool clear();
  void left();
  void right();
  void home() { cursor_ = 0; }
  void end() { cursor_ = text_.size(); }

 private:
  std::string text_;
  std::size_t cursor_ = 0;
};

}  // namespace velmora::app
