#include "textimport/ImageImporter.h"

#include <leptonica/allheaders.h>

#include "textimport/TextRecognizer.h"

namespace velmora {

std::optional<ImportTextTools::ImportTextResult> ImageImporter::importImage(const ImportFile& file, std::size_t,
                                                                            bool useOCR,
                                                                            const ImportTextTools::ProgressHandler&,
                                                                            const ImportTextTools::ShouldCancel&,
                                                                            std::string& failure) {
  if (!useOCR) return std::nullopt;
  std::string bytes;
  if (!file.readAll(bytes, failure, std::size_t(512) << 20)) return std::nullopt;
  setMsgSeverity(L_SEVERITY_NONE);  // the failure returned says enough
  Pix* pix = pixReadMem(reinterpret_cast<const l_uint8*>(bytes.data()), bytes.size());
  if (!pix) {
    failure = "the image could not be decoded";
    return std::nullopt;
  }
  const int dpi = pixGetXRes(pix);
  std::vector<std::string> lines;
  const bool read = TextRecognizer::linesOfText(pix, dpi >= 70 ? dpi : 300, lines, failure);
  pixDestroy(&pix);
  if (!read) return std::nullopt;
  ImportTextTools::ImportTextResult result;
  result.ocrText = std::vector<ImportTextTools::Page>{{TextRecognizer::joined(lines)}};
  return result;
}

}  // namespace velmora
