#pragma once
#include "index/DocumentWordSource.h"

namespace velmora {

class ImportClient;

// The words of a document from the import helper (velmora-import) through
// the text-import client: what text and OCR builds use.
class ImportWordSource final : public DocumentWordSource {
 public:
  explicit ImportWordSource(ImportClient& client) : client_(client) {}
  Result<Words> wordsInFile(const std::string& path, bool useOCR) override;

 private:
  ImportClient& client_;
};

}  // namespace velmora
