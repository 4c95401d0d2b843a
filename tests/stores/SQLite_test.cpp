#include "stores/SQLite.h"

#include <sys/stat.h>
#include <unistd.h>

#include "StoreFixture.h"
#include "stores/BrowsingMetadata.h"
#include "support/ManualScheduler.h"

namespace velmora::test {

class SQLiteTest : public StoreFixture {
 protected:
  void SetUp() override {
    StoreFixture::SetUp();
    ASSERT_TRUE(db.open(home.path() / "test.sql").ok());
    db.setClock(clock);
    ASSERT_TRUE(db.setupForHierarchicalDBValue().ok());
  }
  std::int64_t count(const std::string& table) {
    auto result = db.query("select count(*) as n from " + table);
    return std::get<std::int64_t>(result->at(0).at("n"));
  }
  ManualClock clock{Date(std::chrono::seconds(1700000000))};
  SQLite db;
  DBFamily family{"fileSystemMetaData"};
};

TEST_F(SQLiteTest, QueryBindsArgumentsAndReportsErrors) {
  ASSERT_TRUE(db.execute("create table t (i integer, d double, s text, b blob, n text)").ok());
  ASSERT_TRUE(db.execute("insert into t values (?,?,?,?,?)",
                          {std::int64_t{7}, 2.5, std::string("it's"), std::vector<std::uint8_t>{1, 0, 2},
                           std::monostate{}}).ok());
  EXPECT_EQ(db.lastInsertRowid(), 1);
  auto result = db.query("select * from t");
  ASSERT_TRUE(result.ok());
  auto& row = result->at(0);
  EXPECT_EQ(std::get<std::int64_t>(row.at("i")), 7);
  EXPECT_EQ(std::get<double>(row.at("d")), 2.5);
  EXPECT_EQ(std::get<std::string>(row.at("s")), "it's");
  EXPECT_EQ(std::get<std::vector<std::uint8_t>>(row.at("b")).size(), 3u);
  EXPECT_TRUE(std::holds_alternative<std::monostate>(row.at("n")));

  int reported = 0;
  db.errorHandler = [&](const Status&) { ++reported; };
  auto bad = db.query("select * from missing");
  ASSERT_FALSE(bad.ok());
  EXPECT_EQ(bad.status().libraryCode(), 1);  // SQLITE_ERROR
  EXPECT_EQ(bad.status().message().rfind("SQLite: ", 0), 0u);
  EXPECT_EQ(reported, 1);

  // A failing transaction leaves nothing behind.
  Status error = db.transaction([&]() -> Status {
    db.execute("insert into t (i) values (8)").ignore();
    return db.execute("insert into nowhere values (1)");
  });
  EXPECT_FALSE(error.ok());
  EXPECT_EQ(count("t"), 1);
}

TEST_F(SQLiteTest, WriteTwiceKeepsOneRowWithTheLaterValue) {
  ASSERT_TRUE(db.write(DBValue::integer(1), "sortColumn", "/home/ann", family).ok());
  clock.advance(Seconds(60));
  ASSERT_TRUE(db.write(DBValue::integer(2), "sortColumn", "/home/ann", family).ok());
  EXPECT_EQ(count("fields"), 1);
  EXPECT_EQ(db.read(DBValue::Kind::integer, "sortColumn", "/home/ann", family), DBValue::integer(2));
  auto row = db.query("select lastModified from fields")->at(0);
  EXPECT_EQ(std::get<std::int64_t>(row.at("lastModified")), 1700000060);

  // Quotes in keys and values survive the text-built statements.
  ASSERT_TRUE(db.write(DBValue::string("Bob's"), "title", "/home/Bob's", family).ok());
  ASSERT_TRUE(db.write(DBValue::string("Bob's 2"), "title", "/home/Bob's", family).ok());
  EXPECT_EQ(db.read(DBValue::Kind::text, "title", "/home/Bob's", family), DBValue::string("Bob's 2"));

  DBRect frame{10, 20.5, 300, 400};
  ASSERT_TRUE(db.write(DBValue::rect(frame), "frame", "w", DBFamily::defaultFamily()).ok());
  EXPECT_EQ(db.read(DBValue::Kind::rect, "frame", "w", DBFamily::defaultFamily()), DBValue::rect(frame));
  ASSERT_TRUE(db.write(DBValue::real(1.25), "zoom", "w", DBFamily::defaultFamily()).ok());
  ASSERT_TRUE(db.write(DBValue::real(1.5), "zoom", "w", DBFamily::defaultFamily()).ok());
  EXPECT_EQ(db.read(DBValue::Kind::real, "zoom", "w", DBFamily::defaultFamily()), DBValue::real(1.5));
  EXPECT_TRUE(!db.write(DBValue::null(), "zoom", "w", DBFamily::defaultFamily()).ok());
}

TEST_F(SQLiteTest, TypeChangeKeepsTheOldColumn) {
  ASSERT_TRUE(db.write(DBValue::integer(42), "view", "/data", family).ok());
  ASSERT_TRUE(db.write(DBValue::string("list"), "view", "/data", family).ok());
  EXPECT_EQ(db.read(DBValue::Kind::text, "view", "/data", family), DBValue::string("list"));
  EXPECT_EQ(db.read(DBValue::Kind::integer, "view", "/data", family), DBValue::integer(42));
  EXPECT_EQ(db.read(DBValue::Kind::real, "view", "/data", family), std::nullopt);
  EXPECT_EQ(db.read(DBValue::Kind::json, "view", "/data", family), std::nullopt);
}

TEST_F(SQLiteTest, ReadOfUnknownNamesCreatesNothing) {
  EXPECT_EQ(db.read(DBValue::Kind::integer, "f", "k", DBFamily{"never"}), std::nullopt);
  EXPECT_EQ(count("families") + count("records") + count("fieldNames") + count("fields"), 0);
  ASSERT_TRUE(db.write(DBValue::integer(1), "f", "k", family).ok());
  EXPECT_EQ(db.read(DBValue::Kind::integer, "f", "other", family), std::nullopt);
  EXPECT_EQ(db.read(DBValue::Kind::integer, "g", "k", family), std::nullopt);
  EXPECT_EQ(count("records"), 1);
  EXPECT_EQ(count("fieldNames"), 1);
}

TEST_F(SQLiteTest, PurgeDeletesOnlyStaleFieldsAndVacuumsOnlyThen) {
  ASSERT_TRUE(db.write(DBValue::integer(1), "old", "/a", family).ok());
  ASSERT_TRUE(db.write(DBValue::integer(1), "kept", "/b", DBFamily{"other"}).ok());
  clock.advance(Seconds(91.0 * 86400));
  ASSERT_TRUE(db.write(DBValue::integer(2), "fresh", "/c", family).ok());

  std::vector<std::string> statements;
  db.shouldPrintSql = true;
  db.sqlPrinter = [&](std::string_view sql) { statements.emplace_back(sql); };
  db.purge(100, family);
  EXPECT_EQ(std::count(statements.begin(), statements.end(), "vacuum"), 0);
  EXPECT_EQ(count("fields"), 3);

  statements.clear();
  db.purge(90, family);
  EXPECT_EQ(std::count(statements.begin(), statements.end(), "vacuum"), 1);
  EXPECT_EQ(db.read(DBValue::Kind::integer, "old", "/a", family), std::nullopt);
  EXPECT_EQ(db.read(DBValue::Kind::integer, "fresh", "/c", family), DBValue::integer(2));
  EXPECT_EQ(db.read(DBValue::Kind::integer, "kept", "/b", DBFamily{"other"}), DBValue::integer(1));
  EXPECT_EQ(count("records"), 2);

  db.purge(1, DBFamily{"absent"});  // nothing to do, nothing fails
  EXPECT_TRUE(db.cleanup().ok());
}

TEST_F(SQLiteTest, BrowsingStoreSurvivesDamageAndReadOnlyFolders) {
  auto support = home.path() / "support";
  writeFile(support / BrowsingMetadata::oldFileName, "old");
  auto store = BrowsingMetadata::openIn(support, clock);
  ASSERT_TRUE(store->isOpen());
  EXPECT_FALSE(std::filesystem::exists(support / BrowsingMetadata::oldFileName));
  ASSERT_TRUE(store->write(DBValue::json("[]"), "default", "openWindowPaths", DBFamily{"FileBrowserWC"}).ok());
  store.reset();

  auto damaged = home.path() / "damaged";
  std::string garbage(4096, 'x');
  writeFile(damaged / BrowsingMetadata::fileName, garbage);
  auto broken = BrowsingMetadata::openIn(damaged, clock);
  EXPECT_FALSE(broken->isOpen());
  EXPECT_EQ(readFile(damaged / BrowsingMetadata::fileName), garbage);  // nothing lost
  EXPECT_NE(logText().find("is not usable"), std::string::npos);
  EXPECT_FALSE(broken->write(DBValue::integer(1), "f", "k", DBFamily{"x"}).ok());

  // A support "folder" that cannot hold files: a plain file in its place
  // (this also fails for root, whom folder permissions do not stop).
  writeFile(home.path() / "notAFolder", "x");
  auto unusable = BrowsingMetadata::openIn(home.path() / "notAFolder", clock);
  EXPECT_FALSE(unusable->isOpen());
  EXPECT_NE(logText().find("cannot open"), std::string::npos);
  EXPECT_NE(logText().find("errno is:"), std::string::npos);

  if (geteuid() == 0) return;  // root ignores folder permissions
  auto locked = home.tree("locked");
  chmod(locked.c_str(), 0555);
  EXPECT_FALSE(BrowsingMetadata::openIn(locked, clock)->isOpen());
}

}  // namespace velmora::test
