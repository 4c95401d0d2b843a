#pragma once
#include <string>

namespace velmora {

// The kind column's text for a file, from its name alone so that a row
// never touches the disk before it is seen: "PDF document", "JPEG image",
// "MD file" for an extension without a known description, "Document" for
// none.
namespace FileKind {
std::string kindForFileName(const std::string& name);
}

}  // namespace velmora
