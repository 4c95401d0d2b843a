#include "search/BulkRecordParser.h"

#include <cstring>

#include "common/Logger.h"
#include "common/SharedAdditions.h"

namespace velmora {

namespace {

// A read cursor over one record that never passes its end.
class Cursor {
 public:
  Cursor(const unsigned char* start, std::size_t length) : start_(start), length_(length) {}
  template <typename T>
  bool read(T& value) {
    if (offset_ + sizeof(T) > length_) return false;
    std::memcpy(&value, start_ + offset_, sizeof(T));  // fields lie unaligned
    offset_ += sizeof(T);
    return true;
  }
  bool skip(std::size_t bytes) {
    if (offset_ + bytes > length_) return false;
    offset_ += bytes;
    return true;
  }
  std::size_t offset() const { return offset_; }

 private:
  const unsigned char* start_;
  std::size_t length_;
  std::size_t offset_ = 0;
};

struct Timespec64 {
  std::int64_t seconds;
  std::int64_t nanoseconds;
};

timespec toTimespec(const Timespec64& t) {
  timespec out{};
  out.tv_sec = static_cast<time_t>(t.seconds);
  out.tv_nsec = static_cast<long>(t.nanoseconds);
  return out;
}

}  // namespace

BulkRecordParser::Result BulkRecordParser::parse(const unsigned char* buffer, std::size_t size, int count,
                                                 std::string_view directory, std::vector<FSItemAndAttrs>& items) {
  Result result;
  std::size_t at = 0;
  for (int index = 0; index < count; ++index) {
    std::uint32_t length = 0;
    if (at + sizeof length > size) {
      result.complete = false;
      break;
    }
    std::memcpy(&length, buffer + at, sizeof length);
    if (length < 24 || at + length > size) {
      result.complete = false;
      break;
    }
    const unsigned char* record = buffer + at;
    Cursor cursor(record, length);
    cursor.skip(4);
    std::uint32_t masks[5] = {};
    for (auto& mask : masks) cursor.read(mask);
    const std::uint32_t common = masks[0];
    const std::uint32_t file = masks[3];

    FSItemAndAttrs item;
    bool intact = true;
    if (common & ATTR_CMN_NAME) {
      std::size_t referenceAt = cursor.offset();
      std::int32_t nameOffset = 0;
      std::uint32_t nameLength = 0;
      intact = cursor.read(nameOffset) && cursor.read(nameLength);
      std::int64_t nameStart = static_cast<std::int64_t>(referenceAt) + nameOffset;
      if (intact && nameStart >= 0 && nameStart + static_cast<std::int64_t>(nameLength) <= length) {
        std::string_view raw(reinterpret_cast<const char*>(record + nameStart), nameLength);
        raw = raw.substr(0, raw.find('\0'));
        item.name = SharedAdditions::repairedUTF8(raw);
      } else {
        intact = false;
      }
    }
    std::optional<std::uint32_t> objectType;
    if (intact && (common & ATTR_CMN_FSID)) {
      FileSystemID fsid;
      intact = cursor.read(fsid.val[0]) && cursor.read(fsid.val[1]);
      item.fileSystem = fsid;
    }
    if (intact && (common & ATTR_CMN_OBJTYPE)) {
      std::uint32_t type = 0;
      intact = cursor.read(type);
      objectType = type;
    }
    if (intact && (common & ATTR_CMN_OBJID)) {
      std::uint32_t objectNumber = 0, generation = 0;
      intact = cursor.read(objectNumber) && cursor.read(generation);
      item.object = objectNumber;
    }
    Timespec64 time{};
    if (intact && (common & ATTR_CMN_CRTIME)) {
      intact = cursor.read(time);
      item.createTime = toTimespec(time);
    }
    if (intact && (common & ATTR_CMN_MODTIME)) {
      intact = cursor.read(time);
      item.modifyTime = toTimespec(time);
    }
    if (intact && (common & ATTR_CMN_ACCTIME)) {
      intact = cursor.read(time);
      item.accessTime = toTimespec(time);
    }
    if (intact && (common & ATTR_CMN_FILEID)) {
      std::uint64_t fileID = 0;
      intact = cursor.read(fileID);
      item.object = fileID;
    }
    bool keep = true;
    if (intact && (file & ATTR_FILE_TOTALSIZE)) {
      std::int64_t totalSize = 0;
      intact = cursor.read(totalSize);
      if (totalSize < 0) {
        // Damaged data must not end the crawl: the entry is left out.
        VLOG("negative size in a record of {}", directory);
        keep = false;
      }
      item.fileSize = totalSize < 0 ? 0 : static_cast<std::uint64_t>(totalSize);
    }
    if (!intact) {
      result.complete = false;
      break;
    }
    if (objectType && *objectType != VREG && *objectType != VDIR) keep = false;
    item.isDirectory = objectType && *objectType == VDIR;
    if (item.isDirectory) item.fileSize = 0;
    if (keep) {
      item.fullPath.reserve(directory.size() + 1 + item.name.size());
      item.fullPath.append(directory).append("/").append(item.name);
      items.push_back(std::move(item));
    }
    ++result.recordsRead;
    at += length;  // the record's own length, whatever was read
  }
  return result;
}

}  // namespace velmora
