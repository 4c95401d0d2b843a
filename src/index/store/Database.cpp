#include "index/store/Database.h"

#include "common/SharedAdditions.h"
#include "index/store/LMDBError.h"

namespace velmora {

namespace {
MDB_val val(ByteView bytes) { return MDB_val{bytes.size(), const_cast<std::uint8_t*>(bytes.data())}; }
}  // namespace

Database::Database(std::shared_ptr<Environment> environment, const std::optional<std::string>& name, Flags flags)
    : environment_(std::move(environment)) {
  Transaction txn(*environment_);
  MDB_dbi dbi = 0;
  int rc = mdb_dbi_open(txn.handle(), name ? name->c_str() : nullptr, static_cast<unsigned>(flags.rawValue), &dbi);
  if (rc != MDB_SUCCESS) {
    txn.abort();
    throw LMDBError(rc);
  }
  txn.commit();
  handle_ = dbi;
}

Stats Database::stats() const {
  Transaction txn(*environment_, nullptr, Transaction::Flags::readOnly);
  MDB_stat stat{};
  int rc = mdb_stat(txn.handle(), handle_, &stat);
  if (rc != MDB_SUCCESS) throw LMDBError(rc);
  txn.commit();
  return Stats{stat.ms_psize, stat.ms_depth, stat.ms_branch_pages, stat.ms_leaf_pages, stat.ms_overflow_pages,
               stat.ms_entries};
}

std::optional<Data> Database::getData(ByteView key) const {
  Transaction txn(*environment_, nullptr, Transaction::Flags::readOnly);
  MDB_val k = val(key), v{};
  int rc = mdb_get(txn.handle(), handle_, &k, &v);
  if (rc == MDB_NOTFOUND) return std::nullopt;
  if (rc != MDB_SUCCESS) {
    txn.abort();
    throw LMDBError(rc);
  }
  auto* bytes = static_cast<const std::uint8_t*>(v.mv_data);
  Data data(bytes, bytes + v.mv_size);
  txn.commit();
  return data;
}

void Database::putData(ByteView value, ByteView key, PutFlags flags) {
  Transaction txn(*environment_);
  MDB_val k = val(key), v = val(value);
  int rc = mdb_put(txn.handle(), handle_, &k, &v, static_cast<unsigned>(flags.rawValue));
  // The transaction is committed before the put's own code is looked at, so
  // a failed put still ends its transaction through commit.
  txn.commit();
  LMDBError::check(rc);
}

void Database::put(const std::vector<Data>& values, const std::vector<Data>& keys, PutFlags flags) {
  Transaction txn(*environment_);
  std::size_t n = std::min(values.size(), keys.size());
  for (std::size_t i = 0; i < n; ++i) {
    MDB_val k = val(keys[i]), v = val(values[i]);
    int rc = mdb_put(txn.handle(), handle_, &k, &v, static_cast<unsigned>(flags.rawValue));
    if (rc != MDB_SUCCESS) {
      txn.abort();
      throw LMDBError(rc);
    }
  }
  txn.commit();
}

void Database::put(const std::vector<ValueGroupKey>& rows, PutFlags flags) {
  std::vector<Data> values, keys;
  values.reserve(rows.size());
  keys.reserve(rows.size());
  for (const auto& row : rows) {
    values.push_back(row.value);
    Data key = dataFrom(row.group);
    key.insert(key.end(), row.key.begin(), row.key.end());
    keys.push_back(std::move(key));
  }
  put(values, keys, flags);
}

void Database::deleteValue(ByteView key) {
  Transaction txn(*environment_);
  MDB_val k = val(key);
  int rc = mdb_del(txn.handle(), handle_, &k, nullptr);
  txn.commit();
  LMDBError::check(rc);
}

void Database::dropWith(int del) {
  Transaction txn(*environment_);
  int rc = mdb_drop(txn.handle(), handle_, del);
  if (rc != MDB_SUCCESS) {
    txn.abort();
    throw LMDBError(rc);
  }
  txn.commit();
}

void Database::empty() { dropWith(0); }
void Database::drop() { dropWith(1); }

void Database::copyCompact(const std::filesystem::path& destination) const {
  LMDBError::check(mdb_env_copy2(environment_->handle(), destination.c_str(), MDB_CP_COMPACT));
}

std::unique_ptr<KeyPrefixCursor> Database::keyPrefixCursor(std::string prefix) const {
  Transaction txn(*environment_, nullptr, Transaction::Flags::readOnly);
  return std::make_unique<KeyPrefixCursor>(shared_from_this(), std::move(txn), std::move(prefix));
}

std::unique_ptr<Cursor> Database::makeIterator() const {
  Transaction txn(*environment_, nullptr, Transaction::Flags::readOnly);
  return std::make_unique<Cursor>(shared_from_this(), std::move(txn));
}

std::optional<std::vector<KeyValue>> Database::nextKeyValueBatch(std::string& lastKey, std::string_view prefix,
                                                                 std::size_t batchSize) const {
  Transaction txn(*environment_, nullptr, Transaction::Flags::readOnly);
  MDB_cursor* rawCursor = nullptr;
  LMDBError::check(mdb_cursor_open(txn.handle(), handle_, &rawCursor));
  std::unique_ptr<MDB_cursor, void (*)(MDB_cursor*)> cursor(rawCursor, mdb_cursor_close);

  std::vector<KeyValue> batch;
  const bool resuming = !lastKey.empty();
  std::string start = resuming ? lastKey : std::string(prefix);
  MDB_val key = val(asBytes(start)), value{};
  int rc = mdb_cursor_get(rawCursor, &key, &value, MDB_SET_RANGE);
  while (rc == MDB_SUCCESS && batch.size() < batchSize) {
    std::string_view current(static_cast<const char*>(key.mv_data), key.mv_size);
    // The entry at lastKey went out with the batch before.
    if (resuming && current == start) {
      rc = mdb_cursor_get(rawCursor, &key, &value, MDB_NEXT);
      continue;
    }
    lastKey.assign(current);
    // Keys outside the prefix are passed over rather than ending the walk, so
    // that what is found never depends on how the groups sort.
    if (current.substr(0, prefix.size()) == prefix && SharedAdditions::isValidUTF8(current)) {
      auto* bytes = static_cast<const std::uint8_t*>(value.mv_data);
      batch.push_back(KeyValue{std::string(current), Data(bytes, bytes + value.mv_size)});
    }
    rc = mdb_cursor_get(rawCursor, &key, &value, MDB_NEXT);
  }
  // Ended through the cursor's own transaction, as the library hands it back.
  MDB_txn* owning = mdb_cursor_txn(rawCursor);
  cursor.reset();
  if (owning == txn.handle()) txn.release();
  mdb_txn_commit(owning);
  if (batch.empty()) return std::nullopt;
  return batch;
}

}  // namespace velmora
