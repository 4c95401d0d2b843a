#include "common/JSONText.h"

#include <gtest/gtest.h>


namespace velmora {
namespace {

TEST(JSONText, BytesThatAreNotUTF8RoundTripThroughTheEscapedForm) {
  EXPECT_EQ(JSONText::escaped("caf\xC3\xA9 a\\b"), "caf\xC3\xA9 a\\b");  // valid text is left alone
  std::string bytes = "/t/caf\xE9\\x/\xFF\xFE\xC3";
  std::string escaped = JSONText::escaped(bytes);
  EXPECT_EQ(escaped, "/t/caf\\xE9\\\\x/\\xFF\\xFE\\xC3");
  EXPECT_EQ(JSONText::unescaped(escaped), bytes);
  // Overlong forms and surrogates are no UTF-8 either.
  EXPECT_EQ(JSONText::escaped("\xC0\xAF\xED\xA0\x80"), "\\xC0\\xAF\\xED\\xA0\\x80");

  nlohmann::ordered_json json = {{"path", bytes}, {"words", {"\xFF", "ok"}}, {"\xFE", 1}};
  std::string dumped;
  EXPECT_NO_THROW(dumped = JSONText::dump(json));
  auto back = nlohmann::json::parse(dumped);
  EXPECT_EQ(JSONText::unescaped(back["path"].get<std::string>()), bytes);
  EXPECT_EQ(back["words"][0], "\\xFF");
  EXPECT_EQ(back["\\xFE"], 1);
  nlohmann::json plain = {{"a", "b"}};
  EXPECT_EQ(JSONText::dump(plain, 2), plain.dump(2));
}

}  // namespace
}  // namespace velmora
