#include "query/CommandFactory.h"

#include <algorithm>

namespace velmora {

bool CommandFactory::implementsCommand(std::string_view name) const {
  auto names = commandNames();
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace velmora
