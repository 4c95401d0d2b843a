// Drives the real query window in a terminal multiplexer: keys go in with
// send-keys, the screen comes back with capture-pane.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <optional>
#include <thread>

#include "support/TempHome.h"

namespace velmora {
namespace {

class Tmux {
 public:
  explicit Tmux(const std::string& name = "a") : socket_("velmora-test-" + std::to_string(::getpid()) + name) {}
  ~Tmux() { run("kill-server"); }
  test::CommandOutput run(const std::string& arguments) const {
    return test::runCommand("tmux -L " + socket_ + " " + arguments + " 2>/dev/null");
  }
  // Starts the window. The Escape delay is fixed here, not left to the
  // machine, and each key that depends on the one before waits for its
  // effect on the screen, so no key is read together with the next. A shell
  // around the window writes down its exit status (tmux itself may not reap
  // a child that ends while it is busy).
  bool start(const test::TempHome& home, const std::string& arguments, const std::string& extraEnvironment = {}) {
    statusFile_ = home.path() / ("window-status-" + socket_);
    std::filesystem::remove(statusFile_);
    std::string window = "env VELMORA_HOME=" + test::shellQuote(home.path().string()) +
                         " TERM=xterm-256color ESCDELAY=25 " + extraEnvironment + " " +
                         test::shellQuote(test::programPath("velmora").string()) + " " + arguments;
    std::string command = window + "; echo $? > " + test::shellQuote(statusFile_.string()) + "; sleep 600";
    if (run("new-session -d -s w -x 100 -y 24 " + test::shellQuote(command)).status != 0) return false;
    return waitFor({"Find:", "? help"}).find("? help") != std::string::npos;
  }
  std::string screen() const { return run("capture-pane -p -t w").out; }
  void keys(const std::string& keys) const { run("send-keys -t w " + keys); }
  std::string format(const std::string& name) const {
    std::string out = run("display-message -p -t w " + test::shellQuote(name)).out;
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
  }
  // The screen once it shows all the texts, or what it last showed after 15 s.
  std::string waitFor(const std::vector<std::string>& texts) const {
    std::string shown;
    for (int attempt = 0; attempt < 300; ++attempt) {
      shown = screen();
      bool all = true;
      for (const auto& text : texts) all = all && shown.find(text) != std::string::npos;
      if (all) return shown;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return shown;
  }
  // Waits until a tmux format (e.g. the cursor's visibility) has a value.
  bool waitForFormat(const std::string& name, const std::string& value) const {
    for (int attempt = 0; attempt < 300; ++attempt) {
      if (format(name) == value) return true;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
  }
  // The window's exit status once it has ended.
  std::optional<std::string> exitStatus() const {
    std::ifstream in(statusFile_);
    std::string status;
    if (!std::getline(in, status)) return std::nullopt;
    return status;
  }
  // Waits up to 5 s for the window to end.
  std::optional<std::string> waitForExit() const {
    for (int attempt = 0; attempt < 100; ++attempt) {
      if (auto status = exitStatus()) return status;
      std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return std::nullopt;
  }
  // The window's own process (the shell around it is the pane's).
  std::string windowPid() const {
    auto out = test::runCommand("pgrep -P " + format("#{pane_pid}")).out;
    while (!out.empty() && out.back() == '\n') out.pop_back();
    return out;
  }

 private:
  std::string socket_;
  std::filesystem::path statusFile_;
};

bool haveTmux() { return test::runCommand("tmux -V >/dev/null 2>&1").status == 0; }

std::size_t lineCount(const std::filesystem::path& file) {
  std::ifstream in(file);
  std::size_t lines = 0;
  for (std::string line; std::getline(in, line);) ++lines;
  return lines;
}

TEST(TerminalWindow, TypeSearchStopAndQuitInARealTerminal) {
  if (!haveTmux()) GTEST_SKIP() << "tmux is not installed";
  test::TempHome home;
  auto tree = home.tree("tree");
  for (auto name : {"report one.txt", "report two.txt", "budget.txt"}) test::writeFile(tree / name, "x");

  Tmux tmux;
  ASSERT_TRUE(tmux.start(home, "--in " + test::shellQuote(tree.string()))) << tmux.screen();
  tmux.keys("report");
  tmux.keys("Enter");
  std::string shown = tmux.waitFor({"report one.txt", "report two.txt", "Search complete."});
  EXPECT_NE(shown.find("2 items found. Search complete."), std::string::npos) << shown;
  EXPECT_EQ(shown.find("budget.txt"), std::string::npos) << shown;
  EXPECT_NE(shown.find("F2: in tree"), std::string::npos) << shown;

  // Into the list (the cursor hides), then Escape twice: back in the field.
  tmux.keys("Tab");
  ASSERT_TRUE(tmux.waitForFormat("#{cursor_flag}", "0"));
  tmux.keys("Escape");
  tmux.keys("Escape");
  ASSERT_TRUE(tmux.waitForFormat("#{cursor_flag}", "1"));
  tmux.keys("s");
  shown = tmux.waitFor({"Find: reports"});
  EXPECT_NE(shown.find("Find: reports"), std::string::npos) << shown;

  tmux.keys("F10");
  EXPECT_EQ(tmux.waitForExit(), "0") << tmux.screen();
}

TEST(TerminalWindow, APasteIsTextManyOpensAskFirstAndSigtermEndsTheWindow) {
  if (!haveTmux()) GTEST_SKIP() << "tmux is not installed";
  test::TempHome home;
  auto tree = home.tree("tree");
  for (int i = 0; i < 8; ++i) test::writeFile(tree / ("report " + std::to_string(i) + ".txt"), "x");
  // The desktop's opener, as a script that writes down what it was given.
  auto bin = home.tree("bin");
  auto opened = home.path() / "opened.txt";
  test::writeFile(bin / "xdg-open", "#!/bin/sh\necho \"$1\" >> " + test::shellQuote(opened.string()) + "\n");
  std::filesystem::permissions(bin / "xdg-open", std::filesystem::perms::owner_all);

  Tmux tmux;
  ASSERT_TRUE(tmux.start(home, "--in " + test::shellQuote(tree.string()),
                         "PATH=" + test::shellQuote(bin.string() + ":" + std::getenv("PATH"))))
      << tmux.screen();
  tmux.keys("report");
  tmux.keys("Enter");
  tmux.waitFor({"report 7.txt", "8 items found. Search complete."});
  tmux.keys("Tab");
  ASSERT_TRUE(tmux.waitForFormat("#{cursor_flag}", "0"));

  // A paste while the list has the focus: "a" and "o" are text, not select all and open.
  tmux.run("set-buffer -b p ' ao'");
  tmux.run("paste-buffer -p -b p -t w");
  std::string shown = tmux.waitFor({"Find: report ao"});
  EXPECT_NE(shown.find("Find: report ao"), std::string::npos) << shown;
  EXPECT_FALSE(std::filesystem::exists(opened));

  // Select all and open: eight items are asked about first; a stray key and
  // Escape open nothing.
  tmux.keys("BSpace BSpace BSpace");
  for (int attempt = 0; attempt < 300 && tmux.screen().find("Find: report\n") == std::string::npos; ++attempt)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  tmux.keys("Tab");
  ASSERT_TRUE(tmux.waitForFormat("#{cursor_flag}", "0"));
  tmux.keys("a");
  tmux.keys("o");
  shown = tmux.waitFor({"Open 8 items?"});
  ASSERT_NE(shown.find("Open 8 items?"), std::string::npos) << shown;
  tmux.keys("o");
  tmux.keys("Escape");
  shown = tmux.waitFor({"8 items found"});
  for (int attempt = 0; attempt < 50 && shown.find("Open 8 items?") != std::string::npos; ++attempt) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    shown = tmux.screen();
  }
  EXPECT_EQ(shown.find("Open 8 items?"), std::string::npos) << shown;
  EXPECT_FALSE(std::filesystem::exists(opened));
  tmux.keys("o");
  tmux.waitFor({"Open 8 items?"});
  tmux.keys("Enter");
  for (int attempt = 0; attempt < 300 && lineCount(opened) < 8; ++attempt)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_EQ(lineCount(opened), 8u);

  // SIGTERM ends the window, with the status shells expect.
  std::string pid = tmux.windowPid();
  ASSERT_FALSE(pid.empty());
  test::runCommand("kill -TERM " + pid);
  EXPECT_EQ(tmux.waitForExit(), "143") << tmux.screen();
}

TEST(TerminalWindow, AFolderAddedWithF2IsTheLocationAgainAfterARestart) {
  if (!haveTmux()) GTEST_SKIP() << "tmux is not installed";
  test::TempHome home;
  auto projects = home.tree("Projects");
  test::writeFile(projects / "plan.txt", "x");
  {
    Tmux tmux;
    ASSERT_TRUE(tmux.start(home, "")) << tmux.screen();
    tmux.keys("F2");
    tmux.waitFor({"a folder"});
    // Down to the menu's last entry, whatever disks this machine has.
    tmux.keys("-N 60 Down");
    tmux.keys("Enter");
    tmux.waitFor({"Search in folder"});
    tmux.keys("-l " + test::shellQuote(projects.string()));
    tmux.keys("Enter");
    std::string shown = tmux.waitFor({"F2: in Projects"});
    EXPECT_NE(shown.find("F2: in Projects"), std::string::npos) << shown;
    tmux.keys("F10");
    EXPECT_EQ(tmux.waitForExit(), "0");
  }
  Tmux tmux("b");
  ASSERT_TRUE(tmux.start(home, "")) << tmux.screen();
  tmux.keys("plan");
  tmux.keys("Enter");
  std::string shown = tmux.waitFor({"plan.txt", "Search complete."});
  EXPECT_NE(shown.find("F2: in Projects"), std::string::npos) << shown;
  EXPECT_NE(shown.find("1 item found. Search complete."), std::string::npos) << shown;
}

}  // namespace
}  // namespace velmora
