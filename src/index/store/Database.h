#pragma once
#include <lmdb.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "index/store/Cursor.h"
#include "index/store/DataConvertible.h"
#include "index/store/Environment.h"
#include "index/store/KeyPrefixCursor.h"
#include "index/store/OptionSet.h"
#include "index/store/Stats.h"
#include "index/store/ValueGroupKey.h"

namespace velmora {

struct DatabaseFlags : OptionSet<DatabaseFlags> {
  using OptionSet<DatabaseFlags>::OptionSet;
  static const DatabaseFlags reverseKey, duplicateSort, integerKey, duplicateFixed, integerDuplicate,
      reverseDuplicate, create;
};
inline constexpr DatabaseFlags DatabaseFlags::reverseKey{MDB_REVERSEKEY};
inline constexpr DatabaseFlags DatabaseFlags::duplicateSort{MDB_DUPSORT};
inline constexpr DatabaseFlags DatabaseFlags::integerKey{MDB_INTEGERKEY};
inline constexpr DatabaseFlags DatabaseFlags::duplicateFixed{MDB_DUPFIXED};
inline constexpr DatabaseFlags DatabaseFlags::integerDuplicate{MDB_INTEGERDUP};
inline constexpr DatabaseFlags DatabaseFlags::reverseDuplicate{MDB_REVERSEDUP};
inline constexpr DatabaseFlags DatabaseFlags::create{MDB_CREATE};

struct DatabasePutFlags : OptionSet<DatabasePutFlags> {
  using OptionSet<DatabasePutFlags>::OptionSet;
  static const DatabasePutFlags noDuplicateData, noOverwrite, reserve, append, appendDuplicate;
};
inline constexpr DatabasePutFlags DatabasePutFlags::noDuplicateData{MDB_NODUPDATA};
inline constexpr DatabasePutFlags DatabasePutFlags::noOverwrite{MDB_NOOVERWRITE};
inline constexpr DatabasePutFlags DatabasePutFlags::reserve{MDB_RESERVE};
inline constexpr DatabasePutFlags DatabasePutFlags::append{MDB_APPEND};
inline constexpr DatabasePutFlags DatabasePutFlags::appendDuplicate{MDB_APPENDDUP};

// One entry of a batch walk: the whole key as text and a copy of the value.
struct KeyValue {
  std::string key;
  Data value;
};

// One named database of an environment. Each operation runs in a transaction
// of its own and throws LMDBError on a library failure. The handle stays
// valid while the environment lives, which this object keeps alive.
class Database : public std::enable_shared_from_this<Database> {
 public:
  using Flags = DatabaseFlags;
  using PutFlags = DatabasePutFlags;

  // mdb_txn_begin, mdb_dbi_open, mdb_txn_commit; on failure the transaction
  // is aborted and the error thrown.
  Database(std::shared_ptr<Environment> environment, const std::optional<std::string>& name, Flags flags);

  MDB_dbi handle() const { return handle_; }
  const std::shared_ptr<Environment>& environment() const { return environment_; }

  std::size_t count() const { return stats().entries; }
  std::size_t underestimatedCount() const { return count(); }
  Stats stats() const;

  // Absent when the key is missing; other failures throw.
  std::optional<Data> getData(ByteView key) const;
  template <typename V, typename K>
  std::optional<V> get(const K& key) const {
    auto data = getData(keyBytes(key));
    if (!data) return std::nullopt;
    return DataConvertible<V>::fromData(*data);
  }
  template <typename K>
  bool exists(const K& key) const {
    return getData(keyBytes(key)).has_value();
  }

  // One write transaction of its own, committed whatever mdb_put answered;
  // only then is the put's code examined and thrown.
  void putData(ByteView value, ByteView key, PutFlags flags = {});
  template <typename V, typename K>
  void put(const V& value, const K& key, PutFlags flags = {}) {
    Data bytes = DataConvertible<V>::asData(value);
    putData(bytes, keyBytes(key), flags);
  }
  // All pairs in one write transaction; the first failure aborts it (no row
  // is written) and throws.
  void put(const std::vector<Data>& values, const std::vector<Data>& keys, PutFlags flags = {});
  void put(const std::vector<ValueGroupKey>& rows, PutFlags flags = {});

  // Same commit-then-examine order as the single put.
  void deleteValue(ByteView key);
  template <typename K>
  void deleteValue(const K& key) {
    deleteValue(keyBytes(key));
  }

  void empty();  // removes every entry, keeps the database
  void drop();   // deletes the database
  // A compacting copy of the whole environment to destination.
  void copyCompact(const std::filesystem::path& destination) const;

  std::unique_ptr<KeyPrefixCursor> keyPrefixCursor(std::string prefix) const;
  std::unique_ptr<Cursor> makeIterator() const;

  // The next batch of entries whose keys begin with prefix, after lastKey
  // (empty at the start; updated in place). Absent when the batch is empty.
  std::optional<std::vector<KeyValue>> nextKeyValueBatch(std::string& lastKey, std::string_view prefix,
                                                         std::size_t batchSize) const;

 private:
  static ByteView keyBytes(ByteView key) { return key; }
  static ByteView keyBytes(const Data& key) { return key; }
  static ByteView keyBytes(std::string_view key) { return asBytes(key); }
  static ByteView keyBytes(const std::string& key) { return asBytes(key); }
  static ByteView keyBytes(const char* key) { return asBytes(key); }
  void dropWith(int del);

  std::shared_ptr<Environment> environment_;
  MDB_dbi handle_ = 0;
};

}  // namespace velmora
