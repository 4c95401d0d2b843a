#pragma once
#include <vector>

#include "common/Clock.h"
#include "model/SearchResult.h"

namespace velmora {

// Collects results on the receiving side and hands them on in time slices, so
// that a view redraws at most every half second. No lock of its own: its
// owner keeps it on one thread.
class SearchResultsBucket {
 public:
  explicit SearchResultsBucket(const Clock& clock = Clock::system());

  void add(SearchResult result);
  void add(const std::vector<SearchResult>& results);

  // More than half a second since the last empty(); a new bucket is due at once.
  bool isTimeToEmpty() const;
  // Hands over everything collected and restarts the half second.
  [[nodiscard]] std::vector<SearchResult> empty();

  const std::vector<SearchResult>& items() const { return items_; }
  Date lastFlush() const { return lastFlush_; }

 private:
  const Clock* clock_;
  std::vector<SearchResult> items_;
  Date lastFlush_;
};

}  // namespace velmora
