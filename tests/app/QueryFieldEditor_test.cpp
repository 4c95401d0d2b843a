#include <gtest/gtest.h>

#include "app/BracketedPaste.h"
#include "app/QueryFieldEditor.h"

namespace velmora::app {
namespace {

TEST(QueryFieldEditor, EditsByCodePointAndKeepsTheInsertionPointInside) {
  QueryFieldEditor field;
  EXPECT_TRUE(field.insert("r\u00e9port"));
  EXPECT_EQ(field.cursor(), field.text().size());
  field.home();
  field.right();
  field.right();
  EXPECT_EQ(field.cursor(), 3u);  // after "r\u00e9"
  EXPECT_TRUE(field.backspace());
  EXPECT_EQ(field.text(), "rport");
  EXPECT_TRUE(field.deleteForward());
  EXPECT_EQ(field.text(), "rort");
  field.left();
  EXPECT_FALSE(field.backspace());
  // Tabs become blanks, other controls go, line ends stay for the controller.
  EXPECT_TRUE(field.insert("a\tb\x1b" "c\rd"));
  EXPECT_EQ(field.text(), "a bc\ndrort");
  EXPECT_FALSE(field.insert("\x01\x02"));
  // A cut by the controller never leaves the point past the end or inside a character.
  field.end();
  field.setText("\u00e9x");
  EXPECT_EQ(field.cursor(), 3u);
  field.setText("\u00e9");
  EXPECT_EQ(field.cursor(), 2u);
  EXPECT_TRUE(field.clear());
  EXPECT_FALSE(field.clear());
}

TEST(BracketedPaste, WhatLiesBetweenTheMarksIsTextNeverKeys) {
  constexpr int start = 1000, end = 1001, arrow = 258;
  BracketedPaste paste(start, end);
  EXPECT_EQ(paste.feed(false, 'a'), BracketedPaste::Step::notPaste);
  EXPECT_EQ(paste.feed(true, arrow), BracketedPaste::Step::notPaste);
  EXPECT_EQ(paste.feed(true, start), BracketedPaste::Step::inPaste);
  for (unsigned key : {unsigned('a'), unsigned('o'), unsigned('q'), 0x5831u, unsigned('\r'), unsigned('x')})
    EXPECT_EQ(paste.feed(false, key), BracketedPaste::Step::inPaste);
  EXPECT_EQ(paste.feed(true, arrow), BracketedPaste::Step::inPaste);  // no text, still swallowed
  EXPECT_TRUE(paste.active());
  EXPECT_EQ(paste.feed(true, end), BracketedPaste::Step::ended);
  EXPECT_FALSE(paste.active());
  EXPECT_EQ(paste.take(), "aoq\u5831\rx");
  EXPECT_EQ(paste.take(), "");
  EXPECT_EQ(paste.feed(false, 'o'), BracketedPaste::Step::notPaste);
}

}  // namespace
}  // namespace velmora::app
