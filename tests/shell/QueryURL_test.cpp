#include "shell/QueryURL.h"

#include <gtest/gtest.h>

#include "common/GCDAdditions.h"
#include "shell/URLHandler.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora::test {

TEST(QueryURLTest, ParsesTextAndLocation) {
  auto url = QueryURL::parse("velmora:report%20budget%20:%20today?location=/home/ann/My%20Docs");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->text, "report budget : today");
  EXPECT_EQ(url->location, "/home/ann/My Docs");

  url = QueryURL::parse("velmora://a+b?x=1&location=%7E%2Fwork&q=ignored#frag");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->text, "a+b");  // "+" is literal outside the query keys
  EXPECT_EQ(url->location, "~/work");

  // Several locations are all kept, in order.
  url = QueryURL::parse("velmora:notes?location=/a&location=%2Fb%20c");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->location, "/a");
  EXPECT_EQ(url->locations, (std::vector<std::string>{"/a", "/b c"}));

  url = QueryURL::parse("velmora:?query=cats+and+dogs");
  ASSERT_TRUE(url);
  EXPECT_EQ(url->text, "cats and dogs");
  EXPECT_EQ(url->location, std::nullopt);

  url = QueryURL::parse("velmora:100%25%zz%4");  // bad escapes stay as written
  ASSERT_TRUE(url);
  EXPECT_EQ(url->text, "100%%zz%4");

  EXPECT_FALSE(QueryURL::parse("http://example.com/?q=x"));
  EXPECT_FALSE(QueryURL::parse("Velmora:x"));
  EXPECT_FALSE(QueryURL::parse("velmora"));
}

TEST(QueryURLTest, HandlerRunsOnlyVelmoraURLsAfterTheDelay) {
  TempHome home;
  ManualClock clock;
  ManualScheduler scheduler(clock);
  GCDAdditions delays(scheduler);
  std::vector<QueryURL> ran;
  URLHandler handler(delays, [&](const QueryURL& q) { ran.push_back(q); }, 0.25);

  EXPECT_EQ(handler.handleURL("file:///etc/passwd"), nullptr);
  EXPECT_EQ(scheduler.pendingCount(), 0u);

  auto op = handler.handleURL("velmora:notes?location=/tmp");
  ASSERT_NE(op, nullptr);
  EXPECT_TRUE(ran.empty());
  scheduler.advance(Seconds(0.3));
  ASSERT_EQ(ran.size(), 1u);
  EXPECT_EQ(ran[0].text, "notes");
  EXPECT_EQ(ran[0].location, "/tmp");
}

}  // namespace velmora::test
