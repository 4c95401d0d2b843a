#pragma once
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "textimport/ImportFile.h"

namespace velmora {

// Turns one file into text, and text into counted words. One instance per
// job: it holds no state that changes after construction but the reason of
// its last failure.
class ImportTextTools {
 public:
  struct Page {
    std::string text;
  };

  struct ImportTextResult {
    std::optional<std::vector<Page>> text;
    std::optional<std::vector<Page>> ocrText;
    // The pages of ocrText with useOCR, else of text, joined by one line feed.
    std::optional<std::string> allText(bool useOCR) const;
  };

  using ProgressHandler = std::function<void(const std::string& path, int percentage)>;
  using ShouldCancel = std::function<bool()>;
  using WordCounts = std::unordered_map<std::string, std::int64_t>;
  using ImportFunction = std::function<std::optional<ImportTextResult>(
      const ImportFile& file, std::size_t maxLength, bool useOCR, const ProgressHandler& progress,
      const ShouldCancel& shouldCancel, std::string& failure)>;
  using ImportTable = std::map<std::string, ImportFunction>;

  static constexpr std::size_t unlimitedLength = SIZE_MAX;

  ImportTextTools();

  bool canImportTextFrom(const std::string& path, bool useOCR) const;
  std::optional<ImportTextResult> importFileText(const ImportFile& file, bool searchAllFiles, std::size_t maxLength,
                                                 bool useOCR, const ProgressHandler& progressHandler = {},
                                                 const ShouldCancel& shouldCancel = {});
  WordCounts wordsInFile(const ImportFile& file, bool useOCR, const ProgressHandler& progressHandler = {},
                         const ShouldCancel& shouldCancel = {});
  std::vector<std::string> wordsFromText(std::string_view text) const;
  // Adds the words of text to counts, one per occurrence.
  void countWords(std::string_view text, WordCounts& counts) const;

  // Why the last import gave no result ("not valid UTF-8", "damaged PDF: ..."),
  // empty when it gave one or when the type has no importer.
  const std::string& lastFailure() const { return lastFailure_; }

  const ImportTable& table(bool useOCR) const {
    return useOCR ? builtinFileImportFunctionsWithOCR_Cache : builtinFileImportFunctions_Cache;
  }
  static const std::vector<std::string>& rawExtensions();
  static bool hasRawExtension(const std::string& path);

  // The state shared with the import helper (ImportSharedState): cancel
  // requests by path and progress by path.
  static void sendCancelFor(const std::string& path);
  static std::set<std::string> currentCancelItems();
  static void removeCancelFor(const std::string& path);
  static void clearCancel();
  static void setProgress(const std::string& path, int percentage);
  static std::map<std::string, int> progressInfo();
  static void clearProgress(const std::string& path);

 private:
  ImportTable NSAttributedStringTextTypesCache;
  ImportTable NSImageTypesCache;
  ImportTable builtinFileImportFunctionsWithOCR_Cache;
  ImportTable builtinFileImportFunctions_Cache;
  std::string lastFailure_;
};

}  // namespace velmora
