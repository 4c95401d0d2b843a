#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "query/Munge.h"

namespace velmora {
namespace {

TEST(Munge, IsItsOwnInverseAndLeavesTheTailAlone) {
  std::string text = "modified in ~month/~month month\nsize \"~file size\" filesEqualTo\n";  // 59 bytes
  std::vector<std::uint8_t> data(text.begin(), text.end());
  Munge::munge(data);
  EXPECT_NE(std::string(data.begin(), data.end()), text);
  // The three bytes past the last whole word are not touched.
  EXPECT_EQ(std::string(data.end() - 3, data.end()), text.substr(text.size() - 3));
  Munge::munge(data);
  EXPECT_EQ(std::string(data.begin(), data.end()), text);
}

TEST(Munge, ScramblesLittleEndianWordsByTableTimesMultiplier) {
  std::vector<std::uint8_t> data(24, 0);
  Munge::munge(data, std::nullopt, 3);
  auto word = [&](int i) {
    std::uint64_t w = 0;
    for (int b = 0; b < 8; ++b) w |= std::uint64_t(data[i * 8 + b]) << (8 * b);
    return w;
  };
  EXPECT_EQ(word(0), Munge::table()[0] * 3);
  EXPECT_EQ(word(2), Munge::table()[2] * 3);

  // A byte limit stops the pass once the word index has passed it.
  std::vector<std::uint8_t> limited(32, 0);
  Munge::munge(limited, 1);
  EXPECT_NE(limited[8], 0);
  EXPECT_EQ(std::vector<std::uint8_t>(limited.begin() + 16, limited.end()), std::vector<std::uint8_t>(16, 0));
}

}  // namespace
}  // namespace velmora
