#include "shell/QueryParseQueue.h"

#include <atomic>

#include "common/OperationQueue.h"

namespace velmora {

namespace {
std::atomic<int> gPending{0};

OperationQueue& queue() {
  // Left alive at exit on purpose: its thread may be inside a parse.
  static auto* made = new OperationQueue(1, "QueryParseQueue");
  return *made;
}
}  // namespace

void QueryParseQueue::async(std::function<void()> parse) {
  ++gPending;
  queue().addOperation([parse = std::move(parse)] {
    struct Done {
      ~Done() { --gPending; }
    } done;
    parse();
  });
}

bool QueryParseQueue::busy() { return gPending.load() > 0; }

}  // namespace velmora
