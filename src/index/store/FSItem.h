#pragma once
#include <cstdint>
#include <optional>
#include <string>

#include "common/Clock.h"
#include "index/store/Data.h"

namespace velmora {

// One file or folder of an index, stored under "F" + its decimal ID.
// Layout (little-endian): fsid u32, parentID u32, type u8 (1 file,
// 0 directory), creationDate i32, modificationDate i32, name length u16,
// name (UTF-8), version u8, size i64.
struct FSItem {
  enum class Type : std::uint8_t { directory = 0, file = 1 };
  static constexpr std::uint8_t kCurrentVersion = 1;

  std::uint32_t fsid = 0;
  std::uint32_t parentID = 0;
  Type type = Type::file;
  std::int32_t creationDate = 0;      // whole seconds since 2001-01-01 UTC
  std::int32_t modificationDate = 0;  // same unit
  std::string name;
  std::uint8_t version = kCurrentVersion;
  std::int64_t size = 0;  // bytes; 0 for directories

  bool isDirectory() const { return type == Type::directory; }

  // The record. IDs of 2^31 and above and names of 65536 bytes or more are
  // programming faults and end the process; a name that isn't UTF-8 is
  // stored as "Unknown".
  Data encoded() const;

  // Absent when the record ends before the name is complete, the type byte
  // is neither 0 nor 1, or the name is empty or not UTF-8. A record that
  // ends before `version` reads as version 0 and size -1; one that ends
  // before `size`, as size -1.
  static std::optional<FSItem> decode(ByteView record);

  bool operator==(const FSItem&) const = default;
};

// Floor of the seconds since the reference date; 0 for an absent date or
// one outside the range of Int32.
std::int32_t dateToInt32(std::optional<Date> date);

}  // namespace velmora
