#pragma once
// Small helpers shared by the command families: path pieces as the filters
// see them, and typed access to parser arguments.
#include <any>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "query/SentenceComponent.h"

namespace velmora::commandsupport {

// The last path component ("c.txt" of "/a/b/c.txt"); a trailing "/" is ignored.
std::string_view lastPathComponent(std::string_view path);
// The path without its last component ("/a/b" of "/a/b/c.txt").
std::string_view deletingLastPathComponent(std::string_view path);
// The extension of the last component without its dot; empty when none
// (a leading dot alone makes no extension: ".profile").
std::string_view pathExtension(std::string_view path);
// Number of user-perceived characters.
std::size_t characterCount(std::string_view text);

template <typename T>
const T* arg(const std::vector<std::any>& args, std::size_t index) {
  return index < args.size() ? std::any_cast<T>(&args[index]) : nullptr;
}
std::optional<long long> intArg(const std::vector<std::any>& args, std::size_t index);
std::optional<std::string> textArg(const std::vector<std::any>& args, std::size_t index);

}  // namespace velmora::commandsupport
