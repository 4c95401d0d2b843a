// `velmora index ...`: commands that work on index files ("caches").
// `index` is a group; each verb is a subcommand of it.
#include <CLI/CLI.hpp>

#include <iostream>
#include <string>

#include "app/CliRegistry.h"
#include "index/CacheInspector.h"

namespace velmora::app {

namespace {

int runInspect(const std::string& file, bool json, bool readHere) {
  if (readHere) {
    // The reading child of CacheInspector::inspect: its answer, whatever it is.
    std::cout << CacheInspector::childAnswer(file);
    std::cout.flush();
    return std::cout ? 0 : 1;
  }
  auto result = CacheInspector::inspect(file);
  if (!result) {
    std::cerr << "velmora index inspect: " << result.status().message() << "\n";
    return 1;
  }
  std::cout << (json ? CacheInspector::toJSON(*result) : CacheInspector::toText(*result));
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
  auto readHere = std::make_shared<bool>(false);
  inspect->add_flag("--json", *json, "print JSON instead of text");
  // Used by the program itself to read a file in a separate process.
  inspect->add_flag(CacheInspector::kInProcessOption, *readHere)->group("");
  inspect->callback([&context, file, json, readHere] { context.exitCode = runInspect(*file, *json, *readHere); });
});

}  // namespace

}  // namespace velmora::app
