#pragma once
#include <optional>
#include <string>

#include "textimport/ImportTextTools.h"

namespace velmora {

// Images, for OCR only: the recognised lines make one page of ocrText.
class ImageImporter {
 public:
  static std::optional<ImportTextTools::ImportTextResult> importImage(const ImportFile& file, std::size_t maxLength,
                                                                      bool useOCR,
                                                                      const ImportTextTools::ProgressHandler& progress,
                                                                      const ImportTextTools::ShouldCancel& shouldCancel,
                                                                      std::string& failure);
};

}  // namespace velmora
