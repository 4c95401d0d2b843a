#pragma once
#include <optional>
#include <string>

#include "textimport/ImportTextTools.h"

namespace velmora {

// PDF through poppler, page by page, with progress and a cancel check after
// each page; with OCR each page is also rendered at 300 dpi and read.
class PDFImporter {
 public:
  static constexpr int ocrResolution = 300;

  static std::optional<ImportTextTools::ImportTextResult> importPDF(const ImportFile& file, std::size_t maxLength,
                                                                    bool useOCR,
                                                                    const ImportTextTools::ProgressHandler& progress,
                                                                    const ImportTextTools::ShouldCancel& shouldCancel,
                                                                    std::string& failure);
};

}  // namespace velmora
