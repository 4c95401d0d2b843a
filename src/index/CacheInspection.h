#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "index/store/DocumentInfo.h"
#include "index/store/FSItem.h"

namespace velmora {

// Everything an index file holds, decoded for a viewer: the cache viewer's
// item names and words, and `velmora index inspect`.
struct CacheInspection {
  struct Item {
    FSItem item;
    std::string path;  // full path through the parent chain
  };
  struct Word {
    std::string word;
    std::vector<std::pair<std::uint32_t, std::uint16_t>> documents;  // ID and count, ascending ID
  };
  // An entry that is in the file but doesn't decode; nothing is dropped
  // without being shown.
  struct BadRecord {
    std::string key;
    std::string valueHex;
    std::string reason;
  };

  std::string file;
  std::optional<DocumentInfo> documentInfo;
  std::string documentInfoError;  // set when the record exists but doesn't decode
  std::optional<std::uint32_t> lastAutoID;
  std::vector<Item> items;  // ascending ID
  std::vector<std::uint32_t> deadIDs;
  std::vector<Word> words;  // in key order
  std::vector<BadRecord> badRecords;
  std::size_t entries = 0;  // all entries of the database
};

}  // namespace velmora
