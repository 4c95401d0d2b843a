#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <vector>
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
  context.arguments.assign(argv + 1, argv + argc);
  // The parser would hand what follows "--" to the root command, which takes
  // no words; the subcommands that take free text (a query) read it here.
  std::vector<char*> args(argv, argv + argc);
  auto dashes = std::find_if(args.begin() + 1, args.end(), [](const char* a) { return std::string_view(a) == "--"; });
  if (dashes != args.end()) {
    context.afterDashes.assign(dashes + 1, args.end());
    args.erase(dashes, args.end());
  }
  for (auto& [order, install] : app::registeredClis()) install(root, context);

  root.parse_complete_callback([&] {
    if (log || logToStandardError || Preferences::loggingEnabled()) Logger::setEnabled(true);
    // Log lines never reach standard output, which carries the command's own output.
    Logger::shared().setEcho(logToStandardError);
  });
  try {
    root.parse(int(args.size()), args.data());
    if (!context.afterDashes.empty() && !context.afterDashesTaken) throw CLI::ExtrasError(context.afterDashes);
  } catch (const CLI::ParseError& e) {
    int code = root.exit(e);
    // Usage errors exit 2, as grep does; --help and --version exit 0.
    return code == 0 ? 0 : 2;
  }
  if (root.get_subcommands().empty()) return app::runQueryWindow();
  return context.exitCode;
}
