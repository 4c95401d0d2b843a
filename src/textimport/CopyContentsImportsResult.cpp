#include "textimport/CopyContentsImportsResult.h"

#include "textimport/WireFormat.h"

namespace velmora {

namespace {
enum Tag : std::uint8_t { errorTag = 1, textTag, imageTag };
}

std::string CopyContentsImportsResult::encodedData() const {
  WireWriter w;
  if (error) w.text(errorTag, *error);
  if (text) w.text(textTag, *text);
  if (image) w.text(imageTag, std::string_view(reinterpret_cast<const char*>(image->data()), image->size()));
  return w.take();
}

Result<CopyContentsImportsResult> CopyContentsImportsResult::decode(const std::string& data) {
  WireReader r(data);
  CopyContentsImportsResult result;
  while (!r.atEnd()) {
    std::uint8_t tag;
    std::string_view value;
    if (!r.tag(tag) || !r.bytes(value)) return Status::corruption("a truncated copy-contents record");
    switch (tag) {
      case errorTag: result.error = std::string(value); break;
      case textTag: result.text = std::string(value); break;
      case imageTag: result.image = std::vector<std::uint8_t>(value.begin(), value.end()); break;
      default: return Status::corruption("an unknown field in a copy-contents record");
    }
  }
  return result;
}

}  // namespace velmora
