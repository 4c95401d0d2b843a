// `velmora serve`, `velmora quit` and `velmora open-url` as a user runs them.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <nlohmann/json.hpp>
#include <thread>

#include "shell/SingleInstanceLock.h"
#include "support/TempHome.h"

namespace velmora::test {

namespace fs = std::filesystem;

class ServeCliTest : public ::testing::Test {
 protected:
  std::string velmora() const { return shellQuote(programPath("velmora").string()); }

  // Starts `velmora serve` in the background and waits until it holds its lock.
  pid_t startServe(const std::string& environment = "") {
    runCommand(environment + velmora() + " serve </dev/null >" + shellQuote((home.path() / "serve.out").string()) + " 2>&1 &");
    for (int i = 0; i < 500; ++i) {
      for (const auto& path : SingleInstanceLock::candidatePaths())
        if (auto pid = SingleInstanceLock::runningHolder(path)) return *pid;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    ADD_FAILURE() << "serve did not start: " << readFile(home.path() / "serve.out");
    return 0;
  }
  bool waitUntilStopped() {
    for (int i = 0; i < 500; ++i) {
      bool running = false;
      for (const auto& path : SingleInstanceLock::candidatePaths())
        running = running || SingleInstanceLock::runningHolder(path).has_value();
      if (!running) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
  }
  std::string log() const { return readFile(home.path() / "caches" / "Today's Log.txt"); }

  TempHome home;
};

TEST_F(ServeCliTest, OneServePerHomeAndQuitStopsIt) {
  pid_t pid = startServe();
  ASSERT_GT(pid, 0);
  auto second = runCommand(velmora() + " serve </dev/null 2>&1");
  EXPECT_EQ(second.status, 2);
  EXPECT_NE(second.out.find("already running"), std::string::npos);

  auto quit = runCommand(velmora() + " quit 2>&1");
  EXPECT_EQ(quit.status, 0) << quit.out;
  ASSERT_TRUE(waitUntilStopped());
  EXPECT_NE(readFile(home.path() / "serve.out").find("running as process"), std::string::npos);

  // The stop steps ran: the first quit is noted and window paths are stored.
  auto prefs = nlohmann::json::parse(readFile(home.path() / "preferences.json"));
  EXPECT_EQ(prefs["hasLaunchedBefore"], true);
  EXPECT_EQ(prefs["showInMenuBar"], true);
  EXPECT_TRUE(fs::exists(home.path() / "support" / "Browsing Metadata v2.sql"));

  auto again = runCommand(velmora() + " quit 2>&1");
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.out.find("no `velmora serve` is running"), std::string::npos);
}

TEST_F(ServeCliTest, DamagedFilesAreKeptAndInterruptStops) {
  writeFile(home.path() / "preferences.json", "{ not json");
  std::string garbage(8192, 'g');
  writeFile(home.path() / "support" / "Browsing Metadata v2.sql", garbage);
  pid_t pid = startServe();
  ASSERT_GT(pid, 0);
  ASSERT_EQ(kill(pid, SIGINT), 0);
  ASSERT_TRUE(waitUntilStopped());

  EXPECT_EQ(readFile(home.path() / "preferences.json.damaged-1"), "{ not json");
  EXPECT_EQ(readFile(home.path() / "support" / "Browsing Metadata v2.sql"), garbage);
  EXPECT_NE(log().find("could not be read as settings"), std::string::npos);
  EXPECT_NE(log().find("is not usable"), std::string::npos);
  // Defaults served; the first-launch values and the quit were saved anew.
  auto prefs = nlohmann::json::parse(readFile(home.path() / "preferences.json"));
  EXPECT_EQ(prefs["hasLaunchedBefore"], true);
}

TEST_F(ServeCliTest, UnwritableSupportFolderStillRunsAndQuits) {
  writeFile(home.path() / "support", "a file where the folder should be");
  pid_t pid = startServe();
  ASSERT_GT(pid, 0);
  EXPECT_EQ(runCommand(velmora() + " quit 2>&1").status, 0);
  ASSERT_TRUE(waitUntilStopped());
  EXPECT_NE(log().find("Serve: cannot create"), std::string::npos);
  EXPECT_NE(log().find("Browsing metadata: cannot open"), std::string::npos);
}

TEST_F(ServeCliTest, ChangesMadeWhileServeRunsOutliveItsQuit) {
  auto folder = home.tree("work");
  pid_t pid = startServe();
  ASSERT_GT(pid, 0);
  EXPECT_EQ(runCommand(velmora() + " prefs set hoverPreviews true").status, 0);
  EXPECT_EQ(runCommand(velmora() + " remember work " + shellQuote(folder.string())).status, 0);
  EXPECT_EQ(runCommand(velmora() + " quit 2>&1").status, 0);
  ASSERT_TRUE(waitUntilStopped());
  auto prefs = nlohmann::json::parse(readFile(home.path() / "preferences.json"));
  EXPECT_EQ(prefs["hoverPreviews"], true);
  EXPECT_EQ(prefs["RememberedFolders"]["work"], folder.string());
  EXPECT_EQ(prefs["hasLaunchedBefore"], true);  // serve's own change at quit
}

TEST_F(ServeCliTest, StartAtLoginInstallsTheUnitOrSaysOnceWhatToDo) {
  // No user manager: no apology at every start, one piece of advice.
  fs::create_directories(home.path() / "run");
  std::string noManager = "XDG_RUNTIME_DIR=" + shellQuote((home.path() / "run").string()) + " ";
  for (int run = 0; run < 2; ++run) {
    ASSERT_GT(startServe(noManager), 0);
    ASSERT_EQ(runCommand(velmora() + " quit 2>&1").status, 0);
    ASSERT_TRUE(waitUntilStopped());
  }
  std::string text = log();
  EXPECT_EQ(text.find("Sorry, Velmora couldn't be configured"), std::string::npos) << text;
  auto advice = text.find("startup programs");
  ASSERT_NE(advice, std::string::npos) << text;
  EXPECT_EQ(text.find("startup programs", advice + 1), std::string::npos) << text;

  // With one, the unit is installed for this program and enabled.
  fs::create_directories(home.path() / "run" / "systemd");
  ASSERT_GT(startServe(noManager), 0);
  ASSERT_EQ(runCommand(velmora() + " quit 2>&1").status, 0);
  ASSERT_TRUE(waitUntilStopped());
  fs::path unit = home.path() / "systemd" / "user" / "velmora.service";
  EXPECT_NE(readFile(unit).find("ExecStart=\"" + fs::canonical(programPath("velmora")).string() + "\" serve"),
            std::string::npos);
  EXPECT_TRUE(fs::is_symlink(home.path() / "systemd" / "user" / "default.target.wants" / "velmora.service"));
  EXPECT_EQ(log().find("Sorry, Velmora couldn't be configured"), std::string::npos);

  fs::remove(unit);
  auto installed = runCommand(velmora() + " serve --install-user-unit 2>&1");
  EXPECT_EQ(installed.status, 0);
  EXPECT_NE(installed.out.find("systemctl --user enable"), std::string::npos) << installed.out;
  EXPECT_TRUE(fs::exists(unit));
}

TEST_F(ServeCliTest, OpenURLRunsOnlyVelmoraLinks) {
  auto refused = runCommand(velmora() + " open-url 'https://example.com/?q=x' 2>&1");
  EXPECT_EQ(refused.status, 2);
  EXPECT_NE(refused.out.find("nothing was started"), std::string::npos);

  auto tree = home.tree("tree");
  writeFile(tree / "sub dir" / "needle-report.txt", "x");
  writeFile(tree / "other.txt", "x");
  std::string url = "velmora:needle?location=" + (tree.string());
  auto found = runCommand(velmora() + " open-url " + shellQuote(url) + " 2>&1");
  EXPECT_EQ(found.status, 0) << found.out;
  EXPECT_NE(found.out.find("needle-report.txt"), std::string::npos) << found.out;
  EXPECT_EQ(found.out.find("other.txt"), std::string::npos);
}

}  // namespace velmora::test
