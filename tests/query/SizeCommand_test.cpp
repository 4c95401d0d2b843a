#include <gtest/gtest.h>

#include <unicode/locid.h>

#include "TempHome.h"
#include "query/QueryContainer.h"
#include "query/commands/SizeCommand.h"
#include "model/SearchResult.h"
#include "stores/PreferenceStore.h"

namespace velmora {
namespace {

class SizeCommands : public ::testing::Test {
 protected:
  void SetUp() override {
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    PreferenceStore::resetShared(home.path() / "preferences.json");
  }
  CommandApplyResult apply(SizeCommand& command, std::uint64_t size) {
    SearchResult r;
    r.path = "/a/b.bin";
    r.size = size;
    return command.commandImpApply(r, nullptr, query);
  }
  static std::vector<SentenceComponent> words(const char* text) { return SentenceComponent::parseWords(text); }

  test::TempHome home;
  QueryContainer query;
};

TEST_F(SizeCommands, EqualToIsAQuarterUnitBandOpenAtBothEnds) {
  SizeCommand size(SizeCommandType::equalTo, SizeUnits::kilobytes, 1.0);
  EXPECT_EQ(apply(size, 1000), CommandApplyResult::exclude);
  EXPECT_EQ(apply(size, 1001), CommandApplyResult::accept);
  EXPECT_EQ(apply(size, 1249), CommandApplyResult::accept);
  EXPECT_EQ(apply(size, 1250), CommandApplyResult::exclude);

  SizeCommand exactly(SizeCommandType::exactlyEqualTo, SizeUnits::bytes, 1000.0);
  EXPECT_EQ(apply(exactly, 1000), CommandApplyResult::accept);
  EXPECT_EQ(apply(exactly, 1001), CommandApplyResult::exclude);

  // Nothing is smaller than zero bytes.
  SizeCommand nothing(SizeCommandType::smallerThan, SizeUnits::bytes, 0.0);
  EXPECT_EQ(apply(nothing, 0), CommandApplyResult::exclude);
  SizeCommand bigger(SizeCommandType::greaterThan, SizeUnits::megabytes, 10.0);
  EXPECT_EQ(apply(bigger, 10000000), CommandApplyResult::exclude);
  EXPECT_EQ(apply(bigger, 10000001), CommandApplyResult::accept);

  SizeCommand incomplete(std::nullopt, SizeUnits::bytes, 1.0);
  EXPECT_EQ(apply(incomplete, 5), CommandApplyResult::skip);

  EXPECT_EQ(size.commandToString(), "size 1.0kb");
  EXPECT_EQ(SizeCommand(SizeCommandType::smallerThan, SizeUnits::megabytes, 2.5).commandExample(),
            "smaller than **2.5mb**");
  EXPECT_TRUE(size.isTemplateEqualTo(SizeCommand(SizeCommandType::equalTo, SizeUnits::bytes, 3.0)));
  EXPECT_FALSE(size.isTemplateEqualTo(bigger));
}

TEST_F(SizeCommands, TwoSizeCommandsNarrowTheSearchArguments) {
  QuerySearchArguments arguments;
  SizeCommand(SizeCommandType::greaterThan, SizeUnits::kilobytes, 5.0).commandImpQuerySearchArguments(arguments);
  SizeCommand(SizeCommandType::smallerThan, SizeUnits::megabytes, 1.0).commandImpQuerySearchArguments(arguments);
  ASSERT_TRUE(arguments.fileSize);
  EXPECT_EQ(arguments.fileSize->lowerBound, 5000u);
  EXPECT_EQ(arguments.fileSize->upperBound, 1000000u);
  // A bound that would cross the other leaves the range as it was.
  SizeCommand(SizeCommandType::smallerThan, SizeUnits::bytes, 10.0).commandImpQuerySearchArguments(arguments);
  EXPECT_EQ(arguments.fileSize->upperBound, 1000000u);
}

TEST_F(SizeCommands, FileSizeVariableReadsSpelledAndJoinedNumbers) {
  auto spelled = SizeCommandFactory::fileSize(words("five mb later"));
  auto joined = SizeCommandFactory::fileSize(words("5mb later"));
  auto apart = SizeCommandFactory::fileSize(words("5 mb later"));
  ASSERT_TRUE(spelled && joined && apart);
  EXPECT_EQ(spelled->numberOfConsumedWords, 2);
  EXPECT_EQ(joined->numberOfConsumedWords, 1);
  EXPECT_EQ(apart->numberOfConsumedWords, 2);
  for (const auto* r : {&spelled, &joined, &apart}) {
    auto args = std::any_cast<FileSizeArgs>((*r)->value);
    EXPECT_EQ(args.value, 5.0);
    EXPECT_EQ(args.units, SizeUnits::megabytes);
  }
  auto twentyOne = SizeCommandFactory::fileSize(words("twenty one kilobytes"));
  ASSERT_TRUE(twentyOne);
  EXPECT_EQ(std::any_cast<FileSizeArgs>(twentyOne->value).value, 21.0);
  EXPECT_EQ(twentyOne->numberOfConsumedWords, 3);
  EXPECT_EQ(std::any_cast<FileSizeArgs>(SizeCommandFactory::fileSize(words("5.0mb"))->value).value, 5.0);

  EXPECT_FALSE(SizeCommandFactory::fileSize(words("five")));
  EXPECT_FALSE(SizeCommandFactory::fileSize(words("5 apples")));
  EXPECT_FALSE(SizeCommandFactory::fileSize(words("mb")));
  EXPECT_FALSE(SizeCommandFactory::fileSize({}));

  // Sizes beyond what a byte count holds make no command instead of a fault.
  SizeCommandFactory factory;
  EXPECT_FALSE(factory.create("filesBiggerThan", {FileSizeArgs{5, SizeUnits::yottabyte}}, {}));
  EXPECT_TRUE(factory.create("filesBiggerThan", {FileSizeArgs{5, SizeUnits::petabytes}}, {}));
  // Zero zettabytes fits, but its quarter-unit band does not.
  EXPECT_FALSE(factory.create("filesEqualTo", {FileSizeArgs{0, SizeUnits::zettabyte}}, {}));
  EXPECT_FALSE(factory.create("filesBiggerThan", {std::string("5mb")}, {}));
  EXPECT_FALSE(factory.create("filesHuge", {FileSizeArgs{5, SizeUnits::bytes}}, {}));
}

}  // namespace
}  // namespace velmora
