#include "common/GCDAdditions.h"

namespace velmora {

GCDAdditions::GCDAdditions(Scheduler& scheduler, Runner runner)
    : scheduler_(&scheduler), runner_(std::move(runner)) {}

GCDAdditions& GCDAdditions::shared() {
  static OperationQueue queue(4, "GCDAdditions");
  static GCDAdditions instance(Scheduler::background(),
                               [](std::shared_ptr<Operation> op) { queue.addOperation(op); });
  return instance;
}

std::shared_ptr<Operation> GCDAdditions::perform(double afterDelay, std::function<void()> block) {
  auto op = std::make_shared<Operation>([block = std::move(block)](Operation&) { block(); });
  scheduler_->schedule(Seconds(afterDelay), [this, op] {
    if (op->isCancelled()) return;
    if (runner_) {
      runner_(op);
    } else {
      op->start();
    }
  });
  return op;
}

std::shared_ptr<Operation> GCDAdditions::cancelPreviousThenPerform(const std::string& key,
                                                                   double afterDelay,
                                                                   std::function<void()> block) {
  std::lock_guard guard(mutex_);
  auto it = pending_.find(key);
  if (it != pending_.end() && !it->second->isFinished() && !it->second->isExecuting())
    it->second->cancel();
  auto op = perform(afterDelay, std::move(block));
  pending_[key] = op;
  return op;
}

}  // namespace velmora
