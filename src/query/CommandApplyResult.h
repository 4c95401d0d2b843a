#pragma once
#include <string_view>

namespace velmora {

// What a command says about one result. Only `exclude` vetoes it; `accept`
// and `skip` count the same.
enum class CommandApplyResult { exclude, accept, skip };

constexpr std::string_view toString(CommandApplyResult result) {
  switch (result) {
    case CommandApplyResult::exclude: return "exclude";
    case CommandApplyResult::accept: return "accept";
    case CommandApplyResult::skip: return "skip";
  }
  return {};
}

}  // namespace velmora
