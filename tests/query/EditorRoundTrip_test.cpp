// The query editor writes a query's commands back as text; that text must
// parse to the same commands, for every command the language can make. The
// users' guide holds one example of every sentence form, so walking it walks
// every factory and every template.
#include <gtest/gtest.h>

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include <fstream>
#include <regex>
#include <typeinfo>

#include "ManualScheduler.h"
#include "TempHome.h"
#include "common/AppDirectories.h"
#include "query/DateHelper.h"
#include "query/QueryContainer.h"
#include "query/QueryEditor.h"
#include "stores/PreferenceStore.h"

namespace velmora {
namespace {

class EditorRoundTrip : public ::testing::Test {
 protected:
  void SetUp() override {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("UTC"));
    PreferenceStore::resetShared(home.path() / "preferences.json");
    test::writeFile(AppDirectories::applicationScriptsDirectory() / "backup.sh", "#!/bin/sh\n");
    DateHelper::setShared(std::make_shared<const DateHelper>("en_US", "UTC", clock));
    settings.rememberedFolders = {{"Downloads", (home.path() / "dl").string()}};
  }
  void TearDown() override { DateHelper::setShared(nullptr); }

  test::TempHome home;
  test::ManualClock clock{std::chrono::system_clock::from_time_t(1739201400)};  // 2025-02-10 15:30 UTC
  QuerySettings settings;
};

TEST_F(EditorRoundTrip, EveryCommandsTextParsesBackToTheSameCommand) {
  std::ifstream doc(test::sourceDir() / "docs/query-language.md");
  ASSERT_TRUE(doc);
  std::regex row(R"(^\| `([^`]*)` \| (\w+) \| `([^`]*)` \|$)");
  std::string line;
  int walked = 0;
  while (std::getline(doc, line)) {
    std::smatch m;
    if (!std::regex_match(line, m, row)) continue;
    const std::string example = m[3];
    QueryContainer first(": " + example, std::nullopt, false, settings);
    if (first.commandsFoundInQuery.empty()) continue;  // a family that is not built in
    ++walked;
    const std::string written = QueryEditor::commandsString(first.commandsFoundInQuery);
    QueryContainer second(written, std::nullopt, false, settings);
    ASSERT_EQ(second.commandsFoundInQuery.size(), first.commandsFoundInQuery.size())
        << example << " was written as " << written;
    for (std::size_t i = 0; i < first.commandsFoundInQuery.size(); ++i) {
      const Command& a = *first.commandsFoundInQuery[i];
      const Command& b = *second.commandsFoundInQuery[i];
      EXPECT_EQ(typeid(a), typeid(b)) << example << " was written as " << written;
      EXPECT_EQ(a.commandToString(), b.commandToString()) << example << " was written as " << written;
    }
    EXPECT_TRUE(second.invalidCommandAreaWords.empty()) << example << " was written as " << written;
  }
  EXPECT_GT(walked, 40);
}

}  // namespace
}  // namespace velmora
