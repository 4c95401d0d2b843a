#include "search/SearchResultsBucket.h"

namespace velmora {

SearchResultsBucket::SearchResultsBucket(const Clock& clock)
    : clock_(&clock), lastFlush_(clock.now() - std::chrono::seconds(1)) {}

void SearchResultsBucket::add(SearchResult result) { items_.push_back(std::move(result)); }

void SearchResultsBucket::add(const std::vector<SearchResult>& results) {
  items_.insert(items_.end(), results.begin(), results.end());
}

bool SearchResultsBucket::isTimeToEmpty() const {
  return std::chrono::duration<double>(clock_->now() - lastFlush_).count() > 0.5;
}

std::vector<SearchResult> SearchResultsBucket::empty() {
  std::vector<SearchResult> out;
  out.swap(items_);
  lastFlush_ = clock_->now();
  return out;
}

}  // namespace velmora
