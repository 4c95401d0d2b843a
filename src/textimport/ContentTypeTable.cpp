#include "textimport/ContentTypeTable.h"

#include <gio/gio.h>

#include <cctype>
#include <string_view>
#include <utility>

namespace velmora {

namespace {

struct Mapping {
  std::string_view mime;
  std::string_view identifier;
};

constexpr Mapping mappings[] = {
    {"text/plain", "public.plain-text"},
    {"text/html", "public.html"},
    {"application/pdf", "com.adobe.pdf"},
    {"application/rtf", "public.rtf"},
    {"text/rtf", "public.rtf"},
    {"application/msword", "com.microsoft.word.doc"},
    {"application/vnd.openxmlformats-officedocument.wordprocessingml.document",
     "org.openxmlformats.wordprocessingml.document"},
    {"application/vnd.openxmlformats-officedocument.spreadsheetml.sheet", "org.openxmlformats.spreadsheetml.sheet"},
    {"application/vnd.openxmlformats-officedocument.presentationml.presentation",
     "org.openxmlformats.presentationml.presentation"},
    {"application/vnd.oasis.opendocument.text", "org.oasis-open.opendocument.text"},
    {"application/vnd.oasis.opendocument.spreadsheet", "org.oasis-open.opendocument.spreadsheet"},
    {"application/vnd.oasis.opendocument.presentation", "org.oasis-open.opendocument.presentation"},
    {"application/x-webarchive", "com.apple.webarchive"},
    {"application/illustrator", "com.adobe.illustrator.ai-image"},
    {"image/png", "public.png"},
    {"image/jpeg", "public.jpeg"},
    {"image/tiff", "public.tiff"},
    {"image/gif", "com.compuserve.gif"},
    {"image/bmp", "com.microsoft.bmp"},
    {"image/webp", "org.webmproject.webp"},
    {"image/x-portable-pixmap", "public.pbm"},
    {"image/x-portable-graymap", "public.pbm"},
    {"image/x-portable-bitmap", "public.pbm"},
    {"image/jp2", "public.jpeg-2000"},
};

struct GFree {
  gchar* text;
  ~GFree() { g_free(text); }
};

}  // namespace

std::optional<std::string> ContentTypeTable::identifierForMIMEType(const std::string& mime) {
  for (const auto& m : mappings)
    if (m.mime == mime) return std::string(m.identifier);
  return std::nullopt;
}

std::optional<std::string> ContentTypeTable::typeIdentifier(const std::string& path) {
  const auto slash = path.rfind('/');
  const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  if (name.empty()) return std::nullopt;
  // shared-mime-info has no web archive type; its extension names it.
  if (const auto dot = name.rfind('.'); dot != std::string::npos) {
    std::string ext = name.substr(dot + 1);
    for (char& c : ext) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    if (ext == "webarchive") return std::string("com.apple.webarchive");
  }
  GFree type{g_content_type_guess(name.c_str(), nullptr, 0, nullptr)};
  if (!type.text || g_content_type_is_unknown(type.text)) return std::nullopt;
  GFree mime{g_content_type_get_mime_type(type.text)};
  return identifierForMIMEType(mime.text ? mime.text : type.text);
}

const std::vector<std::string>& ContentTypeTable::attributedStringTextTypes() {
  // The web archive is listed as the platform lists it; the import table
  // removes it again.
  static const std::vector<std::string> types = {
      "public.plain-text",
      "public.html",
      "public.rtf",
      "com.microsoft.word.doc",
      "org.openxmlformats.wordprocessingml.document",
      "org.openxmlformats.spreadsheetml.sheet",
      "org.openxmlformats.presentationml.presentation",
      "org.oasis-open.opendocument.text",
      "org.oasis-open.opendocument.spreadsheet",
      "org.oasis-open.opendocument.presentation",
      "com.apple.webarchive",
  };
  return types;
}

const std::vector<std::string>& ContentTypeTable::imageTypes() {
  static const std::vector<std::string> types = {"public.png",         "public.jpeg",         "public.tiff",
                                                 "com.compuserve.gif", "com.microsoft.bmp",   "org.webmproject.webp",
                                                 "public.pbm",         "public.jpeg-2000"};
  return types;
}

}  // namespace velmora
