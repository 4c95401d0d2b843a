// The record readers of an index file on arbitrary bytes: FSItem records,
// packed number lists, word records and the index information JSON. The first
// byte picks the reader. Whatever decodes must encode and decode to the same.
// The whole common library doesn't build with clang 14, so the record code
// and what it uses are compiled in directly.
// sources: src/index/store/FSItem.cpp src/index/store/PackedNumbers.cpp src/index/store/WordContainer.cpp src/index/store/DocumentInfo.cpp src/index/store/Data.cpp src/common/SharedAdditions.cpp src/common/AppDirectories.cpp src/common/Clock.cpp src/common/MainQueue.cpp
// links: PkgConfig::ICU PkgConfig::LMDB nlohmann_json::nlohmann_json fmt::fmt Threads::Threads Boost::headers
#include <cstdint>
#include <cstdlib>

#include "index/store/DocumentInfo.h"
#include "index/store/FSItem.h"
#include "index/store/PackedNumbers.h"
#include "index/store/WordContainer.h"

using namespace velmora;

namespace {
void require(bool condition) {
  if (!condition) std::abort();
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  ByteView input(bytes + 1, size - 1);
  switch (bytes[0] % 4) {
    case 0: {
      auto item = FSItem::decode(input);
      if (item && item->fsid < 0x80000000u && item->parentID < 0x80000000u) {
        auto again = FSItem::decode(item->encoded());
        require(again.has_value());
        require(again->fsid == item->fsid && again->parentID == item->parentID && again->name == item->name &&
                again->type == item->type && again->creationDate == item->creationDate &&
                again->modificationDate == item->modificationDate && again->version == item->version &&
                again->size == item->size);
      }
      break;
    }
    case 1: {
      auto numbers = PackedNumbers::unpackStored(input);
      require(PackedNumbers::unpackStored(PackedNumbers::storePacked(numbers)) == numbers);
      auto sums = PackedNumbers::inverseDifferential(numbers);
      require(sums.size() == numbers.size());
      break;
    }
    case 2: {
      WordContainer word("fuzz", Data(input.begin(), input.end()));
      auto documents = word.documentIDs();
      WordContainer again("fuzz", word.dataToStore());
      require(again.documentIDs() == documents);
      break;
    }
    case 3: {
      auto info = DocumentInfo::fromJSON(asText(input));
      if (info) require(DocumentInfo::fromJSON(info->toJSON()).has_value());
      break;
    }
  }
  return 0;
}
