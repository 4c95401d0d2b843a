// `velmora index ...`: commands that work on index files ("caches").
// `index` is a group; each verb is a subcommand of it.
#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

#include "app/CliRegistry.h"
#include "index/CacheInspector.h"

namespace velmora::app {

namespace {

int runInspect(const std::string& file, bool json) {
  auto result = CacheInspector::inspect(file);
  if (!result.inspection) {
    std::cerr << "velmora index inspect: " << result.error << "\n";
    return 1;
  }
  std::cout << (json ? CacheInspector::toJSON(*result.inspection) : CacheInspector::toText(*result.inspection));
  std::cout.flush();
  return 0;
}

const bool registered = registerCli(60, [](CLI::App& root, CliContext& context) {
  CLI::App* index = root.add_subcommand("index", "look inside and manage index files (\"caches\")");
  index->require_subcommand(1);

  CLI::App* inspect = index->add_subcommand(
      "inspect", "print everything an index file holds: its information, items, dead list and words");
  auto file = std::make_shared<std::string>();
  auto json = std::make_shared<bool>(false);
  inspect->add_option("FILE", *file, "the index file (.vlcache), opened read-only")->required();
  inspect->add_flag("--json", *json, "print JSON instead of text");
  inspect->callback([&context, file, json] { context.exitCode = runInspect(*file, *json); });
});

}  // namespace

}  // namespace velmora::app
