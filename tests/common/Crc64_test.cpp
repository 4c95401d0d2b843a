#include <gtest/gtest.h>

#include "common/SharedAdditions.h"

using namespace velmora;

TEST(Crc64, EcmaCheckValueAndEdges) {
  EXPECT_EQ(static_cast<std::uint64_t>(crc64("123456789")), 0x6C40DF5F0B497347ULL);
  EXPECT_EQ(crc64(""), 0);
  EXPECT_EQ(crc64_ecma182(0, nullptr, 5), 0u);
  // Stops at the first zero byte.
  EXPECT_EQ(crc64(std::string_view("123456789\0xyz", 13)), crc64("123456789"));
  // A length of zero leaves the running value alone.
  EXPECT_EQ(crc64_ecma182(0x1234, reinterpret_cast<const unsigned char*>("a"), 0), 0x1234u);
  // Distinct paths get distinct keys, and the sign bit is used.
  EXPECT_NE(crc64("/a/b"), crc64("/a/c"));
}

TEST(SharedAdditions, HexAndTextHelpers) {
  EXPECT_EQ(SharedAdditions::hexString(std::string_view("\x00\x0f\xff\x10", 4)), "000fff10");
  EXPECT_EQ(SharedAdditions::dropPrefix("/Volumes/x", "/Volumes/"), "x");
  EXPECT_EQ(SharedAdditions::dropPrefix("abc", "x"), "abc");
  EXPECT_EQ(SharedAdditions::dropSuffix("name.txt", ".txt"), "name");
  EXPECT_EQ(SharedAdditions::displayName("/a/b/"), "b");
  EXPECT_EQ(SharedAdditions::displayName("/"), "/");
  EXPECT_EQ(SharedAdditions::strippingCharactersIn("a-b_c", U"-_"), "abc");
  EXPECT_EQ(SharedAdditions::indexAfterWrapping(2, 3), 0u);
  EXPECT_EQ(SharedAdditions::indexAfterWrapping(0, 3), 1u);
  EXPECT_EQ(SharedAdditions::repairedUTF8("a\xff" "b"), "a\xEF\xBF\xBD" "b");
  EXPECT_FALSE(SharedAdditions::isValidUTF8("\xc3"));
  char fixed[4] = {'a', 'b', 'c', 'd'};
  EXPECT_EQ(SharedAdditions::tupleOfInt8sToString(fixed, 4), "abcd");
}

TEST(SharedAdditions, LocalizedSortOrdersNumbersByValue) {
  std::vector<std::string> names{"file 10", "File 2", "file 1"};
  SharedAdditions::localizedSort(names);
  EXPECT_EQ(names, (std::vector<std::string>{"file 1", "File 2", "file 10"}));
}
