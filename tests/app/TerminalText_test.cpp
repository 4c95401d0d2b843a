#include <gtest/gtest.h>

#include <clocale>

#include "app/TerminalText.h"

namespace velmora::app {
namespace {

// Widths come from wcwidth, which needs a UTF-8 character type.
class TerminalTextTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(std::setlocale(LC_CTYPE, "C.UTF-8"), nullptr); }
  void TearDown() override { std::setlocale(LC_CTYPE, "C"); }
};

TEST_F(TerminalTextTest, CellWidthCountsWideCombiningAndBrokenCharacters) {
  EXPECT_EQ(TerminalText::cellWidth("report"), 6);
  EXPECT_EQ(TerminalText::cellWidth("\u5831\u544A"), 4);        // two CJK characters
  EXPECT_EQ(TerminalText::cellWidth("e\u0301"), 1);             // e and a combining acute
  EXPECT_EQ(TerminalText::cellWidth(std::string("a\xff" "b")), 3);  // a stray byte takes a cell
  EXPECT_EQ(TerminalText::cellWidth("\u00e9t\u00e9", 0, 2), 1);  // a byte range
  EXPECT_EQ(TerminalText::nextCodePoint("\u00e9t", 0), 2u);
  EXPECT_EQ(TerminalText::previousCodePoint("t\u00e9", 3), 1u);
  EXPECT_EQ(TerminalText::previousCodePoint("t", 0), 0u);
}

TEST_F(TerminalTextTest, FitCutsWithAnEllipsisOrPadsToExactlyTheWidth) {
  EXPECT_EQ(TerminalText::fit("abc", 5), "abc  ");
  EXPECT_EQ(TerminalText::fit("abcde", 5), "abcde");
  EXPECT_EQ(TerminalText::fit("abcdef", 5), "abcd\u2026");
  EXPECT_EQ(TerminalText::fit("abc", 0), "");
  // A wide character that would straddle the end is left out, and a blank
  // keeps the width exact.
  std::string cut = TerminalText::fit("ab\u5831\u544A", 4);
  EXPECT_EQ(cut, "ab\u2026 ");
  EXPECT_EQ(TerminalText::cellWidth(cut), 4);
  EXPECT_EQ(TerminalText::cellWidth(TerminalText::fit("\u5831\u544A\u5831\u544A", 5)), 5);
  // Trailing combining marks need no cell of their own: no cut.
  EXPECT_EQ(TerminalText::fit("abe\u0301", 3), "abe\u0301");
  // Control characters, C0 and C1, never reach the terminal.
  EXPECT_EQ(TerminalText::fit("a\x1b[2Jb\tc", 8), "a [2Jb c");
  EXPECT_EQ(TerminalText::fit("a\u009b" "2Jb", 5), "a 2Jb");
}

TEST_F(TerminalTextTest, EncodeGivesUtf8ForEachPlaneAndNothingForSurrogates) {
  EXPECT_EQ(TerminalText::encode(U'a'), "a");
  EXPECT_EQ(TerminalText::encode(U'\u00e9'), "\u00e9");
  EXPECT_EQ(TerminalText::encode(U'\u5831'), "\u5831");
  EXPECT_EQ(TerminalText::encode(U'\U0001F600'), "\U0001F600");
  EXPECT_EQ(TerminalText::encode(0xD800), "");
  EXPECT_EQ(TerminalText::encode(0x110000), "");
}

TEST(TerminalText, ControlCharactersAndStrayBytesAreMadeVisible) {
  EXPECT_EQ(TerminalText::escaped("plain caf\xC3\xA9 \xE2\x82\xAC"), "plain caf\xC3\xA9 \xE2\x82\xAC");
  EXPECT_EQ(TerminalText::escaped("a\nb\tc\rd\x1B[2Je\x7F\x01"), "a\\nb\\tc\\rd\\e[2Je\\x7F\\x01");
  EXPECT_EQ(TerminalText::escaped("x\xC2\x9B" "1m"), "x\\xC2\\x9B1m");  // a C1 escape
  EXPECT_EQ(TerminalText::escaped("bad\xFF\xE9"), "bad\\xFF\\xE9");
}

}  // namespace
}  // namespace velmora::app
