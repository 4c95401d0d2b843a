#include "textimport/WordSplitter.h"

#include <gtest/gtest.h>
#include <unicode/brkiter.h>
#include <unicode/unistr.h>

#include <random>

#include "textimport/ImportTextTools.h"

namespace velmora {
namespace {

using Words = std::vector<std::string>;

Words words(std::string_view text) { return WordSplitter::shared().words(text); }

// The rules read straight off, on ICU alone and the whole text at once: the
// fast path must give exactly these words.
Words referenceWords(const std::string& utf8) {
  const auto& splitter = WordSplitter::shared();
  icu::UnicodeString text = icu::UnicodeString::fromUTF8(utf8);
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::BreakIterator> it(icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
  auto clustersOf = [&](const icu::UnicodeString& s) {
    std::vector<icu::UnicodeString> out;
    it->setText(s);
    for (int32_t a = it->first(), b = it->next(); b != icu::BreakIterator::DONE; a = b, b = it->next())
      out.push_back(s.tempSubStringBetween(a, b));
    return out;
  };
  std::vector<icu::UnicodeString> pieces(1);
  for (const auto& cluster : clustersOf(text)) {
    if (splitter.splitSet().containsAll(cluster)) pieces.emplace_back();
    else pieces.back() += cluster;
  }
  Words out;
  for (auto& piece : pieces) {
    piece.toLower(icu::Locale::getRoot());
    auto clusters = clustersOf(piece);
    std::size_t a = 0, b = clusters.size();
    while (a < b && splitter.trimSet().containsAll(clusters[a])) ++a;
    while (b > a && splitter.trimSet().containsAll(clusters[b - 1])) --b;
    if (a == b || b - a > WordSplitter::maximumWordClusters) continue;
    icu::UnicodeString kept;
    for (std::size_t i = a; i < b; ++i) kept += clusters[i];
    std::string word;
    out.push_back(kept.toUTF8String(word));
  }
  return out;
}

TEST(WordRules, SplitLowercaseTrimAndLength) {
  EXPECT_EQ(words("Hello, WORLD!!"), (Words{"hello", "world"}));
  EXPECT_EQ(words("don't a-b --- \"quoted\" (x) 42 3.14"), (Words{"don't", "a-b", "quoted", "x", "42", "3.14"}));
  EXPECT_EQ(words("  \t\r\n  "), Words{});
  EXPECT_EQ(words("same same SAME"), (Words{"same", "same", "same"}));
  // Length counts clusters: 32 stay, 33 go, with or without the fast path.
  const std::string a32(32, 'a'), a33(33, 'a');
  EXPECT_EQ(words(a32 + " " + a33), Words{a32});
  std::string e32, e33;
  for (int i = 0; i < 32; ++i) e32 += "e\xCC\x81";  // e + combining acute: one cluster each
  e33 = e32 + "e\xCC\x81";
  EXPECT_EQ(words(e32 + " " + e33), Words{e32});
  EXPECT_EQ(words("!!" + a32 + "??"), Words{a32});  // trimmed before counting
  // No folding of diacritics, full lowercase mapping (final sigma included).
  EXPECT_EQ(words("Ünïcödé ÉCOLE straße ΣΊΣΥΦΟΣ"), (Words{"ünïcödé", "école", "straße", "σίσυφος"}));
}

TEST(WordRules, WhatSplitsAndWhatOnlyTrims) {
  // Private use splits like a blank, as do controls, unassigned code points
  // and the no-break space.
  EXPECT_EQ(words("one\xEE\x80\x80two\xEF\xA3\xBFthree"), (Words{"one", "two", "three"}));
  EXPECT_EQ(words("a\xC2\xA0" "b\x01" "c\xE2\x80\x8B" "d"), (Words{"a", "b", "c", "d"}));
  EXPECT_EQ(words("x\xF0\xB0\x80\x80y"), (Words{"x\xF0\xB0\x80\x80y"})) << "U+30000 is assigned in ICU 72";
  EXPECT_EQ(words("x\xCD\xB8y"), (Words{"x", "y"})) << "U+0378 is unassigned";
  // A cluster only partly in the split set doesn't split: a blank carrying a
  // combining mark joins its neighbours.
  EXPECT_EQ(words("ab \xCC\x81" "cd"), (Words{"ab \xCC\x81" "cd"}));
  // Likewise a symbol with a combining mark isn't trimmed.
  EXPECT_EQ(words("$\xCC\x81" "x"), (Words{"$\xCC\x81" "x"}));
  EXPECT_EQ(words("\xE2\x80\x94word\xE2\x80\x94 \xE2\x82\xAC" "5"), (Words{"word", "5"}));
  // Emoji are symbols: trimmed from the ends, kept inside.
  EXPECT_EQ(words("\xF0\x9F\x98\x80hi\xF0\x9F\x98\x80there"), (Words{"hi\xF0\x9F\x98\x80there"}));
  EXPECT_EQ(words("CR\r\nLF"), (Words{"cr", "lf"}));
  // Invalid UTF-8 can't come from the importers, but must not hurt.
  EXPECT_EQ(words("ab\xFF" "cd"), (Words{"ab\xEF\xBF\xBD" "cd"}));
}

TEST(WordRules, FastPathGivesTheSameWordsAsTheRulesOnICU) {
  const std::vector<std::string> alphabet = {
      "a", "B", "z", "0", " ", " ", "\t", "\r", "\n", "\r\n", "-", "'", "!", "$", ".", "e\xCC\x81", "\xCC\x81",
      "\xC3\x9C", "\xCE\xA3", "\xE4\xB8\xAD", "\xEE\x80\x80", "\xC2\xA0", "\xD8\x80" /* U+0600 prepend */,
      "\xE2\x80\x8D" /* ZWJ */, "\xF0\x9F\x91\xA9", "\xE2\x80\x94", "\xE2\x80\xA8", "\x01", "\xCD\xB8",
      "\xE0\xA4\x95\xE0\xA5\x8D" /* ka virama */, "\xEF\xB8\x8F"};
  std::mt19937 random(12345);
  for (int round = 0; round < 3000; ++round) {
    std::string text;
    const int length = 1 + static_cast<int>(random() % 60);
    for (int i = 0; i < length; ++i) {
      // Mostly ASCII, as real text is, so that runs of both kinds meet.
      const auto pick = random() % 4 == 0 ? random() % alphabet.size() : random() % 15;
      text += alphabet[pick];
    }
    ASSERT_EQ(words(text), referenceWords(text)) << "text: " << text;
  }
}

TEST(WordRules, WordsInFileCountsAndMergesOCRPages) {
  ImportTextTools tools;
  ImportTextTools::WordCounts counts;
  tools.countWords("a b a. A!", counts);
  EXPECT_EQ(counts, (ImportTextTools::WordCounts{{"a", 3}, {"b", 1}}));
  EXPECT_EQ(tools.wordsFromText("Hello, WORLD!!"), (Words{"hello", "world"}));
  ImportTextTools::ImportTextResult result;
  result.text = std::vector<ImportTextTools::Page>{{"one two"}, {"x"}};
  EXPECT_EQ(result.allText(false), "one two\nx");
  EXPECT_EQ(result.allText(true), std::nullopt);
}

}  // namespace
}  // namespace velmora
