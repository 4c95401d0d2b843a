#include <gtest/gtest.h>

#include "app/TerminalClipboard.h"

namespace velmora::app {
namespace {

TEST(TerminalClipboard, Base64MatchesTheStandardVectorsAndHighBytes) {
  // RFC 4648, section 10.
  EXPECT_EQ(TerminalClipboard::base64(""), "");
  EXPECT_EQ(TerminalClipboard::base64("f"), "Zg==");
  EXPECT_EQ(TerminalClipboard::base64("fo"), "Zm8=");
  EXPECT_EQ(TerminalClipboard::base64("foo"), "Zm9v");
  EXPECT_EQ(TerminalClipboard::base64("foob"), "Zm9vYg==");
  EXPECT_EQ(TerminalClipboard::base64("fooba"), "Zm9vYmE=");
  EXPECT_EQ(TerminalClipboard::base64("foobar"), "Zm9vYmFy");
  // Bytes above 127 must not be sign-extended into the neighbours' bits.
  EXPECT_EQ(TerminalClipboard::base64(std::string("\xff\xfe\xfd")), "//79");
  EXPECT_EQ(TerminalClipboard::base64(std::string("\x80")), "gA==");
  EXPECT_EQ(TerminalClipboard::copySequence("/a b\n/c"), "\x1b]52;c;L2EgYgovYw==\x07");
}

}  // namespace
}  // namespace velmora::app
