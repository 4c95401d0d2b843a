#pragma once
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "textimport/ImportFile.h"
#include "textimport/ImportTextTools.h"

namespace velmora {

struct ImportTextReply {
  std::vector<std::string> pages;
  std::optional<std::string> error;  // why there is no text, when known
  // The pages joined by one blank, as the reply's text.
  std::string text() const {
    std::string out;
    for (std::size_t i = 0; i < pages.size(); ++i) {
      if (i) out.push_back(' ');
      out += pages[i];
    }
    return out;
  }
};

struct WordsInFileReply {
  ImportTextTools::WordCounts words;
  std::optional<std::string> error;
};

// The messages the import helper answers, one at a time. The file comes as
// an open descriptor where the client could open it, else as a path alone.
class WordsInFileProtocol {
 public:
  virtual ~WordsInFileProtocol() = default;
  virtual void start() = 0;
  virtual void quit() = 0;
  virtual ImportTextReply importText(const ImportFile& file, bool searchAllFiles, std::size_t maxLength,
                                     bool useOCR) = 0;
  virtual WordsInFileReply wordsInFile(const ImportFile& file, bool useOCR) = 0;
  // The bytes of an encoded CopyContentsImportsResult.
  virtual std::string copyContentsToClipboardImporter(const ImportFile& file, bool useOCR) = 0;
};

}  // namespace velmora
