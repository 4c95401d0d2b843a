#pragma once
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "common/Clock.h"
#include "common/ActivityReporter.h"
#include "common/ObserverList.h"

namespace velmora {

// The list of running activities in order of first saving. Everything runs
// on the main queue; save and remove may be called from any thread and hop
// there. A front-end shows the list (the terminal window's activity pane)
// and installs the presenter that opens it.
class ActivityController final : public ActivityReporter {
 public:
  static constexpr const char* StatusChangedNotification = "ActivityController.StatusChangedNotification";
  using Observer = std::function<void()>;

  // Ticks on `scheduler` (the main-queue scheduler for the shared one).
  explicit ActivityController(Scheduler& scheduler);
  ~ActivityController();
  ActivityController(const ActivityController&) = delete;
  ActivityController& operator=(const ActivityController&) = delete;
  static ActivityController& shared();

  void save(std::shared_ptr<ActivityItem> item) override;
  void remove(const std::string& id) override;
  std::shared_ptr<ActivityItem> isActivityForID(const std::string& id) const;

  // Main thread only.
  std::vector<std::shared_ptr<ActivityItem>> items() const;
  bool timerIsRunning() const { return timer_ != nullptr; }
  Date didChangeAt() const { return didChangeAt_; }
  void setWindowClosedManually(bool closed) { windowClosedManually_ = closed; }
  // Opens the activity window; called for work that lasts over 2 seconds.
  void setWindowPresenter(std::function<void()> present) { present_ = std::move(present); }
  // Called on the main queue with each StatusChangedNotification.
  int addObserver(Observer observer);
  void removeObserver(int token);

  // One tick of the 1-second timer (public for the timer and for tests).
  void updateTimer();

 private:
  void saveOnMain(std::shared_ptr<ActivityItem> item);
  void removeOnMain(const std::string& id);
  void postStatusChanged();

  Scheduler& scheduler_;
  std::vector<std::shared_ptr<ActivityItem>> items_;
  std::unique_ptr<RepeatingTimer> timer_;
  bool updateNeeded_ = false;
  bool windowClosedManually_ = false;
  Date didChangeAt_{};
  std::function<void()> present_;
  ObserverList<> observers_;
};

}  // namespace velmora
