#include "shell/SingleInstanceLock.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include "support/TempHome.h"

namespace velmora::test {

TEST(SingleInstanceLockTest, SecondHolderIsTurnedAway) {
  TempHome home;
  auto file = SingleInstanceLock::defaultPath();
  EXPECT_EQ(file.parent_path(), home.path() / "support");
  EXPECT_EQ(SingleInstanceLock::runningHolder(file), std::nullopt);

  SingleInstanceLock first(file);
  ASSERT_EQ(first.acquire(), SingleInstanceLock::Outcome::acquired);
  EXPECT_EQ(SingleInstanceLock::runningHolder(file), getpid());

  SingleInstanceLock second(file);
  EXPECT_EQ(second.acquire(), SingleInstanceLock::Outcome::heldByOther);
  EXPECT_EQ(second.holder(), getpid());

  first.release();
  EXPECT_EQ(SingleInstanceLock::runningHolder(file), std::nullopt);
  EXPECT_EQ(second.acquire(), SingleInstanceLock::Outcome::acquired);

  writeFile(home.path() / "plain", "x");
  SingleInstanceLock impossible(home.path() / "plain" / "serve.lock");
  EXPECT_EQ(impossible.acquire(), SingleInstanceLock::Outcome::unavailable);
  EXPECT_NE(impossible.error().find("cannot create"), std::string::npos);
}

}  // namespace velmora::test
