#include "stores/PreferenceStore.h"

#include <thread>

#include <nlohmann/json.hpp>

#include "StoreFixture.h"
#include "stores/FavoriteFolders.h"
#include "stores/HistoryController.h"
#include "stores/JSONByteStrings.h"

namespace velmora::test {

namespace fs = std::filesystem;
using nlohmann::json;

class PreferenceStoreTest : public StoreFixture {
 protected:
  fs::path asideFile(int n) const {
    fs::path aside = prefsFile();
    aside += ".damaged-" + std::to_string(n);
    return aside;
  }
};

TEST_F(PreferenceStoreTest, BytesThatAreNotUTF8RoundTripInValidJSON) {
  const std::string folder = "/tmp/caf\xE9/\xFF\xFE%41";
  const std::string name = "caf\xE9";
  auto& store = PreferenceStore::shared();
  ASSERT_TRUE(store.setValue("lastSearchlocationPopupSelectedItemName", "\xFF").ok());
  ASSERT_TRUE(store.setValue("RememberedFolders", json{{name, folder}, {"plain", "/home/100%"}}).ok());
  ASSERT_TRUE(store.setValue("leading", std::string("\0x", 2)).ok());

  // The file is strict JSON, with the documented escaped form.
  json onDisk = json::parse(readFile(prefsFile()));
  EXPECT_EQ(onDisk["lastSearchlocationPopupSelectedItemName"], std::string("\0%FF", 4));
  EXPECT_EQ(onDisk["RememberedFolders"][std::string("\0caf%E9", 7)], std::string("\0/tmp/caf%E9/%FF%FE%2541", 24));
  EXPECT_EQ(onDisk["RememberedFolders"]["plain"], "/home/100%");  // UTF-8 stays as it is

  PreferenceStore::resetShared(prefsFile());
  auto& again = PreferenceStore::shared();
  EXPECT_EQ(again.stringForKey("lastSearchlocationPopupSelectedItemName"), "\xFF");
  EXPECT_EQ(again.stringForKey("leading"), std::string("\0x", 2));
  FavoriteFolders folders;
  folders.load();
  EXPECT_EQ(folders.pathFor(name), folder);
  EXPECT_EQ(folders.pathFor("plain"), "/home/100%");
  EXPECT_EQ(JSONByteStrings::decode(JSONByteStrings::encode("\xC3\x28 \xE2\x82 \xF0\x9F\x98\x80")),
            "\xC3\x28 \xE2\x82 \xF0\x9F\x98\x80");
}

TEST_F(PreferenceStoreTest, DeepNestingIsDamageAndNeverOverflowsTheStack) {
  std::string deep = "{\"historyMaxCount\": 3, \"x\": " + std::string(100000, '[') + std::string(100000, ']') + "}";
  writeFile(prefsFile(), deep);
  PreferenceStore::resetShared(prefsFile());
  auto& store = PreferenceStore::shared();
  EXPECT_EQ(store.loadStatus().code(), Status::Code::corruption);
  EXPECT_EQ(readFile(asideFile(1)), deep);
  EXPECT_FALSE(store.hasUserValue("historyMaxCount"));
  ASSERT_TRUE(store.setValue("listTextSize", 14).ok());

  // Written under another writer's nose: set aside at the next change too.
  writeFile(prefsFile(), deep);
  ASSERT_TRUE(store.setValue("hoverPreviews", true).ok());
  EXPECT_EQ(readFile(asideFile(2)), deep);
  EXPECT_EQ(json::parse(readFile(prefsFile())), (json{{"listTextSize", 14}, {"hoverPreviews", true}}));

  json nested = json::array();
  for (int i = 0; i < 100000; ++i) nested = json::array({std::move(nested)});
  EXPECT_EQ(store.setValue("nested", std::move(nested)).code(), Status::Code::invalidArgument);
  EXPECT_EQ(store.setValue("iconSizeSlider", std::numeric_limits<double>::infinity()).code(),
            Status::Code::invalidArgument);
  EXPECT_FALSE(store.hasUserValue("nested"));
}

TEST_F(PreferenceStoreTest, EachWriterChangesOnlyItsKeysOnTopOfTheFile) {
  // Two processes' stores, each loaded before the other wrote.
  PreferenceStore serve(prefsFile());
  PreferenceStore command(prefsFile());
  ASSERT_TRUE(command.setValue("hoverPreviews", true).ok());
  ASSERT_TRUE(command.setValue("RememberedFolders", json{{"work", "/srv/work"}}).ok());
  ASSERT_TRUE(serve.setValue("hasLaunchedBefore", true).ok());  // at quit
  ASSERT_TRUE(command.removeValue("hoverPreviews").ok());
  ASSERT_TRUE(serve.setValue("showInMenuBar", true).ok());
  EXPECT_EQ(json::parse(readFile(prefsFile())),
            (json{{"RememberedFolders", {{"work", "/srv/work"}}}, {"hasLaunchedBefore", true}, {"showInMenuBar", true}}));
  EXPECT_EQ(serve.objectForKey("RememberedFolders"), (json{{"work", "/srv/work"}}));  // it sees them now

  // A list starts from what is saved now: folders and queries are merged.
  PreferenceStore::resetShared(prefsFile());
  FavoriteFolders window;
  window.load();
  ASSERT_TRUE(serve.setValue("RememberedFolders", json{{"work", "/srv/work"}, {"other", "/srv/other"}}).ok());
  ASSERT_TRUE(window.add("/home/ann").ok());
  EXPECT_EQ(window.keyFolderPairs().size(), 3u);
  HistoryController history;
  history.startup();
  history.addQuery("first");
  ASSERT_TRUE(serve.setValue("history", json::array({{{"id", "X"}, {"type", 0}, {"queryString", "elsewhere"},
                                                       {"performedDate", 1.0}}}))
                  .ok());
  history.addQuery("second");
  EXPECT_EQ(history.queries(), (std::vector<std::string>{"elsewhere", "second"}));
}

TEST_F(PreferenceStoreTest, ConcurrentWritersKeepEveryChange) {
  constexpr int writers = 8, keysEach = 25;
  std::vector<std::thread> threads;
  for (int w = 0; w < writers; ++w)
    threads.emplace_back([this, w] {
      PreferenceStore own(prefsFile());  // as a separate process would have
      for (int k = 0; k < keysEach; ++k)
        EXPECT_TRUE(own.setValue("w" + std::to_string(w) + "k" + std::to_string(k), k).ok());
    });
  for (auto& t : threads) t.join();
  json onDisk = json::parse(readFile(prefsFile()));
  EXPECT_EQ(onDisk.size(), static_cast<std::size_t>(writers * keysEach));
}

TEST_F(PreferenceStoreTest, FailedSavesAreReported) {
  // A file in the folder's place: no lock, no file, for root as for anyone.
  writeFile(home.path() / "blocked", "x");
  PreferenceStore store(home.path() / "blocked" / "preferences.json");
  Status status = store.setValue("hoverPreviews", true);
  EXPECT_FALSE(status.ok());
  EXPECT_NE(status.message().find("Not a directory"), std::string::npos) << status.message();
  FavoriteFolders folders;
  PreferenceStore::resetShared(home.path() / "blocked" / "preferences.json");
  EXPECT_FALSE(folders.add("/srv").ok());
  EXPECT_FALSE(folders.addNamed("srv", "/srv").ok());
  HistoryController history;
  EXPECT_FALSE(history.clear().ok());
}

}  // namespace velmora::test
