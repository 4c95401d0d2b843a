// The office-document XML readers (Word, Excel shared strings and sheets,
// PowerPoint, OpenDocument) on arbitrary bytes fed in pieces, as the parts of
// a zip are inflated. The first byte picks the reader and the piece size.
// Reading in pieces must give what reading at once gives.
// sources: src/textimport/OfficeXMLText.cpp
// links: expat
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "textimport/OfficeXMLText.h"

using namespace velmora;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
  if (size == 0) return 0;
  const auto kind = static_cast<OfficeXMLText::Kind>(bytes[0] % 5);
  const std::size_t piece = 1 + (bytes[0] >> 3);
  static const std::vector<std::string> shared = {"zero", "one", "two"};
  const char* data = reinterpret_cast<const char*>(bytes + 1);
  const std::size_t length = size - 1;

  OfficeXMLText pieces(kind, &shared, 4096);
  bool ok = true;
  for (std::size_t at = 0; ok && at < length; at += piece)
    ok = pieces.feed(data + at, length - at < piece ? length - at : piece, false);
  if (ok) ok = pieces.feed(nullptr, 0, true);

  OfficeXMLText whole(kind, &shared, 4096);
  const bool wholeOk = whole.feed(data, length, true);
  if (ok != wholeOk) std::abort();
  if (ok && pieces.text() != whole.text()) std::abort();
  if (pieces.text().size() > 4096) std::abort();
  return 0;
}
