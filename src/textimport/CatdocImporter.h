#pragma once
#include <chrono>
#include <optional>
#include <string>

#include "textimport/ImportTextTools.h"

namespace velmora {

// RTF and Word 97-2003 documents through the catdoc program (Debian has no
// library for them), which gets the file on its standard input and a time
// limit: a document that sends it into a loop is abandoned.
class CatdocImporter {
 public:
  static constexpr std::chrono::seconds timeLimit{30};
  static constexpr std::size_t maxOutputBytes = std::size_t(256) << 20;

  static std::optional<ImportTextTools::ImportTextResult> importDocument(
      const ImportFile& file, std::size_t maxLength, bool useOCR, const ImportTextTools::ProgressHandler& progress,
      const ImportTextTools::ShouldCancel& shouldCancel, std::string& failure);
};

}  // namespace velmora
