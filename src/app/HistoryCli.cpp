// `velmora history [--clear]`: the queries run lately, oldest first.
#include <CLI/CLI.hpp>

#include <iostream>
#include <memory>

#include "app/CliRegistry.h"
#include "stores/HistoryController.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"

namespace velmora::app {

namespace {

int runHistory(bool clear) {
  Preferences::registerDefaultsIfNeeded();
  HistoryController history;
  history.startup();
  if (Status loaded = PreferenceStore::shared().loadStatus(); !loaded.ok())
    std::cerr << "velmora history: " << loaded.message() << "\n";
  if (clear) {
    if (Status cleared = history.clear(); !cleared.ok()) {
      std::cerr << "velmora history: not cleared: " << cleared.message() << "\n";
      return 1;
    }
    return 0;
  }
  for (const auto& query : history.queries()) std::cout << query << "\n";
  return 0;
}

const bool registered = registerCli(72, [](CLI::App& root, CliContext& context) {
  CLI::App* history = root.add_subcommand("history", "list the queries run lately, oldest first");
  auto clear = std::make_shared<bool>(false);
  history->add_flag("--clear", *clear, "forget them all");
  history->callback([&context, clear] { context.exitCode = runHistory(*clear); });
});

}  // namespace

}  // namespace velmora::app
