#pragma once
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Clock.h"
#include "stores/DBValue.h"
#include "common/Result.h"
#include "stores/SQLiteStatement.h"

struct sqlite3;

namespace velmora {

// A thin owner of one SQLite connection, and on top of it a three-level
// store: a family holds records by key, a record holds fields by name, a
// field holds one typed value with its modification time. Not thread-safe:
// its users call it on the main queue.
class SQLite {
 public:
  static constexpr int readWriteCreate = 6;  // SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE

  SQLite();
  ~SQLite();
  SQLite(const SQLite&) = delete;
  SQLite& operator=(const SQLite&) = delete;

  // Told of every failure; the status's libraryCode() is SQLite's result code
  // and its message starts with "SQLite: ".
  std::function<void(const Status&)> errorHandler;
  bool shouldPrintSql = false;
  bool ignoreUniqueConstraintErrors = false;
  // Where printed SQL goes (standard output unless replaced).
  std::function<void(std::string_view sql)> sqlPrinter;

  Status open(const std::filesystem::path& file, int flags = readWriteCreate);
  Status openInMemory();
  void close();
  bool isOpen() const { return db_ != nullptr; }
  const std::optional<std::filesystem::path>& sqliteFile() const { return sqliteFile_; }

  // Runs the first statement of `sql` with the arguments bound to ?1, ?2, ...
  Result<std::vector<SQLiteRow>> query(std::string_view sql, const std::vector<SQLiteValue>& arguments = {});
  Status execute(std::string_view sql, const std::vector<SQLiteValue>& arguments = {});

  // begin, f, end, then the cache is flushed; a failing f rolls back.
  Status transaction(const std::function<Status()>& f);
  Status startTransaction();
  Status endTransaction();
  std::int64_t lastInsertRowid() const;

  // Lets SQLite refresh its statistics, then compacts the file.
  Status cleanup();

  // The hierarchical store.
  Status setupForHierarchicalDBValue();
  // Finds nothing, and creates nothing, for unknown names.
  std::optional<DBValue> read(DBValue::Kind kind, const std::string& field, const std::string& key,
                              const DBFamily& family);
  Status write(const DBValue& value, const std::string& field, const std::string& key,
                                   const DBFamily& family);
  // Deletes the family's fields older than `days` and their records; only
  // then compacts. Errors are logged and otherwise ignored.
  void purge(int recordsOlderThanDays, const DBFamily& family);

  // The source of "now" for lastModified (tests pin it).
  void setClock(const Clock& clock) { clock_ = &clock; }

 private:
  Status makeError(int code, std::string_view extraNote = {});
  Status fail(Status error);
  std::optional<std::int64_t> lookupID(const std::string& sql, const char* column);
  std::optional<std::int64_t> lookupOrInsert(const std::string& select, const char* column,
                                             std::string_view insert, const std::vector<SQLiteValue>& arguments,
                                             Status& error);
  std::int64_t nowSeconds() const;

  struct Closer {
    void operator()(sqlite3* db) const;
  };
  std::unique_ptr<sqlite3, Closer> db_;
  std::optional<std::filesystem::path> sqliteFile_;
  const Clock* clock_;
};

}  // namespace velmora
