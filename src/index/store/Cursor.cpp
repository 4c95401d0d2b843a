#include "index/store/Cursor.h"

#include "index/store/Database.h"
#include "index/store/LMDBError.h"

namespace velmora {

Cursor::Cursor(std::shared_ptr<const Database> database, Transaction transaction)
    : database_(std::move(database)), transaction_(std::move(transaction)) {
  LMDBError::check(mdb_cursor_open(transaction_.handle(), database_->handle(), &handle_));
}

Cursor::~Cursor() {
  if (handle_) mdb_cursor_close(handle_);
  transaction_.abort();
}

bool Cursor::step(MDB_val& key, MDB_val& value) {
  if (!handle_) return false;
  MDB_cursor_op op = first_ ? MDB_FIRST : MDB_NEXT;
  first_ = false;
  return mdb_cursor_get(handle_, &key, &value, op) == MDB_SUCCESS;
}

std::optional<std::pair<Data, Data>> Cursor::next() {
  MDB_val key{}, value{};
  if (!step(key, value)) return std::nullopt;
  auto* k = static_cast<const std::uint8_t*>(key.mv_data);
  auto* v = static_cast<const std::uint8_t*>(value.mv_data);
  return std::make_pair(Data(k, k + key.mv_size), Data(v, v + value.mv_size));
}

}  // namespace velmora
