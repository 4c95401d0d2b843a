#pragma once
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "index/store/Data.h"

namespace velmora {

// The documents that contain one word and how often, stored under "W" + word:
// u32 length + packed delta list of document IDs, u32 length + one u16 count
// per document (all fixed fields little-endian). Parsed only when first used.
class WordContainer {
 public:
  // A container read from the store; `record` is parsed on first use.
  WordContainer(std::string word, Data record);
  // A new word seen in its first document; the count is clamped to 0-65535
  // and kept as given.
  WordContainer(std::string word, std::uint32_t firstDocumentID, std::int64_t ocurrences);

  const std::string& word() const { return word_; }

  // Parses the stored record (if any) into documentIDs.
  void load();

  // Counts a further document (see the rules in the .cpp).
  void add(std::uint32_t fileID, std::int64_t ocurrences);
  // Forgets a document (one removed from the tree).
  void remove(std::uint32_t fileID);

  // Document ID to occurrence count, in ascending order of ID.
  const std::map<std::uint32_t, std::uint16_t>& documentIDs();

  Data packedDocumentIDs();
  Data documentOccurenceCounts();
  Data dataToStore();

  bool operator<(const WordContainer& other) const { return word_ < other.word_; }
  bool operator==(const WordContainer& other) const { return word_ == other.word_; }

 private:
  std::string word_;
  std::optional<Data> loadedData_;
  std::map<std::uint32_t, std::uint16_t> documentIDs_;
};

}  // namespace velmora
