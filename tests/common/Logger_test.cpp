#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cstdlib>
#include <ctime>

#include "common/Logger.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

using namespace velmora;
namespace fs = std::filesystem;

namespace {
Date utc(int year, int month, int day, int hour, int minute, int second, int millis) {
  std::tm parts{};
  parts.tm_year = year - 1900;
  parts.tm_mon = month - 1;
  parts.tm_mday = day;
  parts.tm_hour = hour;
  parts.tm_min = minute;
  parts.tm_sec = second;
  return Date(std::chrono::seconds(timegm(&parts))) + std::chrono::milliseconds(millis);
}

// The birth (or modification) time the logger will see for a file.
Date fileDate(const fs::path& file) {
  struct statx info {};
  statx(AT_FDCWD, file.c_str(), 0, STATX_BTIME | STATX_MTIME, &info);
  const auto& ts = (info.stx_mask & STATX_BTIME) ? info.stx_btime : info.stx_mtime;
  return Date(std::chrono::seconds(ts.tv_sec));
}

struct LoggerFixture : ::testing::Test {
  void SetUp() override {
    setenv("TZ", "UTC", 1);
    tzset();
    Logger::shared().setFolder(home.path() / "caches");
    Logger::shared().setClock(&clock);
    Logger::shared().setEcho(false);
    Logger::setEnabled(true);
  }
  void TearDown() override {
    Logger::setEnabled(false);
    Logger::shared().setClock(nullptr);
    Logger::shared().setFolder({});
    Logger::shared().setEcho(false);
  }
  test::TempHome home;
  test::ManualClock clock;
};
}  // namespace

TEST_F(LoggerFixture, LineFormatHasNoColonBetweenHoursAndMinutes) {
  EXPECT_EQ(Logger::formatTime(utc(2024, 3, 7, 9, 5, 3, 42)), "7/3 905:03.042");
  EXPECT_EQ(Logger::formatTime(utc(2024, 12, 31, 23, 59, 59, 999)), "31/12 2359:59.999");

  clock.set(utc(2024, 3, 7, 14, 30, 0, 5));
  auto current = Logger::shared().logURLs().currentLogURL;
  LogFunc("/src/search/FileSystemSearch.cpp", 241, "search(query:handler:)", "started");
  EXPECT_EQ(test::readFile(current), "7/3 1430:00.005 FileSystemSearch search:241 started\n");
  fs::remove(current);
  Logger::shared().log("ends with newline\n");
  EXPECT_EQ(test::readFile(current), "7/3 1430:00.005 ends with newline\n");
}

TEST_F(LoggerFixture, DisabledLoggingWritesAndFormatsNothing) {
  Logger::setEnabled(false);
  int formatted = 0;
  auto expensive = [&] {
    ++formatted;
    return 1;
  };
  VLOG("value {}", expensive());
  LogFunc("a.cpp", 1, "f", "x");
  EXPECT_EQ(formatted, 0);
  EXPECT_FALSE(fs::exists(Logger::shared().logURLs().currentLogURL));
}

TEST_F(LoggerFixture, FirstLineOfANewDayRotatesTheFiles) {
  auto urls = Logger::shared().logURLs();
  clock.set(utc(2024, 3, 7, 10, 0, 0, 0));
  Logger::shared().log("first");
  ASSERT_TRUE(fs::exists(urls.currentLogURL));
  // Pin "now" to the file's own creation day: same day, no rotation.
  Date created = fileDate(urls.currentLogURL);
  clock.set(created);
  Logger::shared().log("same day");
  EXPECT_FALSE(fs::exists(urls.yesterdayLogURL));

  // The next day moves today's file aside, replacing an older previous log.
  test::writeFile(urls.yesterdayLogURL, "very old\n");
  clock.set(created + std::chrono::hours(24));
  Logger::shared().log("next day");
  auto previous = test::readFile(urls.yesterdayLogURL);
  EXPECT_NE(previous.find("same day"), std::string::npos);
  EXPECT_EQ(previous.find("very old"), std::string::npos);
  auto today = test::readFile(urls.currentLogURL);
  EXPECT_NE(today.find("next day"), std::string::npos);
  EXPECT_EQ(today.find("first"), std::string::npos);
}
