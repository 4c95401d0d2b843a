// `velmora words FILE [--ocr] [--json]`: the words Velmora would index for a
// file and how often each occurs, most frequent first, through the import
// helper as an index build does.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/CliRegistry.h"
#include "textimport/ImportClient.h"

namespace velmora::app {

namespace {

const bool registered = registerCli(31, [](CLI::App& root, CliContext& context) {
  CLI::App* words = root.add_subcommand("words", "print the words Velmora indexes for a file, most frequent first");
  auto file = std::make_shared<std::string>();
  auto ocr = std::make_shared<bool>(false);
  auto json = std::make_shared<bool>(false);
  words->add_option("FILE", *file, "the file to read")->required();
  words->add_flag("--ocr", *ocr, "recognise the text of images and of PDF page images");
  words->add_flag("--json", *json, "print one JSON object from word to count");
  words->callback([&context, file, ocr, json] {
    std::error_code ec;
    const std::string path = std::filesystem::absolute(*file, ec).string();
    ImportTextTools tools;
    if (!tools.canImportTextFrom(path, *ocr)) {
      std::cerr << "velmora words: " << *file << ": no importer for this type of file"
                << (*ocr ? "" : " (images need --ocr)") << "\n";
      context.exitCode = 1;
      return;
    }
    auto result = ImportClient::shared().wordsFromFile(path, *ocr);
    if (!result.error.ok() || !result.words) {
      std::cerr << "velmora words: " << *file << ": "
                << (result.error.ok() ? "no words could be read" : result.error.message()) << "\n";
      context.exitCode = 1;
      return;
    }
    if (result.words->empty() && result.importFailure) {
      std::cerr << "velmora words: " << *file << ": " << *result.importFailure << "\n";
      context.exitCode = 1;
      return;
    }
    std::vector<std::pair<std::string, std::int64_t>> sorted(result.words->begin(), result.words->end());
    std::sort(sorted.begin(), sorted.end(),
              [](const auto& a, const auto& b) { return a.second != b.second ? a.second > b.second : a.first < b.first; });
    if (*json) {
      nlohmann::ordered_json object = nlohmann::ordered_json::object();
      for (const auto& [word, count] : sorted) object[word] = count;
      std::cout << object.dump(2, ' ', false, nlohmann::json::error_handler_t::replace) << "\n";
    } else {
      for (const auto& [word, count] : sorted) std::cout << fmt::format("{:>7} {}\n", count, word);
    }
    std::cout.flush();
    context.exitCode = 0;
  });
});

}  // namespace

}  // namespace velmora::app
