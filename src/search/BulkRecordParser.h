#pragma once
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "model/FSItemAndAttrs.h"

namespace velmora {

// Reads the records that macOS's bulk attribute read (getattrlistbulk) packs
// into a buffer, for the attribute set the crawl asks for. Each field is
// guarded by the record's own returned masks, never by what was requested;
// fields lie unaligned. Kept so that buffers of that layout (from a peer or a
// capture) are understood; the Linux crawl lists with getdents64.
class BulkRecordParser {
 public:
  // Attribute bits of the request.
  static constexpr std::uint32_t ATTR_CMN_NAME = 0x00000001;
  static constexpr std::uint32_t ATTR_CMN_FSID = 0x00000004;
  static constexpr std::uint32_t ATTR_CMN_OBJTYPE = 0x00000008;
  static constexpr std::uint32_t ATTR_CMN_OBJID = 0x00000020;
  static constexpr std::uint32_t ATTR_CMN_CRTIME = 0x00000200;
  static constexpr std::uint32_t ATTR_CMN_MODTIME = 0x00000400;
  static constexpr std::uint32_t ATTR_CMN_ACCTIME = 0x00001000;
  static constexpr std::uint32_t ATTR_CMN_FILEID = 0x02000000;
  static constexpr std::uint32_t ATTR_CMN_RETURNED_ATTRS = 0x80000000;
  static constexpr std::uint32_t ATTR_FILE_TOTALSIZE = 0x00000002;
  static constexpr std::uint32_t requestedCommonMask = 0x8200162D;
  static constexpr std::uint32_t VREG = 1;
  static constexpr std::uint32_t VDIR = 2;

  struct Result {
    std::size_t recordsRead = 0;
    // False when a record broke off or claimed bytes beyond the buffer; the
    // items before it are kept.
    bool complete = true;
  };

  // Appends the items of `count` records to `items`, each named below
  // `directory` (given without a trailing slash). Entries that are neither
  // files nor folders are dropped.
  static Result parse(const unsigned char* buffer, std::size_t size, int count, std::string_view directory,
                      std::vector<FSItemAndAttrs>& items);
};

}  // namespace velmora
