#include "platform/MountMonitor.h"

#include <gtest/gtest.h>

#include "support/MainLoop.h"
#include <sys/mount.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <thread>

#include "common/MainQueue.h"
#include "platform/VolumeTable.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

using test::runMainUntil;

bool mounted(const std::string& mountPoint) { return VolumeTable::current().find(mountPoint) != nullptr; }

// The mounts are made in a private mount namespace of a child run of this
// same test, so the machine's own table is never touched.
TEST(MountMonitor, TellsOfAMountAppearingAndGoing) {
  if (!std::getenv("VELMORA_IN_MOUNT_NAMESPACE")) {
    if (test::runCommand("unshare -rm true 2>/dev/null").status != 0)
      GTEST_SKIP() << "no private mount namespace here (unshare -rm fails)";
    auto self = fs::read_symlink("/proc/self/exe").string();
    auto run = test::runCommand("VELMORA_IN_MOUNT_NAMESPACE=1 unshare -rm " + test::shellQuote(self) +
                                " --gtest_filter=MountMonitor.TellsOfAMountAppearingAndGoing 2>&1");
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_NE(run.out.find("[  PASSED  ] 1 test"), std::string::npos) << run.out;
    return;
  }
  test::TempHome home;
  std::string point = home.tree("mountpoint").string();
  MainQueue::adoptCurrentThread();
  int changes = 0;
  MountMonitor monitor([&] { ++changes; });
  ASSERT_TRUE(monitor.isWatching());
  EXPECT_EQ(MainQueue::poll(), 0u);
  EXPECT_EQ(changes, 0);

  ASSERT_EQ(::mount("none", point.c_str(), "tmpfs", 0, nullptr), 0);
  ASSERT_TRUE(runMainUntil([&] { return changes >= 1; }));
  EXPECT_TRUE(mounted(point));

  int before = changes;
  ASSERT_EQ(::umount(point.c_str()), 0);
  ASSERT_TRUE(runMainUntil([&] { return changes > before; }));
  EXPECT_FALSE(mounted(point));
}

}  // namespace
}  // namespace velmora
