#include "stores/SQLiteStatement.h"

#include <sqlite3.h>

#include <utility>

namespace velmora {

SQLiteStatement::~SQLiteStatement() { finalize(); }

SQLiteStatement::SQLiteStatement(SQLiteStatement&& other) noexcept : stmt_(std::exchange(other.stmt_, nullptr)) {}

SQLiteStatement& SQLiteStatement::operator=(SQLiteStatement&& other) noexcept {
  if (this != &other) {
    finalize();
    stmt_ = std::exchange(other.stmt_, nullptr);
  }
  return *this;
}

void SQLiteStatement::finalize() {
  if (stmt_) sqlite3_finalize(stmt_);
  stmt_ = nullptr;
}

int SQLiteStatement::prepare(sqlite3* db, std::string_view sql) {
  finalize();
  return sqlite3_prepare_v2(db, sql.data(), static_cast<int>(sql.size()), &stmt_, nullptr);
}

int SQLiteStatement::bind(const std::vector<SQLiteValue>& arguments) {
  if (!stmt_) return arguments.empty() ? SQLITE_OK : SQLITE_RANGE;
  int index = 1;
  for (const auto& argument : arguments) {
    int rc = std::visit(
        [&](const auto& v) -> int {
          using V = std::decay_t<decltype(v)>;
          if constexpr (std::is_same_v<V, std::monostate>)
            return sqlite3_bind_null(stmt_, index);
          else if constexpr (std::is_same_v<V, std::int64_t>)
            return sqlite3_bind_int64(stmt_, index, v);
          else if constexpr (std::is_same_v<V, double>)
            return sqlite3_bind_double(stmt_, index, v);
          else if constexpr (std::is_same_v<V, std::string>)
            return sqlite3_bind_text(stmt_, index, v.data(), static_cast<int>(v.size()), SQLITE_TRANSIENT);
          else
            return sqlite3_bind_blob(stmt_, index, v.data(), static_cast<int>(v.size()), SQLITE_TRANSIENT);
        },
        argument);
    if (rc != SQLITE_OK) return rc;
    ++index;
  }
  return SQLITE_OK;
}

int SQLiteStatement::step() { return stmt_ ? sqlite3_step(stmt_) : SQLITE_DONE; }

SQLiteRow SQLiteStatement::row() const {
  SQLiteRow out;
  int count = sqlite3_column_count(stmt_);
  for (int i = 0; i < count; ++i) {
    std::string name = sqlite3_column_name(stmt_, i);
    switch (sqlite3_column_type(stmt_, i)) {
      case SQLITE_INTEGER:
        out[name] = static_cast<std::int64_t>(sqlite3_column_int64(stmt_, i));
        break;
      case SQLITE_FLOAT:
        out[name] = sqlite3_column_double(stmt_, i);
        break;
      case SQLITE_TEXT: {
        auto text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, i));
        out[name] = std::string(text ? text : "", static_cast<std::size_t>(sqlite3_column_bytes(stmt_, i)));
        break;
      }
      case SQLITE_BLOB: {
        auto bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(stmt_, i));
        out[name] = std::vector<std::uint8_t>(bytes, bytes + sqlite3_column_bytes(stmt_, i));
        break;
      }
      default:
        out[name] = std::monostate{};
    }
  }
  return out;
}

}  // namespace velmora
