#pragma once
#include <lmdb.h>

#include <memory>
#include <optional>
#include <utility>

#include "index/store/Data.h"
#include "index/store/Transaction.h"

namespace velmora {

class Database;

// Walks every key and value of a database in key order, inside a
// transaction of its own that ends with the cursor.
class Cursor {
 public:
  // Throws LMDBError when the cursor can't be opened.
  Cursor(std::shared_ptr<const Database> database, Transaction transaction);
  virtual ~Cursor();
  Cursor(const Cursor&) = delete;
  Cursor& operator=(const Cursor&) = delete;

  // The next key and value (copied), or nothing at the end or on a failure.
  std::optional<std::pair<Data, Data>> next();

  MDB_cursor* handle() const { return handle_; }
  const Database& database() const { return *database_; }
  const Transaction& transaction() const { return transaction_; }
  bool first() const { return first_; }

 protected:
  // MDB_FIRST on the first call, MDB_NEXT after; false when the library
  // reports no entry (or any failure).
  bool step(MDB_val& key, MDB_val& value);

 private:
  std::shared_ptr<const Database> database_;
  Transaction transaction_;
  MDB_cursor* handle_ = nullptr;
  bool first_ = true;
};

}  // namespace velmora
