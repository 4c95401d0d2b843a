#include "index/store/KeyPrefixCursor.h"

#include <cstring>

#include "common/Logger.h"
#include "common/SharedAdditions.h"

namespace velmora {

KeyPrefixCursor::KeyPrefixCursor(std::shared_ptr<const Database> database, Transaction transaction,
                                 std::string prefix)
    : Cursor(std::move(database), std::move(transaction)), prefix_(std::move(prefix)) {}

std::optional<std::string> KeyPrefixCursor::next() {
  MDB_val key{}, value{};
  while (step(key, value)) {
    if (key.mv_size < prefix_.size() || std::memcmp(key.mv_data, prefix_.data(), prefix_.size()) != 0) continue;
    std::string text(static_cast<const char*>(key.mv_data), key.mv_size);
    if (!SharedAdditions::isValidUTF8(text)) {
      VLOG("KeyPrefixCursor bad key. {} bytes: {}", text.size(), SharedAdditions::hexString(text));
      return std::nullopt;
    }
    return text;
  }
  return std::nullopt;
}

}  // namespace velmora
