// Runs `velmora index inspect` on index files written here, and on damaged ones.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include <random>

#include "index/CacheInspector.h"
#include "index/ContentIndex.h"
#include "index/store/IndexKeys.h"
#include "index/store/PackedNumbers.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

test::CommandOutput inspect(const fs::path& file, const std::string& options = "--json") {
  return test::runCommand(test::shellQuote(test::programPath("velmora").string()) + " index inspect " + options + " " +
                          test::shellQuote(file.string()) + " 2>&1");
}

TEST(IndexInspect, ReadsBackAGeneratedIndex) {
  test::TempHome home;
  fs::path file = home.path() / "Tree.vlcache";
  std::mt19937 random(7);

  // A tree of 3,000 items: folders of up to 30 entries, three levels deep.
  std::map<std::uint32_t, std::string> paths;  // expected full paths
  std::map<std::uint32_t, std::vector<std::uint32_t>> children;
  std::vector<FSItem> items;
  std::vector<std::uint32_t> folders{0};
  for (std::uint32_t id = 1; id <= 3000; ++id) {
    std::uint32_t parent = folders[random() % folders.size()];
    FSItem item;
    item.fsid = id;
    item.parentID = parent;
    item.type = (id % 7 == 1 && folders.size() < 120) ? FSItem::Type::directory : FSItem::Type::file;
    item.name = (id % 5 == 0 ? "Ünïcode " : "item ") + std::to_string(id);
    item.creationDate = static_cast<std::int32_t>(random() % 800000000);
    item.modificationDate = item.creationDate + 60;
    item.size = item.isDirectory() ? 0 : static_cast<std::int64_t>(random()) * 1000;
    paths[id] = (parent ? paths[parent] : std::string("/srv/tree")) + "/" + item.name;
    children[parent].push_back(id);
    if (item.isDirectory()) folders.push_back(id);
    items.push_back(item);
  }
  std::map<std::string, std::map<std::uint32_t, std::uint16_t>> words;
  for (int w = 0; w < 600; ++w) {
    std::string word = "word" + std::to_string(w);
    int documents = 1 + static_cast<int>(random() % 40);
    for (int d = 0; d < documents; ++d) words[word][1 + random() % 3000] = static_cast<std::uint16_t>(1 + random() % 9);
  }
  {
    ContentIndex index(file, "Tree");
    index.open();
    // The first items through write() (one transaction each), the rest in
    // batches as a build would when it is fast.
    for (int i = 0; i < 20; ++i) index.write(items[i]);
    std::vector<ValueGroupKey> rows;
    for (std::size_t i = 20; i < items.size(); ++i)
      rows.push_back({items[i].encoded(), IndexKeys::kItemGroup, std::to_string(items[i].fsid)});
    for (auto& [parent, ids] : children)
      rows.push_back({PackedNumbers::storePackedDeltas(ids), IndexKeys::kChildrenGroup, std::to_string(parent)});
    rows.push_back({asData<std::uint32_t>(3000), "F", IndexKeys::kLastAutoIDKey});
    index.db()->put(rows);
    std::vector<WordContainer> containers;
    for (auto& [word, documents] : words) {
      auto it = documents.begin();
      WordContainer container(word, it->first, it->second);
      for (++it; it != documents.end(); ++it) container.add(it->first, it->second - 1);
      containers.push_back(std::move(container));
    }
    index.saveDeadIds({2999, 17});
    index.write(containers);
    index.targetURL = "/srv/tree";
    index.documentInfo.lastUpdated = dateFromReferenceSeconds(785000000.5);
    index.documentInfo.numberOfFSItems = 3000;
    index.documentInfo.lastIndexMode = ContentIndexMode::ocrAndTextDocuments;
    index.documentInfo.diskKey = "disk-1";
    index.saveDocumentInfo();
    index.close();
  }
  std::string before = test::readFile(file);

  auto run = inspect(file);
  ASSERT_EQ(run.status, 0) << run.out;
  json out = json::parse(run.out);
  EXPECT_EQ(out["documentInfo"]["suggestedTarget"], "/srv/tree");
  EXPECT_EQ(out["documentInfo"]["lastUpdated"], 785000000.5);
  EXPECT_EQ(out["documentInfo"]["numberOfFSItems"], 3000);
  EXPECT_EQ(out["documentInfo"]["lastIndexMode"], 2);
  EXPECT_EQ(out["documentInfo"]["diskKey"], "disk-1");
  EXPECT_EQ(out["lastAutoID"], 3000);
  EXPECT_EQ(out["deadIDs"], json({17, 2999}));
  EXPECT_TRUE(out["badRecords"].empty()) << out["badRecords"].dump();
  ASSERT_EQ(out["items"].size(), items.size());
  for (std::size_t i = 0; i < items.size(); ++i) {
    const json& got = out["items"][i];
    const FSItem& want = items[i];
    ASSERT_EQ(got["id"], want.fsid);
    EXPECT_EQ(got["parentID"], want.parentID);
    EXPECT_EQ(got["type"], want.isDirectory() ? "directory" : "file");
    EXPECT_EQ(got["creationDate"], want.creationDate);
    EXPECT_EQ(got["modificationDate"], want.modificationDate);
    EXPECT_EQ(got["size"], want.size);
    EXPECT_EQ(got["path"], paths[want.fsid]);
  }
  ASSERT_EQ(out["words"].size(), words.size());
  for (const json& word : out["words"]) {
    const auto& want = words.at(word["word"].get<std::string>());
    std::map<std::uint32_t, std::uint16_t> got;
    for (const json& d : word["documents"]) got[d["id"]] = d["count"];
    // Dead documents were removed when the words were written.
    auto expected = want;
    expected.erase(17);
    expected.erase(2999);
    EXPECT_EQ(got, expected) << word["word"];
  }

  auto text = inspect(file, "");
  ASSERT_EQ(text.status, 0);
  EXPECT_NE(text.out.find("Items: 3000\n"), std::string::npos);
  EXPECT_NE(text.out.find("index mode: ocrAndTextDocuments (2)"), std::string::npos);
  EXPECT_NE(text.out.find("/srv/tree/" + items[0].name), std::string::npos);
  EXPECT_EQ(test::readFile(file), before);
}

