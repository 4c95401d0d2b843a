// `velmora text FILE [--ocr] [--all-files] [--max-length N]`: the text
// Velmora reads from a file, through the import helper as an index build
// does. Pages are separated by a form feed. Answers "what does Velmora see
// in this file?".
#include <CLI/CLI.hpp>

#include <filesystem>
#include <iostream>
#include <memory>
#include <string>

#include "app/CliRegistry.h"
#include "textimport/ImportClient.h"

namespace velmora::app {

namespace {

const bool registered = registerCli(30, [](CLI::App& root, CliContext& context) {
  CLI::App* text = root.add_subcommand("text", "print the text Velmora reads from a file (pages end with a form feed)");
  auto file = std::make_shared<std::string>();
  auto ocr = std::make_shared<bool>(false);
  auto allFiles = std::make_shared<bool>(false);
  auto maxLength = std::make_shared<std::size_t>(0);
  text->add_option("FILE", *file, "the file to read")->required();
  text->add_flag("--ocr", *ocr, "recognise the text of images and of PDF page images");
  text->add_flag("--all-files", *allFiles, "read a file of any type as UTF-8 text when no importer knows it");
  text->add_option("--max-length", *maxLength, "stop after about this many characters (whole pages for PDF)");
  text->callback([&context, file, ocr, allFiles, maxLength] {
    std::error_code ec;
    const std::string path = std::filesystem::absolute(*file, ec).string();
    auto result = ImportClient::shared().textFromFile(path, *allFiles, *ocr,
                                                      *maxLength ? *maxLength : ImportTextTools::unlimitedLength);
    if (!result.error.ok() || !result.text) {
      std::string reason = result.error.ok() ? "no text could be read" : result.error.message();
      if (!std::filesystem::exists(path, ec))
        reason = "no such file";
      else if (!*ocr && !ImportTextTools().canImportTextFrom(path, false) && ImportTextTools().canImportTextFrom(path, true))
        reason += " (images are read with --ocr)";
      std::cerr << "velmora text: " << *file << ": " << reason << "\n";
      context.exitCode = 1;
      return;
    }
    for (std::size_t i = 0; i < result.pages.size(); ++i) {
      std::cout << result.pages[i];
      if (i + 1 < result.pages.size()) std::cout << '\f';
    }
    if (!result.pages.empty() && !result.pages.back().ends_with('\n')) std::cout << '\n';
    std::cout.flush();
    context.exitCode = 0;
  });
});

}  // namespace

}  // namespace velmora::app
