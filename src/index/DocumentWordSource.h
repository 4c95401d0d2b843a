#pragma once
#include <cstdint>
#include <map>
#include <string>

#include "common/Result.h"

namespace velmora {

// Where a text or OCR build gets the words of a document: ImportWordSource
// over the text-import client, or a test's own; a names-only build needs
// none, and a text build without one is refused.
// The words are lowercase, each with how often it occurs.
class DocumentWordSource {
 public:
  using Words = std::map<std::string, std::int64_t>;
  virtual ~DocumentWordSource() = default;
  // An empty map when the file has no text; a failure stops the build that
  // asked, as the import being unavailable must not pass for "no words".
  [[nodiscard]] virtual Result<Words> wordsInFile(const std::string& path, bool useOCR) = 0;
};

}  // namespace velmora