TEST(IndexInspect, DamagedFilesGetAMessageAndStayUntouched) {
  test::TempHome home;
  fs::path good = home.path() / "good.vlcache";
  {
    SimpleLMDB db;
    db.open(good);
    std::vector<ValueGroupKey> rows;
    for (int i = 1; i <= 2000; ++i) {
      FSItem item;
      item.fsid = i;
      item.name = "f" + std::to_string(i);
      rows.push_back({item.encoded(), "F", std::to_string(i)});
    }
    rows.push_back({Data{1, 2, 3}, "F", "77777"});                     // not an item
    rows.push_back({Data{9, 0, 0, 0, 1, 1}, "W", "broken"});           // IDs run past the end
    rows.push_back({dataFrom("{\"isDirty\":1}"), "D", "documentInfo"});  // wrong kinds
    db.put(rows);
  }
  std::string goodBytes = test::readFile(good);
  auto run = inspect(good);
  ASSERT_EQ(run.status, 0) << run.out;
  json out = json::parse(run.out);
  EXPECT_EQ(out["items"].size(), 2000u);
  EXPECT_TRUE(out["documentInfo"].is_null());
  EXPECT_NE(out["documentInfoError"].get<std::string>().find("lastUpdated"), std::string::npos);
  ASSERT_EQ(out["badRecords"].size(), 2u);
  EXPECT_EQ(out["badRecords"][0]["key"], "F77777");
  EXPECT_EQ(out["badRecords"][0]["value"], "010203");
  EXPECT_EQ(out["badRecords"][1]["key"], "Wbroken");
  EXPECT_EQ(test::readFile(good), goodBytes);

  struct Case {
    std::string name;
    std::string contents;
    std::string message;
  };
  std::vector<Case> cases{
      {"empty.vlcache", "", "not an index file"},
      {"text.vlcache", std::string(20000, 'x'), "not an index file (not an LMDB database)"},
      {"cut.vlcache", goodBytes.substr(0, goodBytes.size() / 3), "truncated"},
      {"short.vlcache", goodBytes.substr(0, 100), "not an index file"},
  };
  // A leaf entry that claims 2 GB of data: the library would read past the
  // end of the file and fault. Old copies of the page carry it too.
  std::string pages = goodBytes;
  std::string needle = "F1234" + std::string("\xD2\x04\x00\x00", 4);
  int patched = 0;
  for (auto at = pages.find(needle); at != std::string::npos; at = pages.find(needle, at + 1), ++patched)
    pages.replace(at - 8, 4, "\xFF\xFF\xFF\x7F");
  ASSERT_GT(patched, 0);
  cases.push_back({"pages.vlcache", pages, "is damaged"});
  for (const Case& c : cases) {
    fs::path file = home.path() / c.name;
    test::writeFile(file, c.contents);
    auto result = inspect(file);
    EXPECT_EQ(result.status, 1) << c.name << ": " << result.out;
    EXPECT_NE(result.out.find(c.message), std::string::npos) << c.name << ": " << result.out;
    EXPECT_EQ(test::readFile(file), c.contents) << c.name;
  }
  // A valid LMDB file without the index's database.
  {
    auto env = Environment::create((home.path() / "other.mdb").string(),
                                   Environment::Flags::noSubDir | Environment::Flags::noLock);
    env->openDatabase(std::nullopt, {})->put(std::string("v"), std::string("k"));
  }
  auto other = inspect(home.path() / "other.mdb");
  EXPECT_EQ(other.status, 1);
  EXPECT_NE(other.out.find("no \"SimpleLMDB\" database"), std::string::npos) << other.out;

  auto missing = inspect(home.path() / "missing.vlcache");
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.out.find("no such file"), std::string::npos);
  EXPECT_FALSE(fs::exists(home.path() / "missing.vlcache"));
  EXPECT_EQ(inspect(home.path()).status, 1);

  std::string velmora = test::shellQuote(test::programPath("velmora").string());
  EXPECT_EQ(test::runCommand(velmora + " index inspect 2>/dev/null").status, 2);
  EXPECT_EQ(test::runCommand(velmora + " index 2>/dev/null").status, 2);
}

