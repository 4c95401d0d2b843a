#include "app/QueryWindowCli.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "app/CliRegistry.h"
#include "app/TerminalWindow.h"
#include "search/IgnoreItems.h"
#include "shell/QueryParseQueue.h"
#include "stores/HistoryController.h"
#include "stores/Preferences.h"

namespace velmora::app {

namespace {
std::vector<std::string>& windowFolders() {
  static std::vector<std::string> folders;
  return folders;
}

// `velmora [--in PATH ...]`: the option belongs to the command itself, not to a subcommand.
const bool registered = registerCli(0, [](CLI::App& root, CliContext&) {
  root.add_option("--in", windowFolders(), "without a subcommand: open the query window on this folder (repeatable)")
      ->check(CLI::ExistingDirectory);
});
}  // namespace

int runQueryWindow() {
  Preferences::startup();
  HistoryController::shared().startup();
  IgnoreItems::installQueryIgnoreList();
  int status = 0;
  {
    TerminalWindow window(windowFolders());
    status = window.run();
  }
  // A parse cannot be interrupted and may still run (a very long query):
  // leave without waiting for it and without tearing down what it reads.
  if (QueryParseQueue::busy()) {
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
    std::_Exit(status);
  }
  return status;
}

}  // namespace velmora::app
