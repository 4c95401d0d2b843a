#include "shell/ActivityController.h"

#include <algorithm>

#include "common/MainQueue.h"

namespace velmora {

namespace {
constexpr double kAutoShowAfterSeconds = 2.0;
constexpr double kTickSeconds = 1.0;
}  // namespace

ActivityController::ActivityController(Scheduler& scheduler) : scheduler_(scheduler) {}

ActivityController::~ActivityController() = default;

ActivityController& ActivityController::shared() {
  static ActivityController* controller = new ActivityController(Scheduler::main());
  return *controller;
}

void ActivityController::save(std::shared_ptr<ActivityItem> item) {
  if (!item) return;
  item->reporter = this;
  if (MainQueue::isMainThread()) {
    saveOnMain(std::move(item));
    return;
  }
  MainQueue::async([this, item = std::move(item)]() mutable { saveOnMain(std::move(item)); });
}

void ActivityController::remove(const std::string& id) {
  if (MainQueue::isMainThread()) {
    removeOnMain(id);
    return;
  }
  MainQueue::async([this, id] { removeOnMain(id); });
}

void ActivityController::saveOnMain(std::shared_ptr<ActivityItem> item) {
  auto it = std::find_if(items_.begin(), items_.end(), [&](const auto& held) { return held->id == item->id; });
  if (it != items_.end())
    *it = std::move(item);  // keeps its row
  else
    items_.push_back(std::move(item));
  updateNeeded_ = true;
  didChangeAt_ = scheduler_.clock().now();
  if (!timer_)
    timer_ = std::make_unique<RepeatingTimer>(scheduler_, Seconds(kTickSeconds), [this] { updateTimer(); });
}

void ActivityController::removeOnMain(const std::string& id) {
  std::erase_if(items_, [&](const auto& held) { return held->id == id; });
  updateNeeded_ = true;
  didChangeAt_ = scheduler_.clock().now();
  postStatusChanged();
}

std::shared_ptr<ActivityItem> ActivityController::isActivityForID(const std::string& id) const {
  for (const auto& item : items_)
    if (item->id == id) return item;
  return nullptr;
}

std::vector<std::shared_ptr<ActivityItem>> ActivityController::items() const { return items_; }

int ActivityController::addObserver(Observer observer) { return observers_.add(std::move(observer)); }

void ActivityController::removeObserver(int token) { observers_.remove(token); }

void ActivityController::postStatusChanged() { observers_.notify(); }

void ActivityController::updateTimer() {
  Date now = scheduler_.clock().now();
  auto threshold = std::chrono::duration_cast<Date::duration>(Seconds(kAutoShowAfterSeconds));
  for (const auto& item : items_) {
    if (!item->autoShowWindow || item->didAutoShowController || windowClosedManually_) continue;
    if (now < item->createdAt + threshold) continue;
    if (present_) present_();
    item->didAutoShowController = true;
  }
  if (updateNeeded_) {
    updateNeeded_ = false;
    postStatusChanged();
  }
  // The timer's state outlives its handle while this tick runs, so the
  // handle may go from inside the tick.
  if (items_.empty()) timer_.reset();
}

}  // namespace velmora
