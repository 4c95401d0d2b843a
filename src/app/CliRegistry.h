#pragma once
#include <functional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace velmora::app {

// What a subcommand's run leaves for main(): the process exit status.
struct CliContext {
  int exitCode = 0;
  // The command line as given (without the program name), for subcommands
  // that need the order of arguments the parser split apart.
  std::vector<std::string> arguments;
  // Everything after the first "--": never options, whatever they look like.
  // A subcommand that takes them sets afterDashesTaken.
  std::vector<std::string> afterDashes;
  bool afterDashesTaken = false;
};

// A subcommand installs itself on the root parser: it adds its CLI::App with
// options and a callback that does the work and sets context.exitCode.
using CliInstaller = std::function<void(CLI::App& root, CliContext& context)>;

// Called from a static initialiser in each subcommand's file:
//   static const bool registered = registerCli(10, [](CLI::App& root, CliContext& ctx) {...});
// `order` fixes the order in --help.
bool registerCli(int order, CliInstaller installer);
const std::vector<std::pair<int, CliInstaller>>& registeredClis();

}  // namespace velmora::app
