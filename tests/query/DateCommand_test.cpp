#include <gtest/gtest.h>

#include <unicode/locid.h>
#include <unicode/timezone.h>

#include "ManualScheduler.h"
#include "TempHome.h"
#include "query/QueryContainer.h"
#include "stores/PreferenceStore.h"
#include "query/DateDetector.h"
#include "query/QWCDateFormatter.h"
#include "query/commands/DateCommand.h"
#include "query/commands/DateCommandCreators.h"
#include "model/SearchResult.h"

namespace velmora {
namespace {

using test::ManualClock;

Date utc(int y, int mo, int d, int h = 0, int mi = 0, int s = 0) {
  std::tm tm{};
  tm.tm_year = y - 1900;
  tm.tm_mon = mo - 1;
  tm.tm_mday = d;
  tm.tm_hour = h;
  tm.tm_min = mi;
  tm.tm_sec = s;
  return std::chrono::system_clock::from_time_t(timegm(&tm));
}

class DateLanguage : public ::testing::Test {
 protected:
  void SetUp() override {
    PreferenceStore::resetShared(home.path() / "preferences.json");
    UErrorCode status = U_ZERO_ERROR;
    icu::Locale::setDefault(icu::Locale("en_US"), status);
    icu::TimeZone::adoptDefault(icu::TimeZone::createTimeZone("UTC"));
  }
  std::shared_ptr<const DateHelper> helper(const char* zone = "UTC") {
    return std::make_shared<const DateHelper>("en_US", zone, clock);
  }
  std::optional<DateCommandWhen> make(const std::string& name, std::vector<std::any> args, const DateHelper& h) {
    return DateCommandCreators::when(name, args, h);
  }
  static std::pair<Date, Date> range(const DateCommandWhen& w) { return *w.dateRange; }

