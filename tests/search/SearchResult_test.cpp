#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "model/SearchResult.h"
#include "search/SearchResultsBucket.h"
#include "support/ManualScheduler.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

SearchResult sample() {
  SearchResult r;
  r.diskKey = "disk-1";
  r.path = "/home/u/Report 2024.txt";
  r.size = 18446744073709551615ull;
  r.creationDate = -5;
  r.modDate = 1700000000;
  r.lastAccessDate = 7;
  r.searchResultSuppliedBy = SearchResultSupplier::CompactContentIndex;
  r.checkToSeeIfItExists = true;
  r.ignoreSearchLocation = true;
  r.isDirectory = false;
  r.strikeThroughDisplayNameIfMissing = false;
  r.contentSearchResultsRank = 42;
  r.summaryLines = std::vector<std::string>{"a line"};
  r.tryCollectSummaryLines = true;
  return r;
}

TEST(SearchResult, SerialisedFormKeepsKeyOrderAndRoundTrips) {
  SearchResult r = sample();
  auto json = r.toJSON();
  std::vector<std::string> keys;
  for (auto& [key, value] : json.items()) keys.push_back(key);
  EXPECT_EQ(keys, (std::vector<std::string>{"diskKey", "path", "isDirectory", "size", "creationDate",
                                            "modDate", "lastAccessDate", "checkToSeeIfItExists", "uuid",
                                            "searchResultSuppliedBy", "ignoreSearchLocation",
                                            "contentSearchResultsRank",
                                            "strikeThroughDisplayNameIfMissing"}));
  EXPECT_EQ(json["searchResultSuppliedBy"], 10);

  auto back = SearchResult::fromSerialised(r.serialised());
  ASSERT_TRUE(back);
  EXPECT_EQ(back->uuid, r.uuid);
  EXPECT_EQ(back->diskKey, r.diskKey);
  EXPECT_EQ(back->size, r.size);
  EXPECT_EQ(back->creationDate, -5);
  EXPECT_EQ(back->searchResultSuppliedBy, SearchResultSupplier::CompactContentIndex);
  EXPECT_FALSE(back->strikeThroughDisplayNameIfMissing);
  EXPECT_EQ(back->contentSearchResultsRank, 42);
  // What stays on this side of the wire.
  EXPECT_FALSE(back->summaryLines);
  EXPECT_FALSE(back->contentSearchResults);
  EXPECT_FALSE(back->tryCollectSummaryLines);
  EXPECT_EQ(back->serialised(), r.serialised());
}

TEST(SearchResult, DecodingIsStrictButDiskKeyIsOptional) {
  auto json = nlohmann::json::parse(sample().serialised());
  json.erase("diskKey");
  json["uuid"] = "e621e1f8-c36c-495a-93fc-0c247a3e6e5f";
  auto noDisk = SearchResult::fromJSON(json);
  ASSERT_TRUE(noDisk);
  EXPECT_FALSE(noDisk->diskKey);
  EXPECT_EQ(noDisk->uuid, "E621E1F8-C36C-495A-93FC-0C247A3E6E5F");
  EXPECT_FALSE(noDisk->toJSON().contains("diskKey"));

  std::string error;
  for (const char* key : {"path", "isDirectory", "size", "creationDate", "modDate", "lastAccessDate",
                          "checkToSeeIfItExists", "uuid", "searchResultSuppliedBy",
                          "ignoreSearchLocation", "contentSearchResultsRank",
                          "strikeThroughDisplayNameIfMissing"}) {
    auto missing = json;
    missing.erase(key);
    EXPECT_FALSE(SearchResult::fromJSON(missing, &error)) << key;
    EXPECT_NE(error.find(key), std::string::npos) << error;
  }
  auto bad = [&](const char* key, nlohmann::json value) {
    auto changed = json;
    changed[key] = value;
    return !SearchResult::fromJSON(changed);
  };
  EXPECT_TRUE(bad("size", -1));
  EXPECT_TRUE(bad("isDirectory", 1));
  EXPECT_TRUE(bad("modDate", 1.5));
  EXPECT_TRUE(bad("uuid", "not-a-uuid"));
  EXPECT_TRUE(bad("searchResultSuppliedBy", 12));
  EXPECT_TRUE(bad("path", nullptr));
  EXPECT_FALSE(SearchResult::fromSerialised("{\"path\":", &error));
  EXPECT_FALSE(SearchResult::fromSerialised("[]"));
}

TEST(SearchResult, PathInitialisersReadTheDisk) {
  test::TempHome home;
  auto folder = home.tree("t");
  test::writeFile(folder / "a.txt", "12345");
  auto file = SearchResult::file(SearchResultSupplier::fileSystem, (folder / "a.txt").string(), false);
  EXPECT_EQ(file.size, 5u);
  EXPECT_GT(file.modDate, 0);
  EXPECT_FALSE(file.isDirectory);
  EXPECT_TRUE(file.strikeThroughDisplayNameIfMissing);
  EXPECT_FALSE(file.diskKey);

  auto dir = SearchResult::directory(SearchResultSupplier::fileSystem, folder.string(), true);
  EXPECT_TRUE(dir.isDirectory);
  EXPECT_EQ(dir.size, 0u);
  EXPECT_GT(dir.modDate, 0);
  EXPECT_NE(dir.uuid, file.uuid);

  auto gone = SearchResult::file(SearchResultSupplier::spotlight, (folder / "gone").string(), true);
  EXPECT_EQ(gone.size, 0u);
  EXPECT_EQ(gone.modDate, 0);
  EXPECT_EQ(gone.creationDate, 0);
  EXPECT_FALSE(gone.isDirectory);
  auto goneDir = SearchResult::directory(SearchResultSupplier::spotlight, (folder / "gone").string(), true);
  EXPECT_TRUE(goneDir.isDirectory);
}

TEST(SearchResultsBucket, EmptiesAtMostEveryHalfSecond) {
  test::ManualClock clock;
  SearchResultsBucket bucket(clock);
  EXPECT_TRUE(bucket.isTimeToEmpty());
  EXPECT_TRUE(bucket.empty().empty());  // still restarts the time
  EXPECT_FALSE(bucket.isTimeToEmpty());
  bucket.add(sample());
  bucket.add(std::vector<SearchResult>{sample(), sample()});
  clock.advance(Seconds(0.5));
  EXPECT_FALSE(bucket.isTimeToEmpty());
  clock.advance(Seconds(0.01));
  EXPECT_TRUE(bucket.isTimeToEmpty());
  EXPECT_EQ(bucket.empty().size(), 3u);
  EXPECT_TRUE(bucket.items().empty());
  EXPECT_FALSE(bucket.isTimeToEmpty());
}

}  // namespace
}  // namespace velmora
