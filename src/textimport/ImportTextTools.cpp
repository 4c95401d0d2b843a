#include "textimport/ImportTextTools.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "textimport/CatdocImporter.h"
#include "textimport/ContentTypeTable.h"
#include "textimport/HTMLImporter.h"
#include "textimport/ImageImporter.h"
#include "textimport/ImportSharedState.h"
#include "textimport/OfficeDocumentImporter.h"
#include "textimport/PDFImporter.h"
#include "textimport/PlainTextImporter.h"
#include "textimport/WordSplitter.h"

namespace velmora {

namespace {

std::string lowercaseExtension(const std::string& path) {
  const auto slash = path.rfind('/');
  const auto dot = path.rfind('.');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash) || dot + 1 == path.size()) return {};
  std::string ext = path.substr(dot + 1);
  std::transform(ext.begin(), ext.end(), ext.begin(), [](unsigned char c) { return std::tolower(c); });
  return ext;
}

// The platform's attributed-string reader covers several formats; here each
// of them has its own reader.
ImportTextTools::ImportFunction attributedStringImporter(const std::string& type) {
  using Format = OfficeDocumentImporter::Format;
  if (type == "public.rtf" || type == "com.microsoft.word.doc") return CatdocImporter::importDocument;
  if (type == "public.html") return HTMLImporter::importHTML;
  if (type == "public.plain-text") return PlainTextImporter::importRawText;
  if (type == "org.openxmlformats.wordprocessingml.document") return OfficeDocumentImporter::importerFor(Format::docx);
  if (type == "org.openxmlformats.spreadsheetml.sheet") return OfficeDocumentImporter::importerFor(Format::xlsx);
  if (type == "org.openxmlformats.presentationml.presentation") return OfficeDocumentImporter::importerFor(Format::pptx);
  return OfficeDocumentImporter::importerFor(Format::openDocument);
}

}  // namespace

std::optional<std::string> ImportTextTools::ImportTextResult::allText(bool useOCR) const {
  const auto& pages = useOCR ? ocrText : text;
  if (!pages) return std::nullopt;
  std::string out;
  for (std::size_t i = 0; i < pages->size(); ++i) {
    if (i) out.push_back('\n');
    out += (*pages)[i].text;
  }
  return out;
}

ImportTextTools::ImportTextTools() {
  for (const auto& type : ContentTypeTable::attributedStringTextTypes())
    NSAttributedStringTextTypesCache[type] = attributedStringImporter(type);
  for (const auto& type : ContentTypeTable::imageTypes()) NSImageTypesCache[type] = ImageImporter::importImage;
  NSImageTypesCache["com.adobe.illustrator.ai-image"] = ImageImporter::importImage;

  // Later rows replace earlier ones for the same type.
  auto build = [&](bool useOCR) {
    ImportTable table = NSAttributedStringTextTypesCache;
    if (useOCR)
      for (const auto& [type, function] : NSImageTypesCache) table[type] = function;
    table["com.adobe.pdf"] = PDFImporter::importPDF;
    table["public.html"] = HTMLImporter::importHTML;
    table["public.plain-text"] = PlainTextImporter::importRawText;
    table["com.apple.traditional-mac-plain-text"] = PlainTextImporter::importRawText;
    // Listed by the platform, but web archives are never imported.
    table.erase("com.apple.webarchive");
    return table;
  };
  builtinFileImportFunctions_Cache = build(false);
  builtinFileImportFunctionsWithOCR_Cache = build(true);
}

const std::vector<std::string>& ImportTextTools::rawExtensions() {
  static const std::vector<std::string> extensions = {"indd", "swift", "c", "cpp", "h", "json", "emlx", "tsx"};
  return extensions;
}

bool ImportTextTools::hasRawExtension(const std::string& path) {
  const std::string ext = lowercaseExtension(path);
  if (ext.empty()) return false;
  const auto& raw = rawExtensions();
  return std::find(raw.begin(), raw.end(), ext) != raw.end();
}