  test::TempHome home;
  ManualClock clock{utc(2025, 2, 10, 15, 30)};
};

TEST_F(DateLanguage, MonthNamesWithoutYearMeanTheirLatestPast) {
  auto h = helper();
  EXPECT_EQ(h->monthIndexFromWord("march"), 2);
  EXPECT_EQ(h->monthIndexFromWord("sep"), 8);
  EXPECT_EQ(h->monthIndexFromWord("Mar"), std::nullopt);  // words arrive lowercased

  // "in march" said in February: all of March of last year.
  auto march = make("month", {3}, *h);
  ASSERT_TRUE(march);
  EXPECT_EQ(range(*march), std::make_pair(utc(2024, 3, 1), utc(2024, 4, 1)));
  // "in january" in February: this year's.
  EXPECT_EQ(range(*make("month", {1}, *h)), std::make_pair(utc(2025, 1, 1), utc(2025, 2, 1)));
  // Month 12 + 1 rolls over into January of the year after.
  EXPECT_EQ(range(*make("monthYear", {12, 2023}, *h)), std::make_pair(utc(2023, 12, 1), utc(2024, 1, 1)));
  // "year" ends at the start of December 31.
  EXPECT_EQ(range(*make("year", {2020}, *h)), std::make_pair(utc(2020, 1, 1), utc(2020, 12, 31)));
  EXPECT_EQ(range(*make("yearToYear", {2019, 2021}, *h)), std::make_pair(utc(2019, 1, 1), utc(2021, 12, 31)));
  // Given backwards, the two ends are put in order.
  EXPECT_EQ(range(*make("yearToYear", {2021, 2019}, *h)), std::make_pair(utc(2019, 12, 31), utc(2021, 1, 1)));
  EXPECT_EQ(range(*make("beforeMonth", {6}, *h)), std::make_pair(utc(1970, 1, 1), utc(2025, 6, 1)));
  EXPECT_EQ(range(*make("afterYear", {2020}, *h)), std::make_pair(utc(2020, 1, 1), clock.now()));
  EXPECT_EQ(range(*make("dayMonth", {31, 1}, *h)), std::make_pair(utc(2025, 1, 31), utc(2025, 2, 1)));
  // Wrong or missing argument types make no command.
  EXPECT_FALSE(make("month", {std::string("march")}, *h));
  EXPECT_FALSE(make("monthYear", {3}, *h));
  EXPECT_FALSE(make("thisTimeUnit", {CalendarComponent::day}, *h));
}

// Ranges of months follow the calendar into the next year, and the "last"
// phrases reach back over the new year when the clock is in January.
TEST_F(DateLanguage, RangesAndLastUnitsAcrossTheNewYear) {
  ManualClock november{utc(2026, 11, 23, 10)};
  DateHelper late("en_US", "UTC", november);
  EXPECT_EQ(range(*make("monthToMonth", {12, 2}, late)), std::make_pair(utc(2025, 12, 1), utc(2026, 3, 1)));
  EXPECT_EQ(range(*make("monthDayToMonth", {12, 5, 2}, late)), std::make_pair(utc(2025, 12, 5), utc(2026, 2, 1)));
  EXPECT_EQ(range(*make("monthToMonth", {3, 5}, late)), std::make_pair(utc(2026, 3, 1), utc(2026, 6, 1)));
  // Both months still to come this year: last year's.
  EXPECT_EQ(range(*make("monthToMonth", {12, 12}, late)), std::make_pair(utc(2025, 12, 1), utc(2026, 1, 1)));
  auto february = helper();  // the clock stands in February 2025
  EXPECT_EQ(range(*make("monthToMonth", {3, 5}, *february)), std::make_pair(utc(2024, 3, 1), utc(2024, 6, 1)));
  EXPECT_EQ(range(*make("monthToMonth", {11, 1}, *february)), std::make_pair(utc(2024, 11, 1), utc(2025, 2, 1)));

  ManualClock january{utc(2026, 1, 15, 9)};  // a Thursday
  DateHelper early("en_US", "UTC", january);
  EXPECT_EQ(range(*make("lastTimeUnit", {CalendarComponent::month}, early)),
            std::make_pair(utc(2025, 12, 1), utc(2026, 1, 1)));
  EXPECT_EQ(range(*make("lastTimeUnit", {CalendarComponent::year}, early)),
            std::make_pair(utc(2025, 1, 1), utc(2025, 12, 31)));
  // The week around January 8, starting on Sunday in en_US.
  EXPECT_EQ(range(*make("lastTimeUnit", {CalendarComponent::weekOfYear}, early)),
            std::make_pair(utc(2026, 1, 4), utc(2026, 1, 11)));
  ManualClock newYear{utc(2026, 1, 3, 12)};  // the week before reaches into December
  DateHelper third("en_US", "UTC", newYear);
  EXPECT_EQ(range(*make("lastTimeUnit", {CalendarComponent::weekOfYear}, third)),
            std::make_pair(utc(2025, 12, 21), utc(2025, 12, 28)));
  // Through the language as typed.
  DateHelper::setShared(std::make_shared<const DateHelper>("en_US", "UTC", november));
  QueryContainer query(": modified december to february");
  auto command = query.findCommand<DateCommand>();
  DateHelper::setShared(nullptr);
  ASSERT_TRUE(command);
  EXPECT_EQ(range(command->when), std::make_pair(utc(2025, 12, 1), utc(2026, 3, 1)));
}

TEST_F(DateLanguage, RelativeUnitsUseTheLanguageFactors) {
  auto h = helper();
  // "last 2 years" reaches back 2 x 2555 days, about 14 years.
  auto years = make("lastNDateUnit", {2, CalendarComponent::year}, *h);
  EXPECT_EQ(range(*years).first, clock.now() - std::chrono::seconds(2 * 220752000LL));
  EXPECT_EQ(range(*years).second, clock.now());
  EXPECT_EQ(range(*make("lastNDateUnit", {3, CalendarComponent::month}, *h)).first,
            clock.now() - std::chrono::seconds(3 * 18144000LL));
  // Last month: from February's predecessor's day 1 to its day 32, rolled into February.
  EXPECT_EQ(range(*make("lastTimeUnit", {CalendarComponent::month}, *h)),
            std::make_pair(utc(2025, 1, 1), utc(2025, 2, 1)));
  EXPECT_EQ(range(*make("thisTimeUnit", {CalendarComponent::month}, *h)),
            std::make_pair(utc(2025, 2, 1), utc(2025, 3, 1)));
  // en_US weeks start on Sunday; 2025-02-10 is a Monday.
  EXPECT_EQ(range(*make("thisTimeUnit", {CalendarComponent::weekOfYear}, *h)),
            std::make_pair(utc(2025, 2, 9), utc(2025, 2, 16)));
  EXPECT_EQ(range(*make("lastTimeUnit", {CalendarComponent::weekOfYear}, *h)),
            std::make_pair(utc(2025, 2, 2), utc(2025, 2, 9)));
}

TEST_F(DateLanguage, DayBoundariesFollowThePinnedZone) {
  auto h = helper("America/New_York");  // 15:30 UTC is 10:30 in New York
  DateCommand today(DateCommandWhen::fixedNamedTimeRange("today").value(), DateCommandWhat::modificationDate, h);
  const std::int64_t day0 = unixSeconds(utc(2025, 2, 10, 5));  // New York midnight in UTC
  SearchResult r;
  QueryContainer query;
  auto apply = [&](std::int64_t modDate) {
    r.modDate = modDate;
    return today.commandImpApply(r, nullptr, query);
  };
  EXPECT_EQ(apply(day0), CommandApplyResult::accept);
  EXPECT_EQ(apply(day0 + 86399), CommandApplyResult::accept);
  EXPECT_EQ(apply(day0 + 86400), CommandApplyResult::exclude);
  EXPECT_EQ(apply(day0 - 1), CommandApplyResult::exclude);

  DateCommandWhen yesterday = *DateCommandWhen::fixedNamedTimeRange("yesterday");
  EXPECT_EQ(yesterday.timeIntervalDateRange(*h), std::make_pair(day0 - 86400, day0));
  // The range is worked out anew for each result: the clock moves on.
  clock.advance(std::chrono::hours(24));
  EXPECT_EQ(apply(day0), CommandApplyResult::exclude);
  EXPECT_EQ(apply(day0 + 86400), CommandApplyResult::accept);

  // Access dates cannot be chosen by words, and exclude everything.
  DateCommand accessed(DateCommandWhen{}, DateCommandWhat::accessDate, h);
  EXPECT_EQ(accessed.commandImpApply(r, nullptr, query), CommandApplyResult::exclude);
  DateCommand ever(DateCommandWhen{}, DateCommandWhat::creationDate, h);
  r.creationDate = -5000000000;
  EXPECT_EQ(ever.commandImpApply(r, nullptr, query), CommandApplyResult::accept);
  EXPECT_EQ(dateCommandWhatFrom("accessed"), std::nullopt);
  EXPECT_EQ(dateCommandWhatFrom("edited"), DateCommandWhat::modificationDate);
  EXPECT_EQ(dateCommandWhatFrom("made"), DateCommandWhat::creationDate);

  QuerySearchArguments arguments;
  today.commandImpQuerySearchArguments(arguments);
  ASSERT_TRUE(arguments.modificationDate);
  EXPECT_FALSE(arguments.creationDate);
  EXPECT_EQ(unixSeconds(arguments.modificationDate->lowerBound), day0 + 86400);
}

TEST_F(DateLanguage, WritesAndReadsDates) {
  auto h = helper();
  QWCDateFormatter withTime(QWCDateFormatter::Style::shortStyle, QWCDateFormatter::Style::shortStyle, *h);
  EXPECT_EQ(withTime.dateToString(utc(2025, 2, 10, 9, 5)).rfind("Today at 9:05", 0), 0u);
  QWCDateFormatter dayOnly(QWCDateFormatter::Style::shortStyle, QWCDateFormatter::Style::none, *h);
  EXPECT_EQ(dayOnly.dateToString(utc(2025, 2, 9, 23)), "Yesterday");
  EXPECT_EQ(dayOnly.dateToString(utc(2025, 2, 11)), "Tomorrow");
  EXPECT_EQ(dayOnly.dateToString(utc(2024, 3, 15)), "3/15/24");

  auto dates = DateDetector::simpleDatesInString("from 3/15/24, or 2023-12-31; not 2020 nor 13/45/24", *h);
  ASSERT_EQ(dates.size(), 2u);
  EXPECT_EQ(dates[0], utc(2024, 3, 15));
  EXPECT_EQ(dates[1], utc(2023, 12, 31));

  DateCommand command(DateCommandWhen::day(utc(2024, 3, 15)), DateCommandWhat::creationDate, h);
  EXPECT_EQ(command.commandToString(), "created 3/15/24");
  EXPECT_EQ(command.commandExample(), "created 2/10/25");
  EXPECT_TRUE(command.isTemplateEqualTo(DateCommand(DateCommandWhen{}, DateCommandWhat::creationDate, h)));
  EXPECT_FALSE(command.isTemplateEqualTo(DateCommand(DateCommandWhen{}, DateCommandWhat::modificationDate, h)));
}

}  // namespace
}  // namespace velmora
