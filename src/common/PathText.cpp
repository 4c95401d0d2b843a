#include "common/PathText.h"

namespace velmora {

std::string_view PathText::lastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  if (path == "/") return path;
  auto slash = path.rfind('/');
  return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

std::string_view PathText::deletingLastPathComponent(std::string_view path) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  auto slash = path.rfind('/');
  if (slash == std::string_view::npos) return {};
  if (slash == 0) return path.substr(0, 1);
  return path.substr(0, slash);
}

std::string_view PathText::pathExtension(std::string_view path) {
  std::string_view name = lastPathComponent(path);
  auto dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0 || dot + 1 == name.size()) return {};
  return name.substr(dot + 1);
}

}  // namespace velmora