bool ImportTextTools::canImportTextFrom(const std::string& path, bool useOCR) const {
  if (auto type = ContentTypeTable::typeIdentifier(path); type && table(useOCR).count(*type)) return true;
  return hasRawExtension(path);
}

std::optional<ImportTextTools::ImportTextResult> ImportTextTools::importFileText(
    const ImportFile& file, bool searchAllFiles, std::size_t maxLength, bool useOCR,
    const ProgressHandler& progressHandler, const ShouldCancel& shouldCancel) {
  lastFailure_.clear();
  if (file.fd < 0 && ::access(file.path.c_str(), R_OK) != 0) {
    // Gone (or never there) before it could be read: say so, rather than
    // what a parser makes of a missing file.
    lastFailure_ = std::string("cannot open: ") + std::strerror(errno);
    return std::nullopt;
  }
  const ImportTable& functions = table(useOCR);
  if (auto type = ContentTypeTable::typeIdentifier(file.path)) {
    if (auto found = functions.find(*type); found != functions.end())
      return found->second(file, maxLength, useOCR, progressHandler, shouldCancel, lastFailure_);
  }
  if (!searchAllFiles && !hasRawExtension(file.path)) return std::nullopt;
  return PlainTextImporter::importUTF8(file, lastFailure_);
}

std::vector<std::string> ImportTextTools::wordsFromText(std::string_view text) const {
  return WordSplitter::shared().words(text);
}

void ImportTextTools::countWords(std::string_view text, WordCounts& counts) const {
  WordSplitter::shared().forEachWord(text, [&](std::string_view word) {
    auto found = counts.find(std::string(word));
    if (found != counts.end())
      ++found->second;
    else
      counts.emplace(word, 1);
  });
}

ImportTextTools::WordCounts ImportTextTools::wordsInFile(const ImportFile& file, bool useOCR,
                                                         const ProgressHandler& progressHandler,
                                                         const ShouldCancel& shouldCancel) {
  WordCounts total;
  auto result = importFileText(file, false, unlimitedLength, useOCR, progressHandler, shouldCancel);
  if (!result) return total;
  auto countPages = [&](const std::vector<Page>& pages) {
    for (const auto& page : pages) countWords(page.text, total);
  };
  if (!useOCR) {
    if (result->text) countPages(*result->text);
    return total;
  }
  if (result->text && result->ocrText && result->text->size() == result->ocrText->size()) {
    // Two readings of the same ink: a word found by both counts once, at
    // the larger of its two counts on that page.
    for (std::size_t i = 0; i < result->text->size(); ++i) {
      WordCounts page, ocr;
      countWords((*result->text)[i].text, page);
      countWords((*result->ocrText)[i].text, ocr);
      for (const auto& [word, count] : ocr) {
        auto& mine = page[word];
        mine = std::max(mine, count);
      }
      for (const auto& [word, count] : page) total[word] += count;
    }
    return total;
  }
  if (result->text) countPages(*result->text);
  else if (result->ocrText) countPages(*result->ocrText);
  return total;
}

void ImportTextTools::sendCancelFor(const std::string& path) { ImportSharedState::shared().addCancel(path); }
std::set<std::string> ImportTextTools::currentCancelItems() { return ImportSharedState::shared().cancelItems(); }
void ImportTextTools::removeCancelFor(const std::string& path) { ImportSharedState::shared().removeCancel(path); }
void ImportTextTools::clearCancel() { ImportSharedState::shared().clearCancel(); }
void ImportTextTools::setProgress(const std::string& path, int percentage) {
  ImportSharedState::shared().setProgress(path, percentage);
}
std::map<std::string, int> ImportTextTools::progressInfo() { return ImportSharedState::shared().progress(); }
void ImportTextTools::clearProgress(const std::string& path) { ImportSharedState::shared().clearProgress(path); }

}  // namespace velmora
