#include <CLI/CLI.hpp>

#include <cstdio>
#include <iostream>

#include "app/CliRegistry.h"
#include "app/QueryWindowCli.h"
#include "common/Logger.h"
#include "stores/Preferences.h"

int main(int argc, char** argv) {
  using namespace velmora;
  CLI::App root{
      "Velmora finds files by name, attributes and content.\n"
      "Queries are words to find in names, then optionally a colon and commands:\n"
      "  velmora search \"report budget : modified today\" --in ~/Documents\n"
      "  velmora explain \".m4v : bigger than 10mb\"",
      "velmora"};
  root.set_version_flag("--version", "velmora 0.1.0");
  bool log = false;
  root.add_flag("--log", log, "write the log to \"Today's Log.txt\" in the caches folder");
  bool logToStandardError = false;
  root.add_flag("--log-stderr", logToStandardError, "as --log, and print each log line on standard error too");
  root.require_subcommand(0, 1);

  app::CliContext context;
  for (auto& [order, install] : app::registeredClis()) install(root, context);

  root.parse_complete_callback([&] {
    if (log || logToStandardError || Preferences::loggingEnabled()) Logger::setEnabled(true);
    // Log lines never reach standard output, which carries the command's own output.
    Logger::shared().setEcho(logToStandardError);
  });
  try {
    root.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    int code = root.exit(e);
    // Usage errors exit 2, as grep does; --help and --version exit 0.
    return code == 0 ? 0 : 2;
  }
  if (root.get_subcommands().empty()) return app::runQueryWindow();
  return context.exitCode;
}
