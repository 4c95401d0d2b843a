#include "app/ResultsListViewport.h"

#include <algorithm>

namespace velmora::app {

void ResultsListViewport::setRows(std::size_t rows, std::size_t cursorRow) {
  rows_ = rows;
  cursor_ = rows == 0 ? 0 : std::min(cursorRow, rows - 1);
  scroll_ = std::min(scroll_, rows == 0 ? 0 : rows - 1);
}

void ResultsListViewport::moveBy(long delta, int height) {
  if (rows_ == 0) return;
  long next = std::clamp(static_cast<long>(cursor_) + delta, 0L, static_cast<long>(rows_) - 1);
  cursor_ = static_cast<std::size_t>(next);
  scroll_ = top(height);
}

std::size_t ResultsListViewport::top(int height) const {
  if (height <= 0 || rows_ == 0) return std::min(scroll_, cursor_);
  const auto h = static_cast<std::size_t>(height);
  std::size_t first = scroll_;
  if (cursor_ < first) first = cursor_;
  if (cursor_ >= first + h) first = cursor_ - h + 1;
  // No blank rows below the last one while rows above are hidden.
  if (first + h > rows_) first = rows_ > h ? rows_ - h : 0;
  return first;
}

}  // namespace velmora::app
