#pragma once
#include <cstddef>

namespace velmora::app {

// The cursor row of the results list and the part of the list on screen.
// The scroll position is the person's: only moving the cursor changes it. A
// terminal too short to show the cursor from there shows it at the bottom,
// and growing again brings back the rows that were on screen before.
class ResultsListViewport {
 public:
  std::size_t cursor() const { return cursor_; }
  std::size_t rowCount() const { return rows_; }

  // The list now holds `rows` rows, the cursor on `cursorRow` (clamped).
  void setRows(std::size_t rows, std::size_t cursorRow);
  // Moves the cursor by `delta` rows, scrolling a list of `height` rows on
  // screen just enough to show it.
  void moveBy(long delta, int height);
  // The first row on screen for a list of `height` rows: the scroll position
  // moved as little as needed to show the cursor and no empty rows at the end.
  std::size_t top(int height) const;

 private:
  std::size_t rows_ = 0;
  std::size_t cursor_ = 0;
  std::size_t scroll_ = 0;
};

}  // namespace velmora::app
