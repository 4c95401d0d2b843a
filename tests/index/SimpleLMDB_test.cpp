#include "index/store/SimpleLMDB.h"

#include <gtest/gtest.h>

#include <fmt/format.h>

#include <set>
#include <stdexcept>

#include "index/store/LMDBError.h"
#include "support/TempHome.h"

namespace velmora {
namespace {

namespace fs = std::filesystem;

TEST(DataConvertible, ValuesNeedTheirExactSize) {
  EXPECT_EQ(asData<std::uint32_t>(0x01020304), (Data{4, 3, 2, 1}));
  EXPECT_EQ(asData<std::int16_t>(-2), (Data{0xFE, 0xFF}));
  EXPECT_EQ(DataConvertible<std::uint32_t>::fromData(Data{4, 3, 2, 1}), 0x01020304u);
  EXPECT_FALSE(DataConvertible<std::uint32_t>::fromData(Data{4, 3, 2}));
  EXPECT_FALSE(DataConvertible<std::uint32_t>::fromData(Data{4, 3, 2, 1, 0}));
  EXPECT_FALSE(DataConvertible<std::int64_t>::fromData(Data{1, 0, 0, 0}));
  EXPECT_FALSE(DataConvertible<bool>::fromData(Data{1, 0}));
  EXPECT_EQ(DataConvertible<bool>::fromData(Data{1}), true);
  EXPECT_FALSE(DataConvertible<std::string>::fromData(Data{0xC3}));
  EXPECT_EQ(DataConvertible<double>::fromData(asData(2.5)), 2.5);
  EXPECT_FALSE(DataConvertible<float>::fromData(asData(2.5)));
  Date date = dateFromReferenceSeconds(785000000.25);
  EXPECT_EQ(asData(date).size(), 8u);
  EXPECT_NEAR(*DataConvertible<double>::fromData(asData(date)), 785000000.25, 1e-6);
  auto back = DataConvertible<Date>::fromData(asData(date));
  ASSERT_TRUE(back);
  EXPECT_LT(std::chrono::abs(*back - date), std::chrono::microseconds(1));
  EXPECT_FALSE(DataConvertible<Date>::fromData(asData(1.0e300)));
}

TEST(LMDBError, EveryReturnCodeHasItsCaseAndTheGapIsKept) {
  using Code = LMDBError::Code;
  EXPECT_EQ(LMDBError(-30799).code(), Code::keyExists);
  EXPECT_EQ(LMDBError(-30798).code(), Code::notFound);
  EXPECT_EQ(LMDBError(-30796).code(), Code::corrupted);
  EXPECT_EQ(LMDBError(-30780).code(), Code::badDBI);
  EXPECT_EQ(LMDBError(-30779).code(), Code::other);  // no name of its own
  EXPECT_EQ(LMDBError(-30779).returnCode(), -30779);
  EXPECT_EQ(LMDBError(1).code(), Code::operationNotPermitted);
  EXPECT_EQ(LMDBError(5).code(), Code::ioError);
  EXPECT_EQ(LMDBError(12).code(), Code::outOfMemory);
  EXPECT_EQ(LMDBError(13).code(), Code::accessViolation);
  EXPECT_EQ(LMDBError(22).code(), Code::invalidParameter);
  EXPECT_EQ(LMDBError(28).code(), Code::outOfDiskSpace);
  EXPECT_EQ(LMDBError(2).code(), Code::other);
  for (int rc = -30799; rc <= -30780; ++rc) EXPECT_NE(LMDBError(rc).code(), Code::other) << rc;
}

class SimpleLMDBTest : public ::testing::Test {
 protected:
  test::TempHome home;
  fs::path file = home.path() / "index.vlcache";
  SimpleLMDB db;
  void SetUp() override { db.open(file, true); }
};

TEST_F(SimpleLMDBTest, OneFileNoLockFileAndClosedReadsAreAbsent) {
  db.put(std::uint32_t{41}, "F", "private.lastAutoID");
  EXPECT_EQ(db.get<std::uint32_t>("F", "private.lastAutoID"), 41u);
  EXPECT_FALSE(db.get<std::uint16_t>("F", "private.lastAutoID"));  // wrong width
  EXPECT_FALSE(db.get<std::uint32_t>("F", "missing"));
  EXPECT_EQ(db.id().rfind("LMDB ", 0), 0u);
  EXPECT_EQ(db.id().size(), 11u);
  // Only the index file itself: no lock file, no folder.
  std::set<std::string> names;
  for (auto& entry : fs::directory_iterator(home.path())) names.insert(entry.path().filename());
  EXPECT_EQ(names, std::set<std::string>{"index.vlcache"});
  EXPECT_TRUE(fs::is_regular_file(file));
  db.close();
  EXPECT_FALSE(db.get<std::uint32_t>("F", "private.lastAutoID"));
  db.open(file, false);
  EXPECT_EQ(db.get<std::uint32_t>("F", "private.lastAutoID"), 41u);
}

TEST_F(SimpleLMDBTest, PrefixWalkDeliversEachEntryOnceAcrossBatches) {
  // Keys of other groups sort before, between and after the "F" keys, and
  // the batch boundary (2,500) falls inside the run of "F" keys.
  std::vector<ValueGroupKey> rows;
  for (int i = 0; i < 5003; ++i) rows.push_back({asData<std::int32_t>(i), "F", std::to_string(i)});
  rows.push_back({Data{1}, "E", "before"});
  rows.push_back({Data{2}, "G", "after"});
  rows.push_back({Data{3}, "F", ""});
  db.put(rows);
  db.putData(Data{4}, "F", "\xFF\xFE");  // not UTF-8: passed over

  std::multiset<std::string> seen;
  int calls = 0;
  db.keyValuesWith("F", 2500, [&](const std::string& key, const Data& value) {
    ++calls;
    seen.insert(key);
    if (key.size() > 1) {
      EXPECT_EQ(DataConvertible<std::int32_t>::fromData(value), std::stoi(key.substr(1)));
    }
    // The lock is free while the handler runs.
    if (calls == 2500) {
      EXPECT_TRUE(db.get<Data>("G", "after"));
    }
  });
  EXPECT_EQ(calls, 5004);
  EXPECT_EQ(seen.size(), 5004u);
  for (int i : {0, 2499, 2500, 2501, 5002}) EXPECT_EQ(seen.count("F" + std::to_string(i)), 1u) << i;
  EXPECT_EQ(seen.count("F"), 1u);

  // Batches of 1 take the same path.
  calls = 0;
  db.keyValuesWith("E", 1, [&](const std::string& key, const Data&) {
    ++calls;
    EXPECT_EQ(key, "Ebefore");
  });
  EXPECT_EQ(calls, 1);
  calls = 0;
  db.keyValuesWith("Z", 2500, [&](const std::string&, const Data&) { ++calls; });
  EXPECT_EQ(calls, 0);

  // A handler that throws ends the walk; the error reaches the caller.
  calls = 0;
  EXPECT_THROW(db.keyValuesWith("F", 2500,
                                [&](const std::string&, const Data&) {
                                  if (++calls == 3) throw std::runtime_error("stop");
                                }),
               std::runtime_error);
  EXPECT_EQ(calls, 3);
}

TEST_F(SimpleLMDBTest, FailedPutsSurfaceTheirCodeAndBatchesAreAllOrNothing) {
  auto database = db.database();
  database->put(std::string("first"), std::string("Kone"));
  // The single put commits, then throws the put's code; the store stays usable.
  try {
    database->put(std::string("second"), std::string("Kone"), Database::PutFlags::noOverwrite);
    FAIL() << "expected keyExists";
  } catch (const LMDBError& e) {
    EXPECT_EQ(e.code(), LMDBError::Code::keyExists);
  }
  EXPECT_EQ(database->get<std::string>(std::string("Kone")), "first");
  database->put(std::string("third"), std::string("Ktwo"));
  EXPECT_EQ(database->get<std::string>(std::string("Ktwo")), "third");

  // The third row fails: none of the batch is written.
  std::vector<ValueGroupKey> rows{{dataFrom("a"), "B", "1"}, {dataFrom("b"), "B", "2"}, {dataFrom("c"), "K", "one"}};
  EXPECT_THROW(database->put(rows, Database::PutFlags::noOverwrite), LMDBError);
  EXPECT_FALSE(db.get<Data>("B", "1"));
  EXPECT_FALSE(db.get<Data>("B", "2"));
  EXPECT_EQ(db.get<std::string>("K", "one"), "first");

  // A key longer than the library allows fails in a single put, too.
  EXPECT_THROW(db.putData(Data{1}, "W", std::string(600, 'x')), LMDBError);
  EXPECT_EQ(database->count(), 2u);

  database->deleteValue(std::string("Ktwo"));
  EXPECT_FALSE(database->exists(std::string("Ktwo")));
  EXPECT_THROW(database->deleteValue(std::string("Ktwo")), LMDBError);
  database->empty();
  EXPECT_EQ(database->count(), 0u);
}

TEST_F(SimpleLMDBTest, CursorsWalkFromTheFirstKey) {
  db.put(std::vector<ValueGroupKey>{{Data{1}, "A", "x"}, {Data{2}, "W", "cat"}, {Data{3}, "W", "dog"}, {Data{4}, "X", ""}});
  auto cursor = db.database()->keyPrefixCursor("W");
  EXPECT_EQ(cursor->next(), "Wcat");
  EXPECT_EQ(cursor->next(), "Wdog");
  EXPECT_EQ(cursor->next(), std::nullopt);
  auto all = db.database()->makeIterator();
  int n = 0;
  while (auto entry = all->next()) ++n;
  EXPECT_EQ(n, 4);
  EXPECT_EQ(db.database()->underestimatedCount(), 4u);
}

TEST_F(SimpleLMDBTest, CompactKeepsEveryEntryAndShrinksTheFile) {
  std::vector<ValueGroupKey> rows;
  for (int i = 0; i < 20000; ++i) rows.push_back({Data(40, static_cast<std::uint8_t>(i)), "F", std::to_string(i)});
  db.put(rows);
  {
    // One transaction for all the deletes (each commit is a sync).
    auto database = db.database();
    Transaction txn(*database->environment());
    for (int i = 0; i < 20000; ++i) {
      if (i % 4 == 0) continue;
      std::string key = "F" + std::to_string(i);
      MDB_val k{key.size(), key.data()};
      ASSERT_EQ(mdb_del(txn.handle(), database->handle(), &k, nullptr), 0);
    }
    txn.commit();
  }
  auto before = fs::file_size(file);

  SimpleLMDB::setLaunchDate(dateFromReferenceSeconds(785000000.7));
  EXPECT_EQ(SimpleLMDB::compactTemporaryPath(file), home.path() / "index.db_tmp785000000");
  db.compact(file);
  SimpleLMDB::setLaunchDate(std::nullopt);
  EXPECT_EQ(SimpleLMDB::compactTemporaryPath(file), home.path() / "index.db_tmp");

  EXPECT_LT(fs::file_size(file), before / 2);
  EXPECT_TRUE(db.isOpen());
  EXPECT_EQ(db.database()->count(), 5000u);
  for (int i = 0; i < 20000; i += 4)
    EXPECT_EQ(db.get<Data>("F", std::to_string(i)), Data(40, static_cast<std::uint8_t>(i))) << i;
  std::size_t files = 0;
  for ([[maybe_unused]] auto& entry : fs::directory_iterator(home.path())) ++files;
  EXPECT_EQ(files, 1u);
}

TEST_F(SimpleLMDBTest, ReadOnlyOpenRefusesDamagedFilesAndWritesNothing) {
  std::vector<ValueGroupKey> rows;
  for (int i = 0; i < 3000; ++i) rows.push_back({Data(30, 7), "F", std::to_string(i)});
  db.put(rows);
  db.close();
  auto size = fs::file_size(file);

  SimpleLMDB reader;
  reader.openReadOnly(file);
  EXPECT_EQ(reader.database()->count(), 3000u);
  EXPECT_THROW(reader.putData(Data{1}, "F", "x"), LMDBError);
  reader.close();
  EXPECT_EQ(fs::file_size(file), size);

  fs::path cut = home.path() / "cut.vlcache";
  fs::copy_file(file, cut);
  fs::resize_file(cut, size / 2);
  try {
    reader.openReadOnly(cut);
    FAIL() << "a truncated file opened";
  } catch (const LMDBError& e) {
    EXPECT_EQ(e.code(), LMDBError::Code::corrupted);
  }
  EXPECT_FALSE(reader.isOpen());

  fs::path text = home.path() / "notes.vlcache";
  test::writeFile(text, std::string(10000, 'x'));
  try {
    reader.openReadOnly(text);
    FAIL() << "a text file opened";
  } catch (const LMDBError& e) {
    EXPECT_EQ(e.code(), LMDBError::Code::invalid);
  }
  EXPECT_THROW(reader.openReadOnly(home.path() / "missing.vlcache"), LMDBError);
  EXPECT_FALSE(fs::exists(home.path() / "missing.vlcache"));
}

}  // namespace
}  // namespace velmora
