#pragma once
#include <exception>
#include <string>

#include "common/Result.h"

namespace velmora {

// A failure of the LMDB library, one case per return code. Thrown inside the
// store layer; owners above it catch and turn it into their own results.
class LMDBError : public std::exception {
 public:
  enum class Code {
    keyExists,          // -30799
    notFound,           // -30798
    pageNotFound,       // -30797
    corrupted,          // -30796
    panic,              // -30795
    versionMismatch,    // -30794
    invalid,            // -30793
    mapFull,            // -30792
    dbsFull,            // -30791
    readersFull,        // -30790
    tlsFull,            // -30789
    txnFull,            // -30788
    cursorFull,         // -30787
    pageFull,           // -30786
    mapResized,         // -30785
    incompatible,       // -30784
    badReaderSlot,      // -30783
    badTransaction,     // -30782
    badValueSize,       // -30781
    badDBI,             // -30780
    operationNotPermitted,  // EPERM
    ioError,                // EIO
    outOfMemory,            // ENOMEM
    accessViolation,        // EACCES
    invalidParameter,       // EINVAL
    outOfDiskSpace,         // ENOSPC
    other,
  };

  explicit LMDBError(int returnCode, std::string detail = {});

  Code code() const { return code_; }
  // The library's return code as received (for `other`, the unknown code).
  int returnCode() const { return returnCode_; }
  const char* what() const noexcept override { return message_.c_str(); }

  // The failure as the library's callers see it, its message after `context`.
  Status toStatus(const std::string& context) const;

  static Code codeFor(int returnCode);
  static const char* caseName(Code code);

  // Throws when the library call failed.
  static void check(int returnCode) {
    if (returnCode != 0) throw LMDBError(returnCode);
  }

 private:
  Code code_;
  int returnCode_;
  std::string message_;
};

}  // namespace velmora
