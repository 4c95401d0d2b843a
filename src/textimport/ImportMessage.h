#pragma once
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "common/Result.h"
#include "textimport/ImportTextTools.h"

namespace velmora {

// One message on the import helper's sockets, requests and replies alike,
// in the flat form of WireFormat.h. Requests: "start", "quit", "importText",
// "wordsInFile", "copyContentsToClipboardImporter". Replies echo the request's
// name. The control channel carries "cancelInfo" (to the helper) and
// "removeCancel", "clearCancel", "setProgress", "clearProgress" (from it).
struct ImportMessage {
  std::string op;
  std::string path;
  bool hasFd = false;
  bool searchAllFiles = false;
  bool useOCR = false;
  std::uint64_t maxLength = 0;
  int percentage = 0;
  std::optional<std::string> error;
  std::vector<std::string> pages;       // importText reply
  ImportTextTools::WordCounts words;    // wordsInFile reply
  std::string data;                     // copyContents reply: an encoded CopyContentsImportsResult
  std::vector<std::string> paths;       // cancelInfo

  std::string encode() const;
  // Fails for anything that isn't a well-formed message of a known name.
  static Result<ImportMessage> decode(const std::string& bytes);
};

}  // namespace velmora
