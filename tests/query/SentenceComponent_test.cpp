#include <gtest/gtest.h>

#include "query/SentenceComponent.h"
#include "query/Soundex.h"

namespace velmora {
namespace {

using W = SentenceComponent::Wildcard;

std::vector<std::string> texts(const std::vector<SentenceComponent>& words) {
  std::vector<std::string> out;
  for (const auto& w : words) out.push_back(w.textOriginalCase);
  return out;
}

TEST(SentenceComponent, QuotesEscapesAndPositions) {
  auto words = SentenceComponent::parseWords("Report  \"Big Budget\" x");
  ASSERT_EQ(texts(words), (std::vector<std::string>{"Report", "Big Budget", "x"}));
  EXPECT_EQ(words[0].textLowered, "report");
  EXPECT_EQ(words[0].position, (TextPosition{0, 6}));
  EXPECT_EQ(words[1].position, (TextPosition{9, 19}));  // inside the quotes
  EXPECT_TRUE(words[1].wasInQuotes);
  EXPECT_FALSE(words[2].wasInQuotes);
  EXPECT_EQ(words[2].position, (TextPosition{21, 22}));

  // A quote inside a word keeps the word going; an unclosed one runs to the end.
  auto joined = SentenceComponent::parseWords("ab\"cd ef\"gh");
  EXPECT_EQ(texts(joined), (std::vector<std::string>{"abcd ef", "gh"}));
  auto open = SentenceComponent::parseWords("a\"b");
  ASSERT_EQ(open.size(), 1u);
  EXPECT_EQ(open[0].textOriginalCase, "ab");
  EXPECT_TRUE(open[0].wasInQuotes);

  // \" is a literal quote that cannot start a word on its own.
  EXPECT_EQ(texts(SentenceComponent::parseWords(R"(say\"hi\" \" x)")),
            (std::vector<std::string>{"say\"hi\"", "x"}));
  EXPECT_EQ(texts(SentenceComponent::parseWords(R"(a\b)")), std::vector<std::string>{R"(a\b)"});
  EXPECT_TRUE(SentenceComponent::parseWords("   \t\n ").empty());
  EXPECT_TRUE(SentenceComponent::parseWords("").empty());
}

TEST(SentenceComponent, WildcardsAndColons) {
  auto w = SentenceComponent::parseWords("*ab* ab*cd *.txt * abc");
  ASSERT_EQ(texts(w), (std::vector<std::string>{"ab", "ab", "cd", ".txt", "abc"}));
  EXPECT_EQ(w[0].wildcard, W::prefix);
  EXPECT_EQ(w[1].wildcard, W::prefix);
  EXPECT_EQ(w[2].wildcard, W::none);
  EXPECT_EQ(w[3].wildcard, W::suffix);
  EXPECT_EQ(w[4].wildcard, W::none);  // the lone "*" was forgotten at the blank
  EXPECT_EQ(texts(SentenceComponent::parseWords("\"a*b\"")), std::vector<std::string>{"a*b"});

  auto hello = SentenceComponent::parseWords("hello: today");
  ASSERT_EQ(hello.size(), 2u);
  EXPECT_TRUE(hello[0].isAfterAColon);  // the colon belongs to the word it touches
  EXPECT_TRUE(hello[1].isAfterAColon);
  auto ab = SentenceComponent::parseWords("x a:b");
  EXPECT_EQ(texts(ab), (std::vector<std::string>{"x", "ab"}));
  EXPECT_FALSE(ab[0].isAfterAColon);
  EXPECT_TRUE(ab[1].isAfterAColon);
  auto quoted = SentenceComponent::parseWords("\"a:b\" c");
  EXPECT_EQ(texts(quoted), (std::vector<std::string>{"a:b", "c"}));
  EXPECT_TRUE(quoted[0].isAfterAColon);
  EXPECT_TRUE(quoted[1].isAfterAColon);
}

TEST(SentenceComponent, CountsCharactersNotBytes) {
  // "e" + combining acute is one character; so is a flag of two scalars.
  auto words = SentenceComponent::parseWords("Cafe\xCC\x81 \xF0\x9F\x87\xAB\xF0\x9F\x87\xB7 \xC3\x89T\xC3\x89");
  ASSERT_EQ(words.size(), 3u);
  EXPECT_EQ(words[0].position, (TextPosition{0, 4}));
  EXPECT_EQ(words[1].position, (TextPosition{5, 6}));
  EXPECT_EQ(words[2].position, (TextPosition{7, 10}));
  EXPECT_EQ(words[2].textLowered, "\xC3\xA9t\xC3\xA9");
  // A no-break space separates words too.
  EXPECT_EQ(SentenceComponent::parseWords("a\xC2\xA0" "b").size(), 2u);
}

TEST(SentenceComponent, EqualityExpansionAndCompare) {
  auto twice = SentenceComponent::parseWords("a a");
  EXPECT_FALSE(twice[0] == twice[1]);  // same text, other place
  SentenceComponent copy = twice[0];
  copy.wasInQuotes = true;
  EXPECT_TRUE(copy == twice[0]);
  EXPECT_EQ(std::hash<SentenceComponent>()(copy), std::hash<SentenceComponent>()(twice[0]));

  auto query = SentenceComponent::parseWords("\"excluding folder\" x");
  auto expanded = expandedQuotedItems(query);
  ASSERT_EQ(texts(expanded), (std::vector<std::string>{"excluding", "folder", "x"}));
  EXPECT_EQ(expanded[1].parent.front(), query[0]);

  auto phrase = SentenceComponent::parseWords("excluding folder");
  auto both = compare(query, phrase);
  EXPECT_FALSE(both.fewerWordsMatched);
  EXPECT_EQ(both.count, 1);  // two words, one quoted parent
  auto longer = compare(query, SentenceComponent::parseWords("excluding files"));
  EXPECT_TRUE(longer.fewerWordsMatched);
  EXPECT_EQ(longer.count, 0);
  auto ranges = partLocationsToRanges(query);
  EXPECT_EQ(ranges[1].location, 19);
  EXPECT_EQ(ranges[1].length, 1);
}

TEST(Soundex, Codes) {
  EXPECT_EQ(Soundex::value("Robert"), "R163");
  EXPECT_EQ(Soundex::value("Rupert"), "R163");
  EXPECT_EQ(Soundex::value("Ashcraft"), "A226");
  EXPECT_EQ(Soundex::value(" \tTymczak "), "T522");
  EXPECT_EQ(Soundex::value("Pfister"), "P236");
  EXPECT_EQ(Soundex::value("lee"), "L000");
  EXPECT_EQ(Soundex::value("a"), "");
  EXPECT_EQ(Soundex::value("  "), "");
}

}  // namespace
}  // namespace velmora
