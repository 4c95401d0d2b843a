#include <gtest/gtest.h>

#include "app/DesktopOpener.h"

namespace velmora::app {
namespace {

TEST(DesktopOpener, StartsAFewPerTurnAsksAboveAHandfulAndStopsAtTheFirstFailure) {
  std::vector<std::vector<std::string>> started;
  bool fail = false;
  DesktopOpener opener([&](const std::vector<std::string>& arguments) {
    if (fail) return false;
    started.push_back(arguments);
    return true;
  });
  std::vector<std::string> many;
  for (int i = 0; i < 2000; ++i) many.push_back("/d/f" + std::to_string(i));
  EXPECT_FALSE(DesktopOpener::needsConfirmation(DesktopOpener::askAbove));
  EXPECT_TRUE(DesktopOpener::needsConfirmation(DesktopOpener::askAbove + 1));

  opener.enqueue(DesktopOpener::targets(many, false));
  EXPECT_FALSE(opener.startSome());
  ASSERT_EQ(started.size(), DesktopOpener::startsPerTurn);
  EXPECT_EQ(started[0], (std::vector<std::string>{"xdg-open", "/d/f0"}));
  EXPECT_EQ(opener.pending(), 2000 - DesktopOpener::startsPerTurn);
  // Quitting drops what has not started.
  opener.cancel();
  EXPECT_FALSE(opener.startSome());
  EXPECT_EQ(started.size(), DesktopOpener::startsPerTurn);

  // Revealing shows each folder once.
  EXPECT_EQ(DesktopOpener::targets({"/d/a", "/d/b", "/e/c", "/top"}, true),
            (std::vector<std::string>{"/d", "/e", "/"}));
  fail = true;
  opener.enqueue({"/x", "/y"});
  auto failure = opener.startSome();
  ASSERT_TRUE(failure);
  EXPECT_NE(failure->find("/x"), std::string::npos);
  EXPECT_EQ(opener.pending(), 0u);
}

}  // namespace
}  // namespace velmora::app
