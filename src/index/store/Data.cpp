#include "index/store/Data.h"

#include "common/SharedAdditions.h"

namespace velmora::DataHelpers {

std::optional<ByteView> subdata_safe(ByteView data, std::size_t offset, std::size_t length) {
  if (offset > data.size() || data.size() - offset < length) return std::nullopt;
  return data.subspan(offset, length);
}

std::string hexString(ByteView data) { return SharedAdditions::hexString(data.data(), data.size()); }

}  // namespace velmora::DataHelpers
