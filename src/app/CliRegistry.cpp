#include "app/CliRegistry.h"

#include <algorithm>

namespace velmora::app {

namespace {
std::vector<std::pair<int, CliInstaller>>& registry() {
  static std::vector<std::pair<int, CliInstaller>> entries;
  return entries;
}
}  // namespace

bool registerCli(int order, CliInstaller installer) {
  auto& entries = registry();
  entries.emplace_back(order, std::move(installer));
  std::stable_sort(entries.begin(), entries.end(),
                   [](const auto& a, const auto& b) { return a.first < b.first; });
  return true;
}

const std::vector<std::pair<int, CliInstaller>>& registeredClis() { return registry(); }

}  // namespace velmora::app
