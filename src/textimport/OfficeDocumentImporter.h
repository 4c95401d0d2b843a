#pragma once
#include <optional>
#include <string>

#include "textimport/ImportTextTools.h"

namespace velmora {

// Office Open XML and OpenDocument files: a zip of XML parts, read with
// libzip and expat. Parts are inflated in chunks with a ceiling, so a zip
// bomb costs time up to that ceiling and then fails, never memory.
class OfficeDocumentImporter {
 public:
  enum class Format { docx, xlsx, pptx, openDocument };
  static constexpr std::size_t maxInflatedPartBytes = std::size_t(256) << 20;

  static std::optional<ImportTextTools::ImportTextResult> importDocument(Format format, const ImportFile& file,
                                                                         std::size_t maxLength, std::string& failure);
  static ImportTextTools::ImportFunction importerFor(Format format);
};

}  // namespace velmora
