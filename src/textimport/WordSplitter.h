#pragma once
#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <unicode/uniset.h>

namespace velmora {

// The word rules of the index: split at blanks, controls, unassigned and
// private-use characters; lowercase; trim punctuation and symbols from both
// ends; keep pieces of 1 to 32 grapheme clusters. Every rule works on
// grapheme clusters: a cluster belongs to a set only when all its scalars do.
//
// Most text is ASCII, where every byte is its own cluster (CR LF aside, and
// both of those split anyway), so ASCII runs go through byte tables built
// from the same ICU sets; only pieces with other characters reach ICU.
class WordSplitter {
 public:
  static constexpr std::size_t maximumWordClusters = 32;

  WordSplitter();
  ~WordSplitter();
  WordSplitter(const WordSplitter&) = delete;
  WordSplitter& operator=(const WordSplitter&) = delete;

  static const WordSplitter& shared();

  // Calls `word` for each word in order, duplicates included.
  void forEachWord(std::string_view text, const std::function<void(std::string_view)>& word) const;
  std::vector<std::string> words(std::string_view text) const;

  const icu::UnicodeSet& splitSet() const { return *split_; }
  const icu::UnicodeSet& trimSet() const { return *trim_; }

 private:
  void slowPiece(std::string_view piece, std::string& scratch, const std::function<void(std::string_view)>& word) const;

  std::unique_ptr<icu::UnicodeSet> split_;
  std::unique_ptr<icu::UnicodeSet> trim_;
  std::array<bool, 128> asciiSplit_{};
  std::array<bool, 128> asciiTrim_{};
};

}  // namespace velmora
