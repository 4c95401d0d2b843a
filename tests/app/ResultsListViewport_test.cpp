#include <gtest/gtest.h>

#include "app/ResultsListViewport.h"

namespace velmora::app {
namespace {

TEST(ResultsListViewport, AResizeKeepsTheCursorInViewAndGrowingBackRestoresTheRows) {
  ResultsListViewport list;
  list.setRows(100, 0);
  list.moveBy(10, 19);
  EXPECT_EQ(list.cursor(), 10u);
  EXPECT_EQ(list.top(19), 0u);
  // Shrunk: the cursor row is the last one shown.
  EXPECT_EQ(list.top(5), 6u);
  // Grown again: what was on screen before is back.
  EXPECT_EQ(list.top(19), 0u);
  // A terminal too short for any row keeps the position.
  EXPECT_EQ(list.top(0), 0u);
  EXPECT_EQ(list.top(-4), 0u);

  list.moveBy(1000, 19);
  EXPECT_EQ(list.cursor(), 99u);
  EXPECT_EQ(list.top(19), 81u);
  // Taller than what lies below: no blank rows at the end.
  EXPECT_EQ(list.top(45), 55u);
  EXPECT_EQ(list.top(200), 0u);
  EXPECT_EQ(list.top(19), 81u);

  // Paging up scrolls only as far as the cursor needs.
  list.moveBy(-30, 19);
  EXPECT_EQ(list.cursor(), 69u);
  EXPECT_EQ(list.top(19), 69u);
  // Fewer rows (a new search): the cursor is clamped into them.
  list.setRows(3, 69);
  EXPECT_EQ(list.cursor(), 2u);
  EXPECT_EQ(list.top(19), 0u);
  list.setRows(0, 0);
  EXPECT_EQ(list.top(19), 0u);
}

}  // namespace
}  // namespace velmora::app
