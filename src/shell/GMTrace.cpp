#include "shell/GMTrace.h"

namespace velmora {

void GMTrace::add(std::string line) {
  lines_.access([&](std::vector<std::string>& lines) { lines.push_back(std::move(line)); });
}

std::string GMTrace::description() const {
  return lines_.access([](const std::vector<std::string>& lines) {
    std::string out;
    for (const auto& line : lines) {
      if (!out.empty()) out += '\n';
      out += line;
    }
    return out;
  });
}

}  // namespace velmora
