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

// Number of user-perceived characters.
std::size_t characterCount(std::string_view text);

template <typename T>
const T* arg(const std::vector<std::any>& args, std::size_t index) {
  return index < args.size() ? std::any_cast<T>(&args[index]) : nullptr;
}
std::optional<long long> intArg(const std::vector<std::any>& args, std::size_t index);
std::optional<std::string> textArg(const std::vector<std::any>& args, std::size_t index);

}  // namespace velmora::commandsupport
