#pragma once
#include <optional>
#include <string>
#include <vector>

namespace velmora {

// The type identifiers the importers are registered under, read from GIO's
// content type of a file name. GIO's tree differs from the identifiers (html
// is a kind of text/plain there, documents kinds of zip), so the mapping is
// one explicit table rather than GIO's parents.
class ContentTypeTable {
 public:
  // The identifier of a path's type, or nothing when GIO knows no type for
  // the name or the type has no identifier here.
  static std::optional<std::string> typeIdentifier(const std::string& path);
  // The identifier for a MIME type, or nothing.
  static std::optional<std::string> identifierForMIMEType(const std::string& mime);

  // What the attributed-string importer reads (the word-processor formats,
  // and the spreadsheets and presentations users expect with them).
  static const std::vector<std::string>& attributedStringTextTypes();
  // What the image importer reads with OCR.
  static const std::vector<std::string>& imageTypes();
};

}  // namespace velmora
