#include "search/results/FileKind.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <unordered_map>

namespace velmora::FileKind {

namespace {
const std::unordered_map<std::string_view, std::string_view>& descriptions() {
  static const std::unordered_map<std::string_view, std::string_view> table{
      {"txt", "Plain text document"}, {"text", "Plain text document"}, {"md", "Markdown document"},
      {"rtf", "RTF document"},        {"pdf", "PDF document"},         {"doc", "Word document"},
      {"docx", "Word document"},      {"odt", "OpenDocument text"},    {"xls", "Excel spreadsheet"},
      {"xlsx", "Excel spreadsheet"},  {"ods", "OpenDocument spreadsheet"},
      {"ppt", "PowerPoint presentation"}, {"pptx", "PowerPoint presentation"},
      {"odp", "OpenDocument presentation"}, {"csv", "CSV document"},  {"json", "JSON document"},
      {"xml", "XML document"},        {"html", "HTML document"},       {"htm", "HTML document"},
      {"jpg", "JPEG image"},          {"jpeg", "JPEG image"},          {"png", "PNG image"},
      {"gif", "GIF image"},           {"heic", "HEIC image"},          {"tif", "TIFF image"},
      {"tiff", "TIFF image"},         {"svg", "SVG image"},            {"webp", "WebP image"},
      {"mp3", "MP3 audio"},           {"m4a", "MPEG-4 audio"},         {"wav", "WAV audio"},
      {"flac", "FLAC audio"},         {"ogg", "Ogg audio"},            {"aac", "AAC audio"},
      {"mp4", "MPEG-4 video"},        {"m4v", "MPEG-4 video"},         {"mov", "QuickTime movie"},
      {"mkv", "Matroska video"},      {"avi", "AVI video"},            {"webm", "WebM video"},
      {"zip", "Zip archive"},         {"gz", "Gzip archive"},          {"tar", "Tar archive"},
      {"xz", "XZ archive"},           {"7z", "7-Zip archive"},         {"dmg", "Disk image"},
      {"iso", "Disk image"},          {"c", "C source code"},          {"h", "C header"},
      {"cpp", "C++ source code"},     {"hpp", "C++ header"},           {"py", "Python script"},
      {"sh", "Shell script"},         {"js", "JavaScript source"},     {"swift", "Swift source code"},
      {"rs", "Rust source code"},     {"go", "Go source code"},        {"java", "Java source code"},
      {"app", "Application"},         {"desktop", "Desktop entry"},    {"eml", "Email message"},
      {"vlcache", "Velmora cache"},
  };
  return table;
}
}  // namespace

std::string kindForFileName(const std::string& name) {
  auto dot = name.rfind('.');
  // A leading dot names a hidden file, not an extension.
  if (dot == std::string::npos || dot == 0 || dot + 1 == name.size()) return "Document";
  std::string extension = name.substr(dot + 1);
  std::string lower = extension;
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  auto it = descriptions().find(lower);
  if (it != descriptions().end()) return std::string(it->second);
  std::string upper = extension;
  std::transform(upper.begin(), upper.end(), upper.begin(),
                 [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return upper + " file";
}

}  // namespace velmora::FileKind
