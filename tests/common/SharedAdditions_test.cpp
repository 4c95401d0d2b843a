#include "common/SharedAdditions.h"

#include <gtest/gtest.h>

namespace velmora {
namespace {

TEST(SharedAdditions, DisplayFormsAreTextWhateverBytesTheNameHolds) {
  EXPECT_EQ(SharedAdditions::displayName("/a/caf\xC3\xA9"), "caf\xC3\xA9");
  std::string shown = SharedAdditions::displayName("/a/b\xFF/report\xFE.txt");
  EXPECT_TRUE(SharedAdditions::isValidUTF8(shown));
  EXPECT_EQ(shown, "report\xEF\xBF\xBD.txt");
  EXPECT_TRUE(SharedAdditions::isValidUTF8(SharedAdditions::displayPath("/srv/b\xFF/x")));
}

}  // namespace
}  // namespace velmora