TEST(IndexInspect, TheReaderIsAProgramStartedAfreshAndItsFailuresAreAnswers) {
  test::TempHome home;
  fs::path file = home.path() / "some.vlcache";
  test::writeFile(file, "not empty");
  // The reader is whatever program is named, started by its file: a copy of
  // this process made by fork would never run the script.
  fs::path script = home.path() / "reader";
  test::writeFile(script, "#!/bin/sh\nprintf 'error\\nanswer of %s %s %s %s %s' \"$1\" \"$2\" \"$3\" \"$4\" \"$5\"\n");
  fs::permissions(script, fs::perms::owner_all);
  auto answered = CacheInspector::inspect(file, script.string());
  ASSERT_FALSE(answered);
  EXPECT_EQ(answered.status().message(), "answer of index inspect --read-here --json " + file.string());

  // A reader killed by a signal, one that says nothing, one that can't start.
  test::writeFile(script, "#!/bin/sh\nkill -SEGV $$\n");
  auto killed = CacheInspector::inspect(file, script.string());
  ASSERT_FALSE(killed);
  EXPECT_EQ(killed.status().code(), Status::Code::corruption);
  EXPECT_NE(killed.status().message().find("is damaged"), std::string::npos) << killed.status().message();
  auto silent = CacheInspector::inspect(file, "/bin/true");
  ASSERT_FALSE(silent);
  EXPECT_NE(silent.status().message().find("without an answer"), std::string::npos);
  EXPECT_FALSE(CacheInspector::inspect(file, (home.path() / "no-such-program").string()));
}

}  // namespace
}  // namespace velmora
