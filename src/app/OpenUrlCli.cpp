// `velmora open-url URL`: what the desktop runs for "velmora:" links (see
// packaging/velmora-url-handler.desktop). The search itself is the `search`
// command of this same program.
#include <CLI/CLI.hpp>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <future>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "app/CliRegistry.h"
#include "common/AppDirectories.h"
#include "common/GCDAdditions.h"
#include "shell/QueryURL.h"
#include "shell/URLHandler.h"

namespace velmora::app {

namespace {

std::string expandedLocation(const std::string& location) {
  if (location == "~") return AppDirectories::homeDirectory().string();
  if (location.rfind("~/", 0) == 0) return (AppDirectories::homeDirectory() / location.substr(2)).string();
  return location;
}

int runOpenURL(CLI::App& root, const std::string& url) {
  if (!QueryURL::hasScheme(url)) {
    std::cerr << "velmora open-url: \"" << url << "\" does not begin with \"velmora:\"; nothing was started\n";
    return 2;
  }
  try {
    root.get_subcommand("search");
  } catch (const CLI::Error&) {
    std::cerr << "velmora open-url: this build has no `search` command to run the query\n";
    return 1;
  }
  std::promise<QueryURL> requested;
  URLHandler handler(GCDAdditions::shared(), [&](const QueryURL& request) { requested.set_value(request); });
  auto operation = handler.handleURL(url);
  if (!operation) return 2;
  QueryURL request = requested.get_future().get();
  if (request.text.empty()) {
    std::cerr << "velmora open-url: the URL holds no query text\n";
    return 2;
  }

  std::vector<std::string> words = {"velmora", "search", request.text};
  // Each location is searched; a link may name several.
  for (const auto& location : request.locations) {
    if (location.empty()) continue;
    words.push_back("--in");
    words.push_back(expandedLocation(location));
  }
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  std::cout.flush();
  ::execv("/proc/self/exe", argv.data());
  std::cerr << "velmora open-url: cannot start the search: " << std::strerror(errno) << "\n";
  return 1;
}

const bool registered = registerCli(76, [](CLI::App& root, CliContext& context) {
  CLI::App* open = root.add_subcommand("open-url", "run the search of a velmora:QUERY?location=FOLDER link");
  auto url = std::make_shared<std::string>();
  open->add_option("URL", *url, "the link, e.g. 'velmora:report%20budget?location=~/Documents'")->required();
  open->callback([&root, &context, url] { context.exitCode = runOpenURL(root, *url); });
});

}  // namespace

}  // namespace velmora::app
