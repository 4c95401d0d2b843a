#pragma once
#include <string>
#include <vector>

#include "common/Lock.h"

namespace velmora {

// Breadcrumbs for an error report: what the program was doing, in order.
class GMTrace {
 public:
  void add(std::string line);
  // The lines joined by line ends.
  std::string description() const;

 private:
  Locked<std::vector<std::string>> lines_;
};

}  // namespace velmora
