#pragma once
#include <memory>
#include <string>

#include "common/ActivityItem.h"

namespace velmora {

// Where long work reports its rows (the crawl, index updates). The shell's
// activity list implements it; the engine only sees this interface, so it
// can report without knowing who shows the rows. Both calls may come from
// any thread.
class ActivityReporter {
 public:
  virtual ~ActivityReporter() = default;
  virtual void save(std::shared_ptr<ActivityItem> item) = 0;
  virtual void remove(const std::string& id) = 0;
};

}  // namespace velmora
