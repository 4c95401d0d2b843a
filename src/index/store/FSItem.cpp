#include "index/store/FSItem.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "common/SharedAdditions.h"

namespace velmora {

namespace {
[[noreturn]] void fatal(const char* what, unsigned long long value) {
  std::fprintf(stderr, "fatal: FSItem %s (%llu)\n", what, value);
  std::abort();
}
}  // namespace

Data FSItem::encoded() const {
  if (fsid >= 0x80000000u) fatal("fsid out of range", fsid);
  if (parentID >= 0x80000000u) fatal("parentID out of range", parentID);
  static const std::string kUnknown = "Unknown";
  const std::string& stored = SharedAdditions::isValidUTF8(name) ? name : kUnknown;
  if (stored.size() >= 65536) fatal("name too long", stored.size());
  Data data;
  data.reserve(28 + stored.size());
  DataHelpers::appendLittleEndian(data, fsid);
  DataHelpers::appendLittleEndian(data, parentID);
  data.push_back(static_cast<std::uint8_t>(type));
  DataHelpers::appendLittleEndian(data, creationDate);
  DataHelpers::appendLittleEndian(data, modificationDate);
  DataHelpers::appendLittleEndian(data, static_cast<std::uint16_t>(stored.size()));
  data.insert(data.end(), stored.begin(), stored.end());
  data.push_back(version);
  DataHelpers::appendLittleEndian(data, size);
  return data;
}

std::optional<FSItem> FSItem::decode(ByteView record) {
  using DataHelpers::safeValueAndIncrement;
  std::size_t offset = 0;
  FSItem item;
  auto fsid = safeValueAndIncrement<std::uint32_t>(record, offset);
  auto parentID = safeValueAndIncrement<std::uint32_t>(record, offset);
  auto type = safeValueAndIncrement<std::uint8_t>(record, offset);
  auto created = safeValueAndIncrement<std::int32_t>(record, offset);
  auto modified = safeValueAndIncrement<std::int32_t>(record, offset);
  auto nameLength = safeValueAndIncrement<std::uint16_t>(record, offset);
  if (!fsid || !parentID || !type || !created || !modified || !nameLength) return std::nullopt;
  if (*type > 1) return std::nullopt;
  auto nameBytes = DataHelpers::subdata_safe(record, offset, *nameLength);
  if (!nameBytes || nameBytes->empty()) return std::nullopt;
  std::string_view name = asText(*nameBytes);
  if (!SharedAdditions::isValidUTF8(name)) return std::nullopt;
  offset += *nameLength;
  item.fsid = *fsid;
  item.parentID = *parentID;
  item.type = static_cast<Type>(*type);
  item.creationDate = *created;
  item.modificationDate = *modified;
  item.name.assign(name);
  auto version = safeValueAndIncrement<std::uint8_t>(record, offset);
  item.version = version.value_or(0);
  item.size = version ? safeValueAndIncrement<std::int64_t>(record, offset).value_or(-1) : -1;
  return item;
}

std::int32_t dateToInt32(std::optional<Date> date) {
  if (!date) return 0;
  double seconds = std::floor(secondsSinceReferenceDate(*date));
  if (!(seconds >= std::numeric_limits<std::int32_t>::min() && seconds <= std::numeric_limits<std::int32_t>::max()))
    return 0;
  return static_cast<std::int32_t>(seconds);
}

}  // namespace velmora
