#include "textimport/PDFImporter.h"

#include <leptonica/allheaders.h>
#include <poppler-document.h>
#include <poppler-global.h>
#include <poppler-page-renderer.h>
#include <poppler-page.h>

#include <cstdio>
#include <memory>

#include "textimport/TextRecognizer.h"

namespace velmora {

namespace {

std::size_t characterCount(const std::string& text) {
  std::size_t n = 0;
  for (char c : text)
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80) ++n;
  return n;
}

// Poppler ends each page's text with a form feed; pages are kept apart by
// the list instead.
std::string utf8(const poppler::ustring& text) {
  auto bytes = text.to_utf8();
  std::string out(bytes.begin(), bytes.end());
  while (!out.empty() && out.back() == '\f') out.pop_back();
  return out;
}

// Poppler reports damage in documents on standard error; the failure we
// return says enough.
void quietPoppler(const std::string&, void*) {}

Pix* grayPix(const poppler::image& image) {
  const int width = image.width(), height = image.height();
  Pix* pix = pixCreate(width, height, 8);
  if (!pix) return nullptr;
  pixSetResolution(pix, PDFImporter::ocrResolution, PDFImporter::ocrResolution);
  const char* data = image.const_data();
  const int stride = image.bytes_per_row();
  l_uint32* out = pixGetData(pix);
  const int wpl = pixGetWpl(pix);
  for (int y = 0; y < height; ++y) {
    const auto* row = reinterpret_cast<const unsigned char*>(data + static_cast<std::ptrdiff_t>(y) * stride);
    l_uint32* line = out + static_cast<std::ptrdiff_t>(y) * wpl;
    for (int x = 0; x < width; ++x) {
      const unsigned char* px = row + 4 * x;  // B G R A in memory
      const int gray = (px[2] * 299 + px[1] * 587 + px[0] * 114) / 1000;
      SET_DATA_BYTE(line, x, gray);
    }
  }
  return pix;
}

}  // namespace

std::optional<ImportTextTools::ImportTextResult> PDFImporter::importPDF(
    const ImportFile& file, std::size_t maxLength, bool useOCR, const ImportTextTools::ProgressHandler& progress,
    const ImportTextTools::ShouldCancel& shouldCancel, std::string& failure) {
  poppler::set_debug_error_function(quietPoppler, nullptr);
  std::unique_ptr<poppler::document> document(poppler::document::load_from_file(file.readPath()));
  if (!document) {
    failure = "not a readable PDF document (damaged or not a PDF)";
    return std::nullopt;
  }
  if (document->is_locked()) {
    failure = "the PDF document is encrypted";
    return std::nullopt;
  }
  auto report = [&](int percentage) {
    if (progress) progress(file.path, percentage);
  };
  report(0);
  ImportTextTools::ImportTextResult result;
  result.text.emplace();
  if (useOCR) result.ocrText.emplace();
  const int pages = document->pages();
  std::size_t gathered = 0;
  poppler::page_renderer renderer;
  renderer.set_render_hints(poppler::page_renderer::antialiasing | poppler::page_renderer::text_antialiasing);
  for (int index = 0; index < pages && gathered < maxLength; ++index) {
    // One page at a time, released before the next: long documents stay small.
    std::unique_ptr<poppler::page> page(document->create_page(index));
    std::string text = page ? utf8(page->text()) : std::string();
    gathered += characterCount(text);
    result.text->push_back({std::move(text)});
    if (useOCR) {
      std::vector<std::string> lines;
      if (page) {
        poppler::image image = renderer.render_page(page.get(), ocrResolution, ocrResolution);
        if (image.is_valid()) {
          if (Pix* pix = grayPix(image)) {
            std::string ocrFailure;
            if (!TextRecognizer::linesOfText(pix, ocrResolution, lines, ocrFailure) && failure.empty())
              failure = ocrFailure;
            pixDestroy(&pix);
          }
        } else {
          std::fprintf(stderr, "Could not create graphics context.\n");
        }
      }
      gathered += lines.size();
      result.ocrText->push_back({TextRecognizer::joined(lines)});
    }
    const int percentage = static_cast<int>((index + 1) * 100 / pages);
    report(percentage);
    if (shouldCancel && shouldCancel()) {
      report(100);
      return result;
    }
  }
  report(100);
  return result;
}

}  // namespace velmora
