#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "TestDocuments.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

using test::runCommand;
using test::shellQuote;

std::string velmora(const std::string& arguments) {
  return shellQuote(test::programPath("velmora").string()) + " " + arguments;
}

TEST(TextAndWordsCommands, PrintWhatTheHelperReads) {
  test::TempHome home;
  const auto pdf = home.tree("docs") / "two.pdf";
  test::writeFile(pdf, test::makePDF({{"Alpha beta"}, {"Beta gamma"}}));
  auto text = runCommand(velmora("text " + shellQuote(pdf.string())));
  EXPECT_EQ(text.status, 0);
  EXPECT_EQ(text.out, "Alpha beta\n\fBeta gamma\n");
  auto limited = runCommand(velmora("text --max-length 3 " + shellQuote(pdf.string())));
  EXPECT_EQ(limited.out, "Alpha beta\n") << "whole pages for PDF";

  auto words = runCommand(velmora("words --json " + shellQuote(pdf.string())));
  ASSERT_EQ(words.status, 0);
  auto parsed = nlohmann::ordered_json::parse(words.out);
  EXPECT_EQ(parsed.begin().key(), "beta") << "most frequent first";
  EXPECT_EQ(parsed["beta"], 2);
  EXPECT_EQ(parsed.size(), 3u);

  // Nothing readable: exit 1 with the reason on standard error.
  const auto empty = home.tree("docs") / "empty.pdf";
  test::writeFile(empty, "");
  auto failed = runCommand(velmora("text " + shellQuote(empty.string())) + " 2>&1");
  EXPECT_EQ(failed.status, 1);
  EXPECT_NE(failed.out.find("empty.pdf: not a readable PDF document"), std::string::npos) << failed.out;
  const auto unknown = home.tree("docs") / "data.xyz";
  test::writeFile(unknown, "raw words");
  EXPECT_EQ(runCommand(velmora("text " + shellQuote(unknown.string())) + " 2>/dev/null").status, 1);
  EXPECT_EQ(runCommand(velmora("text --all-files " + shellQuote(unknown.string()))).out, "raw words\n");
  auto missing = runCommand(velmora("text " + shellQuote((home.path() / "gone.txt").string())) + " 2>&1");
  EXPECT_NE(missing.out.find("gone.txt: no such file"), std::string::npos) << missing.out;
}

}  // namespace
}  // namespace velmora
