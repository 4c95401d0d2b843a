#include "index/store/LMDBError.h"

#include <lmdb.h>

#include <cerrno>

#include <fmt/format.h>

namespace velmora {

LMDBError::Code LMDBError::codeFor(int rc) {
  switch (rc) {
    case -30799: return Code::keyExists;
    case -30798: return Code::notFound;
    case -30797: return Code::pageNotFound;
    case -30796: return Code::corrupted;
    case -30795: return Code::panic;
    case -30794: return Code::versionMismatch;
    case -30793: return Code::invalid;
    case -30792: return Code::mapFull;
    case -30791: return Code::dbsFull;
    case -30790: return Code::readersFull;
    case -30789: return Code::tlsFull;
    case -30788: return Code::txnFull;
    case -30787: return Code::cursorFull;
    case -30786: return Code::pageFull;
    case -30785: return Code::mapResized;
    case -30784: return Code::incompatible;
    case -30783: return Code::badReaderSlot;
    case -30782: return Code::badTransaction;
    case -30781: return Code::badValueSize;
    case -30780: return Code::badDBI;
    case 1: return Code::operationNotPermitted;
    case 5: return Code::ioError;
    case 12: return Code::outOfMemory;
    case 13: return Code::accessViolation;
    case 22: return Code::invalidParameter;
    case 28: return Code::outOfDiskSpace;
    default: return Code::other;
  }
}

const char* LMDBError::caseName(Code code) {
  switch (code) {
    case Code::keyExists: return "keyExists";
    case Code::notFound: return "notFound";
    case Code::pageNotFound: return "pageNotFound";
    case Code::corrupted: return "corrupted";
    case Code::panic: return "panic";
    case Code::versionMismatch: return "versionMismatch";
    case Code::invalid: return "invalid";
    case Code::mapFull: return "mapFull";
    case Code::dbsFull: return "dbsFull";
    case Code::readersFull: return "readersFull";
    case Code::tlsFull: return "tlsFull";
    case Code::txnFull: return "txnFull";
    case Code::cursorFull: return "cursorFull";
    case Code::pageFull: return "pageFull";
    case Code::mapResized: return "mapResized";
    case Code::incompatible: return "incompatible";
    case Code::badReaderSlot: return "badReaderSlot";
    case Code::badTransaction: return "badTransaction";
    case Code::badValueSize: return "badValueSize";
    case Code::badDBI: return "badDBI";
    case Code::operationNotPermitted: return "operationNotPermitted";
    case Code::ioError: return "ioError";
    case Code::outOfMemory: return "outOfMemory";
    case Code::accessViolation: return "accessViolation";
    case Code::invalidParameter: return "invalidParameter";
    case Code::outOfDiskSpace: return "outOfDiskSpace";
    case Code::other: return "other";
  }
  return "other";
}

LMDBError::LMDBError(int returnCode, std::string detail)
    : code_(codeFor(returnCode)), returnCode_(returnCode) {
  message_ = fmt::format("LMDB error {} ({}): {}", caseName(code_), returnCode, mdb_strerror(returnCode));
  if (!detail.empty()) message_ += "; " + detail;
}

Status LMDBError::toStatus(const std::string& context) const {
  std::string text = context.empty() ? message_ : context + ": " + message_;
  switch (code_) {
    case Code::pageNotFound:
    case Code::corrupted:
    case Code::panic:
    case Code::versionMismatch:
    case Code::invalid:
    case Code::incompatible:
      return Status::corruption(std::move(text));
    case Code::mapFull:
    case Code::outOfDiskSpace:
      return Status(Status::Code::noSpace, std::move(text));
    case Code::operationNotPermitted:
    case Code::accessViolation:
      return Status::permissionDenied(std::move(text));
    case Code::invalidParameter:
      return Status::invalidArgument(std::move(text));
    case Code::notFound:
      return Status::notFound(std::move(text));
    default:
      return Status::ioError(std::move(text));
  }
}

}  // namespace velmora
