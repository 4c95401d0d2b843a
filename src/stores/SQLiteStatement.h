#pragma once
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace velmora {

// A value bound to or read from SQL: null, integer, real, text or blob.
using SQLiteValue = std::variant<std::monostate, std::int64_t, double, std::string, std::vector<std::uint8_t>>;
using SQLiteRow = std::map<std::string, SQLiteValue>;

// Owns one prepared statement; finalized when it goes away.
class SQLiteStatement {
 public:
  SQLiteStatement() = default;
  ~SQLiteStatement();
  SQLiteStatement(SQLiteStatement&& other) noexcept;
  SQLiteStatement& operator=(SQLiteStatement&& other) noexcept;
  SQLiteStatement(const SQLiteStatement&) = delete;
  SQLiteStatement& operator=(const SQLiteStatement&) = delete;

  // Returns the SQLite result code; an empty text leaves no statement.
  int prepare(sqlite3* db, std::string_view sql);
  bool empty() const { return stmt_ == nullptr; }
  // Binds the arguments to the parameters 1, 2, ...; the first failing code.
  int bind(const std::vector<SQLiteValue>& arguments);
  int step();
  // The current row by column name.
  SQLiteRow row() const;

 private:
  void finalize();
  sqlite3_stmt* stmt_ = nullptr;
};

}  // namespace velmora
