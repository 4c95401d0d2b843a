#include "index/ImportWordSource.h"

#include "common/Logger.h"
#include "textimport/ImportClient.h"

namespace velmora {

Result<DocumentWordSource::Words> ImportWordSource::wordsInFile(const std::string& path, bool useOCR) {
  auto reply = client_.wordsFromFile(path, useOCR);
  if (!reply.error.ok()) return reply.error;
  // A document the helper can't read simply has no words.
  if (reply.importFailure) VLOG("index: no words from {}: {}", path, *reply.importFailure);
  Words words;
  if (reply.words)
    for (auto& [word, count] : *reply.words) words.emplace(word, count);
  return words;
}

}  // namespace velmora
