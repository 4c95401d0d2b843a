#include <gtest/gtest.h>

#include "common/DelayTimer.h"
#include "common/GCDAdditions.h"
#include "support/ManualScheduler.h"

using namespace velmora;
using velmora::test::ManualClock;
using velmora::test::ManualScheduler;

TEST(DelayTimer, OpensOnlyAfterMoreThanTheDelayEitherWay) {
  ManualClock clock;
  DelayTimer timer(0.5, clock);
  clock.advance(Seconds(0.5));
  EXPECT_FALSE(timer.hasElapsed());  // exactly the delay is not more than it
  clock.advance(Seconds(0.01));
  EXPECT_TRUE(timer.hasElapsed());
  EXPECT_FALSE(timer.hasElapsed());  // the gate closed again from now
  clock.advance(Seconds(-2));        // clock set back
  EXPECT_TRUE(timer.hasElapsed());
}

TEST(GCDAdditions, PerformAndDebounce) {
  ManualClock clock;
  ManualScheduler scheduler(clock);
  GCDAdditions gcd(scheduler);

  int ran = 0;
  auto op = gcd.perform(1.0, [&] { ++ran; });
  scheduler.advance(Seconds(0.9));
  EXPECT_EQ(ran, 0);
  scheduler.advance(Seconds(0.2));
  EXPECT_EQ(ran, 1);
  EXPECT_TRUE(op->isFinished());

  auto cancelled = gcd.perform(1.0, [&] { ++ran; });
  cancelled->cancel();
  scheduler.advance(Seconds(2));
  EXPECT_EQ(ran, 1);

  // Two keystrokes 0.5 s apart: one run, 0.66 s after the second.
  std::vector<std::string> runs;
  gcd.cancelPreviousThenPerform("search", 0.66, [&] { runs.push_back("first"); });
  scheduler.advance(Seconds(0.5));
  gcd.cancelPreviousThenPerform("search", 0.66, [&] { runs.push_back("second"); });
  scheduler.advance(Seconds(0.65));
  EXPECT_TRUE(runs.empty());
  scheduler.advance(Seconds(0.02));
  EXPECT_EQ(runs, std::vector<std::string>{"second"});
  // Other keys are independent.
  gcd.cancelPreviousThenPerform("a", 0.1, [&] { runs.push_back("a"); });
  gcd.cancelPreviousThenPerform("b", 0.1, [&] { runs.push_back("b"); });
  scheduler.advance(Seconds(0.2));
  EXPECT_EQ(runs.size(), 3u);
}

TEST(RepeatingTimer, FiresEachIntervalUntilCancelled) {
  ManualClock clock;
  ManualScheduler scheduler(clock);
  int ticks = 0;
  {
    RepeatingTimer timer(scheduler, Seconds(0.25), [&] { ++ticks; });
    scheduler.advance(Seconds(1.0));
    EXPECT_EQ(ticks, 4);
    timer.cancel();
    scheduler.advance(Seconds(1.0));
    EXPECT_EQ(ticks, 4);
  }
  {
    RepeatingTimer timer(scheduler, Seconds(0.5), [&] { ++ticks; });
  }  // destroyed: never fires
  scheduler.advance(Seconds(1.0));
  EXPECT_EQ(ticks, 4);
}

TEST(ReferenceDate, SecondsSince2001) {
  Date unix2001 = Date(std::chrono::seconds(978307200));
  EXPECT_DOUBLE_EQ(secondsSinceReferenceDate(unix2001), 0.0);
  EXPECT_EQ(dateFromReferenceSeconds(86400.0), unix2001 + std::chrono::hours(24));
}
