#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "textimport/ImportTextTools.h"

namespace velmora {

// Plain text: UTF-8, then Mac OS Roman, then ASCII; one page, never cut.
class PlainTextImporter {
 public:
  static std::optional<ImportTextTools::ImportTextResult> importRawText(const ImportFile& file, std::size_t maxLength,
                                                                        bool useOCR,
                                                                        const ImportTextTools::ProgressHandler& progress,
                                                                        const ImportTextTools::ShouldCancel& shouldCancel,
                                                                        std::string& failure);
  // The raw-extension path: UTF-8 only, anything else gives no result.
  static std::optional<ImportTextTools::ImportTextResult> importUTF8(const ImportFile& file, std::string& failure);

  static bool isValidUTF8(std::string_view bytes);
  // Every byte is a character in Mac OS Roman, so this never fails.
  static std::string macRomanToUTF8(std::string_view bytes);
};

}  // namespace velmora
