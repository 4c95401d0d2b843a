#pragma once
#include <optional>
#include <string>
#include <string_view>

#include "textimport/ImportTextTools.h"

namespace velmora {

// HTML through libxml2's forgiving HTML parser: the text of the document
// without script, style, noscript and template content; no-break spaces are
// blanks.
class HTMLImporter {
 public:
  static std::optional<ImportTextTools::ImportTextResult> importHTML(const ImportFile& file, std::size_t maxLength,
                                                                     bool useOCR,
                                                                     const ImportTextTools::ProgressHandler& progress,
                                                                     const ImportTextTools::ShouldCancel& shouldCancel,
                                                                     std::string& failure);
  static std::optional<std::string> textOfHTML(std::string_view html);
};

}  // namespace velmora
