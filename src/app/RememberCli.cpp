// `velmora remember [NAME] PATH`, `--list`, `--forget NAME`: favourite
// folders, which queries reach as "~remembered".
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "app/CliRegistry.h"
#include "stores/FavoriteFolders.h"
#include "stores/PreferenceStore.h"
#include "stores/Preferences.h"

namespace velmora::app {

namespace {

namespace fs = std::filesystem;

struct RememberArgs {
  std::vector<std::string> words;  // [NAME] PATH
  bool list = false;
  std::string forget;
};

int runRemember(const RememberArgs& args) {
  Preferences::registerDefaultsIfNeeded();
  FavoriteFolders folders;
  folders.startup();
  if (Status loaded = PreferenceStore::shared().loadStatus(); !loaded.ok())
    std::cerr << "velmora remember: " << loaded.message() << "\n";

  if (args.list) {
    for (const auto& [name, path] : folders.displayItems()) std::cout << name << "\t" << path << "\n";
    return 0;
  }
  if (!args.forget.empty()) {
    Status removed = folders.remove(args.forget);
    if (removed.ok()) return 0;
    if (removed.code() == Status::Code::notFound) {
      std::cerr << "velmora remember: " << removed.message() << "\n";
    } else {
      std::cerr << "velmora remember: \"" << args.forget << "\" was not forgotten: " << removed.message() << "\n";
    }
    return 1;
  }
  if (args.words.empty() || args.words.size() > 2) {
    std::cerr << "velmora remember: give a folder (and optionally a name before it), or --list\n";
    return 2;
  }
  std::error_code ec;
  fs::path path = fs::absolute(args.words.back(), ec);
  if (ec || !fs::is_directory(path, ec)) {
    std::cerr << "velmora remember: \"" << args.words.back() << "\" is not a folder\n";
    return 1;
  }
  std::string text = path.lexically_normal().string();
  if (args.words.size() == 2) {
    const std::string& name = args.words.front();
    if (Status added = folders.addNamed(name, text); !added.ok()) {
      if (added.code() == Status::Code::invalidArgument)
        std::cerr << "velmora remember: " << added.message() << "\n";
      else
        std::cerr << "velmora remember: \"" << text << "\" was not remembered: " << added.message() << "\n";
      return 1;
    }
    std::cout << name << "\t" << *folders.pathFor(name) << "\n";
    return 0;
  }
  auto name = folders.add(text);
  if (!name) {
    std::cerr << "velmora remember: \"" << text << "\" was not remembered: " << name.status().message() << "\n";
    return 1;
  }
  std::cout << *name << "\t" << *folders.pathFor(*name) << "\n";
  return 0;
}

const bool registered = registerCli(74, [](CLI::App& root, CliContext& context) {
  CLI::App* remember = root.add_subcommand("remember", "remember folders by name (\"~remembered\" in queries)");
  auto args = std::make_shared<RememberArgs>();
  remember->add_option("NAME_AND_PATH", args->words, "[NAME] PATH: the folder, optionally after its name")
      ->expected(0, 2);
  remember->add_flag("--list", args->list, "print the remembered folders, NAME<tab>PATH");
  remember->add_option("--forget", args->forget, "forget the folder remembered under this name");
  remember->callback([&context, args] { context.exitCode = runRemember(*args); });
});

}  // namespace

}  // namespace velmora::app
