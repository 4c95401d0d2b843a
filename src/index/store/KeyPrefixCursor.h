#pragma once
#include <optional>
#include <string>

#include "index/store/Cursor.h"

namespace velmora {

// Yields the keys (as text) that begin with a prefix. It scans from the very
// first key of the database, not from the prefix, and never reads values.
class KeyPrefixCursor : public Cursor {
 public:
  KeyPrefixCursor(std::shared_ptr<const Database> database, Transaction transaction, std::string prefix);

  // The next key with the prefix, or nothing at the end, on a failure, or at
  // a key that is not UTF-8 (which ends the walk after a log line).
  std::optional<std::string> next();

  const std::string& prefix() const { return prefix_; }
  ByteView prefixData() const { return asBytes(prefix_); }

 private:
  std::string prefix_;
};

}  // namespace velmora
