#include "stores/SQLite.h"

#include <sqlite3.h>

#include <cerrno>
#include <cstdio>
#include <set>

#include "common/Logger.h"

namespace velmora {

namespace {
// SQLite's result code as one of ours, the code itself kept beside it.
Status statusFor(int rc, std::string message) {
  Status::Code code = Status::Code::ioError;
  switch (rc & 0xff) {
    case SQLITE_CONSTRAINT: code = Status::Code::invalidArgument; break;
    case SQLITE_BUSY:
    case SQLITE_LOCKED: code = Status::Code::busy; break;
    case SQLITE_CORRUPT:
    case SQLITE_NOTADB: code = Status::Code::corruption; break;
    case SQLITE_PERM:
    case SQLITE_READONLY:
    case SQLITE_AUTH: code = Status::Code::permissionDenied; break;
    case SQLITE_FULL: code = Status::Code::noSpace; break;
    case SQLITE_CANTOPEN: code = Status::Code::notFound; break;
    case SQLITE_MISUSE: code = Status::Code::internal; break;
    default: break;
  }
  return {code, std::move(message), rc};
}
}  // namespace

namespace {
// Names and keys are written into the lookups as SQL text; doubling quotes
// keeps a folder called "Bob's" from breaking the statement.
std::string literal(std::string_view text) {
  std::string out = "'";
  for (char c : text) {
    if (c == '\'') out += '\'';
    out += c;
  }
  return out + "'";
}

std::optional<std::int64_t> integerIn(const SQLiteRow& row, const std::string& column) {
  auto it = row.find(column);
  if (it == row.end()) return std::nullopt;
  if (auto v = std::get_if<std::int64_t>(&it->second)) return *v;
  if (auto v = std::get_if<double>(&it->second)) return static_cast<std::int64_t>(*v);
  return std::nullopt;
}
}  // namespace

void SQLite::Closer::operator()(sqlite3* db) const { sqlite3_close(db); }

SQLite::SQLite()
    : sqlPrinter([](std::string_view sql) { std::printf("%.*s\n", static_cast<int>(sql.size()), sql.data()); }),
      clock_(&Clock::system()) {}

SQLite::~SQLite() = default;

Status SQLite::open(const std::filesystem::path& file, int flags) {
  close();
  sqlite3* raw = nullptr;
  int rc = sqlite3_open_v2(file.c_str(), &raw, flags, nullptr);
  if (rc != SQLITE_OK) {
    int savedErrno = errno;
    std::string message = raw ? sqlite3_errmsg(raw) : sqlite3_errstr(rc);
    if (raw) sqlite3_close(raw);
    Status error = statusFor(rc, "SQLite: " + message + " Path: " + file.string() + " errno is:" + std::to_string(savedErrno));
    if (errorHandler) errorHandler(error);
    return error;
  }
  db_.reset(raw);
  sqliteFile_ = file;
  return {};
}

Status SQLite::openInMemory() {
  return open("file::memory:?cache=shared", readWriteCreate | SQLITE_OPEN_URI);
}

void SQLite::close() {
  db_.reset();
  sqliteFile_.reset();
}

Status SQLite::makeError(int code, std::string_view extraNote) {
  const char* message = db_ ? sqlite3_errmsg(db_.get()) : nullptr;
  std::string text = message ? message : "Unknown error. Couldn't get error from sqlite.";
  return statusFor(code, "SQLite: " + text + std::string(extraNote));
}

Status SQLite::fail(Status error) {
  if (errorHandler) errorHandler(error);
  return error;
}

Result<std::vector<SQLiteRow>> SQLite::query(std::string_view sql, const std::vector<SQLiteValue>& arguments) {
  if (shouldPrintSql && sqlPrinter) sqlPrinter(sql);
  if (!db_) return fail(statusFor(SQLITE_MISUSE, "SQLite: the database is not open"));
  SQLiteStatement statement;
  if (int rc = statement.prepare(db_.get(), sql); rc != SQLITE_OK)
    return fail(makeError(rc, " (" + std::string(sql) + ")"));
  if (int rc = statement.bind(arguments); rc != SQLITE_OK) return fail(makeError(rc));
  std::vector<SQLiteRow> result;
  int rc;
  while ((rc = statement.step()) == SQLITE_ROW) result.push_back(statement.row());
  if (rc != SQLITE_DONE) {
    if (rc == SQLITE_CONSTRAINT && ignoreUniqueConstraintErrors) return result;
    return fail(makeError(rc));
  }
  return result;
}

Status SQLite::execute(std::string_view sql, const std::vector<SQLiteValue>& arguments) {
  return query(sql, arguments).status();
}

Status SQLite::startTransaction() { return execute("begin transaction"); }

Status SQLite::endTransaction() {
  auto error = execute("end transaction");
  if (db_) sqlite3_db_cacheflush(db_.get());
  return error;
}

Status SQLite::transaction(const std::function<Status()>& f) {
  if (Status error = startTransaction(); !error.ok()) return error;
  if (Status error = f(); !error.ok()) {
    execute("rollback transaction").ignore();  // the first failure is the one to report
    return error;
  }
  return endTransaction();
}

std::int64_t SQLite::lastInsertRowid() const { return db_ ? sqlite3_last_insert_rowid(db_.get()) : 0; }

Status SQLite::cleanup() {
  for (const char* sql : {"PRAGMA analysis_limit=400;", "PRAGMA optimize;", "vacuum"})
    if (Status error = execute(sql); !error.ok()) return error;
  return {};
}

Status SQLite::setupForHierarchicalDBValue() {
  static const char* const schema[] = {
      "create table if not exists families (familyID integer primary key, name text)",
      "create unique index if not exists uniqueFamilysNameIndex on families (name)",
      "create table if not exists records (recordID integer primary key, key text, parentFamilyID integer)",
      "create unique index if not exists uniqueKeyFamilyIndex on records (key,parentFamilyID)",
      "create table if not exists fieldNames (fieldNameID integer primary key, name text )",
      "create unique index if not exists uniqueFieldNameIndex on fieldNames (name)",
      "create table if not exists fields (fieldID integer primary key, parentRecordID integer, fieldNameID "
      "integer, lastModified integer, valueInt integer, valueString text, NSStringFromRect text, JSON text, "
      "valueDouble double )",
      "create unique index if not exists uniqueParentRecordIDNameIndex on fields (parentRecordID,fieldNameID)",
  };
  for (const char* sql : schema)
    if (Status error = execute(sql); !error.ok()) return error;
  return {};
}

std::int64_t SQLite::nowSeconds() const {
  return std::chrono::duration_cast<std::chrono::seconds>(clock_->now().time_since_epoch()).count();
}

std::optional<std::int64_t> SQLite::lookupID(const std::string& sql, const char* column) {
  auto result = query(sql);
  if (!result.ok() || result->empty()) return std::nullopt;
  return integerIn(result->front(), column);
}

std::optional<std::int64_t> SQLite::lookupOrInsert(const std::string& select, const char* column,
                                                   std::string_view insert,
                                                   const std::vector<SQLiteValue>& arguments,
                                                   Status& error) {
  if (auto id = lookupID(select, column)) return id;
  if (error = execute(insert, arguments); !error.ok()) return std::nullopt;
  return lookupID(select, column);
}

Status SQLite::write(const DBValue& value, const std::string& field, const std::string& key,
                                         const DBFamily& family) {
  std::int64_t now = nowSeconds();
  Status error;
  auto fieldNameID =
      lookupOrInsert("select fieldNameID from fieldNames where name is " + literal(field), "fieldNameID",
                     "insert into fieldNames (name) values (?)", {field}, error);
  if (!fieldNameID) return !error.ok() ? error : makeError(SQLITE_ERROR, " (no field name id)");
  auto familyID = lookupOrInsert("select familyID from families where name is " + literal(family.name),
                                 "familyID", "insert into families (name) values (?)", {family.name}, error);
  if (!familyID) return !error.ok() ? error : makeError(SQLITE_ERROR, " (no family id)");
  auto recordID = lookupOrInsert("select recordID from records where key is " + literal(key) +
                                     " and parentFamilyID is '" + std::to_string(*familyID) + "'",
                                 "recordID", "insert into records (key,parentFamilyID) values (?,?)",
                                 {key, *familyID}, error);
  if (!recordID) return !error.ok() ? error : makeError(SQLITE_ERROR, " (no record id)");

  const char* column = DBValue::columnName(value.kind());
  SQLiteValue bound;
  if (auto v = value.asInteger())
    bound = *v;
  else if (auto d = value.asReal())
    bound = *d;
  else if (auto t = value.asText())
    bound = *t;
  else if (auto r = value.asRect())
    bound = r->toString();
  auto inserted = execute(std::string("insert into fields (parentRecordID,fieldNameID,lastModified,") + column +
                              ") values (?,?,?,?)",
                          {*recordID, *fieldNameID, now, bound});
  if (inserted.ok()) return {};
  if ((inserted.libraryCode() & 0xff) != SQLITE_CONSTRAINT) return inserted;
  // The field exists already: overwrite its value and time.
  return execute(std::string("update fields set ") + column + " = " + value.sqlLiteral() + ", lastModified = '" +
                 std::to_string(now) + "' where parentRecordID is '" + std::to_string(*recordID) +
                 "' and fieldNameID is '" + std::to_string(*fieldNameID) + "'");
}

std::optional<DBValue> SQLite::read(DBValue::Kind kind, const std::string& field, const std::string& key,
                                    const DBFamily& family) {
  auto fieldNameID = lookupID("select fieldNameID from fieldNames where name is " + literal(field), "fieldNameID");
  if (!fieldNameID) return std::nullopt;
  auto familyID = lookupID("select familyID from families where name is " + literal(family.name), "familyID");
  if (!familyID) return std::nullopt;
  auto recordID = lookupID("select recordID from records where key is " + literal(key) +
                               " and parentFamilyID is '" + std::to_string(*familyID) + "'",
                           "recordID");
  if (!recordID) return std::nullopt;
  auto result = query("select * from fields where parentRecordID = " + std::to_string(*recordID) +
                      " and fieldNameID = '" + std::to_string(*fieldNameID) + "'");
  if (!result.ok() || result->empty()) return std::nullopt;
  const SQLiteRow& row = result->front();
  auto it = row.find(DBValue::columnName(kind));
  if (it == row.end()) return std::nullopt;
  const SQLiteValue& cell = it->second;
  switch (kind) {
    case DBValue::Kind::integer:
      if (auto v = std::get_if<std::int64_t>(&cell)) return DBValue::integer(*v);
      break;
    case DBValue::Kind::real:
      if (auto v = std::get_if<double>(&cell)) return DBValue::real(*v);
      if (auto v = std::get_if<std::int64_t>(&cell)) return DBValue::real(static_cast<double>(*v));
      break;
    case DBValue::Kind::text:
      if (auto v = std::get_if<std::string>(&cell)) return DBValue::string(*v);
      break;
    case DBValue::Kind::json:
      if (auto v = std::get_if<std::string>(&cell)) return DBValue::json(*v);
      break;
    case DBValue::Kind::rect:
      if (auto v = std::get_if<std::string>(&cell))
        if (auto rect = DBRect::fromString(*v)) return DBValue::rect(*rect);
      break;
    case DBValue::Kind::null:
      break;
  }
  return std::nullopt;
}

void SQLite::purge(int recordsOlderThanDays, const DBFamily& family) {
  auto familyRows = query("select * from families where name is " + literal(family.name));
  if (!familyRows.ok() || familyRows->empty()) return;
  auto familyID = integerIn(familyRows->front(), "familyID");
  if (!familyID) return;
  auto recordRows = query("select * from records where parentFamilyID is '" + std::to_string(*familyID) + "'");
  if (!recordRows.ok()) return;
  std::set<std::int64_t> records;
  for (const auto& row : *recordRows)
    if (auto id = integerIn(row, "recordID")) records.insert(*id);
  auto fieldRows = query("select fieldID,parentRecordID,lastModified from fields");
  if (!fieldRows.ok()) return;

  std::int64_t now = nowSeconds();
  std::int64_t limit = static_cast<std::int64_t>(recordsOlderThanDays) * 86400;
  std::vector<std::int64_t> staleFields;
  std::set<std::int64_t> staleRecords;
  for (const auto& row : *fieldRows) {
    auto fieldID = integerIn(row, "fieldID");
    auto parent = integerIn(row, "parentRecordID");
    auto modified = integerIn(row, "lastModified");
    if (!fieldID || !parent || !records.count(*parent)) continue;
    if (now - modified.value_or(0) > limit) {
      staleFields.push_back(*fieldID);
      staleRecords.insert(*parent);
    }
  }
  if (staleFields.empty()) return;

  Status error = transaction([&]() -> Status {
    for (auto id : staleFields)
      if (Status e = execute("delete from fields where fieldID is '" + std::to_string(id) + "'"); !e.ok()) return e;
    for (auto id : staleRecords)
      if (Status e = execute("delete from records where recordID is '" + std::to_string(id) + "'"); !e.ok()) return e;
    return {};
  });
  if (error.ok()) error = execute("vacuum");
  if (error.ok()) error = execute("analyze");
  if (!error.ok()) VLOG("purge of {} stopped: {}", family.name, error.message());
}

}  // namespace velmora
