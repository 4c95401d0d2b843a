// Drives the real query window in a terminal multiplexer: keys go in with
// send-keys, the screen comes back with capture-pane.
#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "support/TempHome.h"

namespace velmora {
namespace {

class Tmux {
 public:
  Tmux() : socket_("velmora-test-" + std::to_string(::getpid())) {}
  ~Tmux() { run("kill-server"); }
  test::CommandOutput run(const std::string& arguments) const {
    return test::runCommand("tmux -L " + socket_ + " " + arguments + " 2>/dev/null");
  }
  std::string screen() const { return run("capture-pane -p -t w").out; }
  void keys(const std::string& keys) const { run("send-keys -t w " + keys); }
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
  bool alive() const { return run("has-session -t w").status == 0; }

 private:
  std::string socket_;
};

TEST(TerminalWindow, TypeSearchStopAndQuitInARealTerminal) {
  if (test::runCommand("tmux -V >/dev/null 2>&1").status != 0) GTEST_SKIP() << "tmux is not installed";
  test::TempHome home;
  auto tree = home.tree("tree");
  for (auto name : {"report one.txt", "report two.txt", "budget.txt"}) test::writeFile(tree / name, "x");

  Tmux tmux;
  std::string command = "env VELMORA_HOME=" + test::shellQuote(home.path().string()) + " TERM=xterm-256color " +
                        test::shellQuote(test::programPath("velmora").string()) + " --in " +
                        test::shellQuote(tree.string());
  ASSERT_EQ(tmux.run("new-session -d -s w -x 100 -y 24 " + test::shellQuote(command)).status, 0);
  ASSERT_NE(tmux.waitFor({"Find:", "? help"}).find("Find:"), std::string::npos) << tmux.screen();

  tmux.keys("report");
  tmux.keys("Enter");
  std::string shown = tmux.waitFor({"report one.txt", "report two.txt", "Search complete."});
  EXPECT_NE(shown.find("2 items found. Search complete."), std::string::npos) << shown;
  EXPECT_EQ(shown.find("budget.txt"), std::string::npos) << shown;
  EXPECT_NE(shown.find("F2: in tree"), std::string::npos) << shown;

  // Into the list, then Escape twice: the focus is back in the query field.
  tmux.keys("Tab");
  tmux.keys("Escape");
  tmux.keys("Escape");
  tmux.keys("s");
  shown = tmux.waitFor({"Find: reports"});
  EXPECT_NE(shown.find("Find: reports"), std::string::npos) << shown;

  tmux.keys("F10");
  for (int attempt = 0; attempt < 100 && tmux.alive(); ++attempt)
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  EXPECT_FALSE(tmux.alive());
}

}  // namespace
}  // namespace velmora
