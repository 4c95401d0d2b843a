#include "shell/ActivityController.h"

#include <gtest/gtest.h>

#include "common/MainQueue.h"
#include "support/ManualScheduler.h"

namespace velmora {
namespace {

using test::ManualClock;
using test::ManualScheduler;

struct Activity : ::testing::Test {
  Activity() { MainQueue::adoptCurrentThread(); }
  ManualClock clock;
  ManualScheduler scheduler{clock};
  ActivityController controller{scheduler};
  int shown = 0;
  std::shared_ptr<ActivityItem> item(bool autoShow) {
    auto made = ActivityItem::make(clock.now());
    made->autoShowWindow = autoShow;
    return made;
  }
};

TEST_F(Activity, TheWindowOpensOnlyForWorkOverTwoSeconds) {
  controller.setWindowPresenter([&] { ++shown; });
  auto quick = item(true);
  controller.save(quick);
  scheduler.advance(Seconds(1.0));
  controller.remove(quick->id);
  scheduler.advance(Seconds(3.0));
  EXPECT_EQ(shown, 0);
  EXPECT_FALSE(controller.timerIsRunning());  // stopped at the tick after emptying

  auto slow = item(true);
  auto quiet = item(false);
  controller.save(slow);
  controller.save(quiet);
  scheduler.advance(Seconds(1.5));
  EXPECT_EQ(shown, 0);
  scheduler.advance(Seconds(1.0));
  EXPECT_EQ(shown, 1);
  EXPECT_TRUE(slow->didAutoShowController);
  scheduler.advance(Seconds(5.0));
  EXPECT_EQ(shown, 1);  // once per item

  controller.setWindowClosedManually(true);
  controller.save(item(true));
  scheduler.advance(Seconds(5.0));
  EXPECT_EQ(shown, 1);
}

TEST_F(Activity, RowsKeepTheOrderOfFirstSaving) {
  int notices = 0;
  controller.addObserver([&] { ++notices; });
  auto a = item(false), b = item(false);
  controller.save(a);
  controller.save(b);
  a->leftText = "changed";
  controller.save(a);
  auto rows = controller.items();
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0]->id, a->id);
  EXPECT_EQ(controller.isActivityForID(b->id), b);
  scheduler.advance(Seconds(1.0));
  EXPECT_EQ(notices, 1);  // the tick refreshes once for all changes
  controller.remove(a->id);
  EXPECT_EQ(notices, 2);
  EXPECT_EQ(controller.isActivityForID(a->id), nullptr);
}

TEST_F(Activity, CancelReachesTheOwner) {
  struct Owner : ActivityItemCancelProtocol {
    int calls = 0;
    void cancel(ActivityItem&) override { ++calls; }
  } owner;
  auto targeted = item(false);
  int funcCalls = 0;
  targeted->cancelTarget = &owner;
  targeted->cancelFunc = [&](ActivityItem&) { ++funcCalls; };
  targeted->cancel();
  EXPECT_TRUE(targeted->hasCanceled);
  EXPECT_EQ(owner.calls, 1);
  EXPECT_EQ(funcCalls, 0);  // the target wins

  auto bare = item(false);
  bare->cancel();
  EXPECT_TRUE(bare->hasCanceled);
  ActivityController::shared().remove(targeted->id);
  ActivityController::shared().remove(bare->id);
  EXPECT_TRUE(ActivityController::shared().items().empty());
}

}  // namespace
}  // namespace velmora
