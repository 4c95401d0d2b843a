#pragma once
#include <string>

namespace velmora {

// The kind column's text for a file, from its name alone so that a row
// never touches the disk before it is seen: the shared MIME database's
// description of the type its extension names ("PDF document", "JPEG
// image"), "ZZQ file" for an extension the database does not know,
// "Document" for none.
namespace FileKind {
std::string kindForFileName(const std::string& name);
}

}  // namespace velmora
