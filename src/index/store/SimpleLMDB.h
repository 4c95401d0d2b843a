#pragma once
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Clock.h"
#include "common/Lock.h"
#include "index/store/Database.h"
#include "index/store/Environment.h"

namespace velmora {

// One LMDB environment with one named database in one plain file. All access
// goes through `lock`, held exactly for the library calls: the environment
// runs with MDB_NOLOCK, so nothing else keeps threads apart. A database key is
// a one-character group followed by a key.
class SimpleLMDB {
 public:
  static constexpr const char* kDatabaseName = "SimpleLMDB";
  static constexpr std::uint32_t kMaxDBs = 32;
  static constexpr std::size_t kMapSize = 8589934590;

  using Handler = std::function<void(const std::string& key, const Data& value)>;

  SimpleLMDB();
  SimpleLMDB(const SimpleLMDB&) = delete;
  SimpleLMDB& operator=(const SimpleLMDB&) = delete;

  // "LMDB " and six characters of a UUID; for log lines.
  const std::string& id() const { return id_; }

  // Opens (always creating a missing file; `create` is kept for callers'
  // sake). Throws LMDBError; on failure the object stays as it was.
  void open(const std::filesystem::path& file, bool create = true);
  // Opens an existing file without writing to it or creating anything, for
  // viewers. Rejects a file cut shorter than its committed pages.
  void openReadOnly(const std::filesystem::path& file);
  // Opens for a long run of writes whose commits need not each reach the
  // disk: a process that dies leaves every committed transaction in the
  // file (the pages are in the system's cache), only a system crash can
  // lose the latest. A build ends with a compaction, which writes a new file.
  void openForBulkWrites(const std::filesystem::path& file);
  void close();
  bool isOpen() const;

  // Absent while closed, for a missing key, or for bytes that are not a V.
  template <typename V>
  std::optional<V> get(std::string_view group, std::string_view key) const {
    auto data = getData(group, key);
    if (!data) return std::nullopt;
    return DataConvertible<V>::fromData(*data);
  }
  std::optional<Data> getData(std::string_view group, std::string_view key) const;

  // Writes nothing while closed.
  template <typename V>
  void put(const V& value, std::string_view group, std::string_view key,
           Database::PutFlags flags = {}) {
    Data bytes = DataConvertible<V>::asData(value);
    putData(bytes, group, key, flags);
  }
  void putData(ByteView value, std::string_view group, std::string_view key, Database::PutFlags flags = {});
  // Several rows in one transaction, under `lock`.
  void put(const std::vector<ValueGroupKey>& rows, Database::PutFlags flags = {});
  void deleteValue(std::string_view group, std::string_view key);

  // Hands every entry whose key begins with prefix to handler, fetching
  // batches under `lock` and never holding it while handler runs (handler
  // may call back into this object). An exception from handler ends the walk
  // and reaches the caller.
  void keyValuesWith(std::string_view prefix, std::size_t batchSize, const Handler& handler) const;

  // Rewrites `db` (the open file) without free pages: a compacting copy to a
  // temporary file beside it, then one rename over the original, then open.
  void compact(const std::filesystem::path& db);

  // The temporary file compact() writes to for `db`.
  static std::filesystem::path compactTemporaryPath(const std::filesystem::path& db);
  // When the application started; absent leaves the temporary name bare.
  static void setLaunchDate(std::optional<Date> date);
  static std::optional<Date> launchDate();

  const Lock& lock() const { return lock_; }
  std::shared_ptr<Environment> environment() const;
  std::shared_ptr<Database> database() const;

 private:
  void openWith(const std::filesystem::path& file, Environment::Flags flags, Database::Flags dbFlags);

  std::string id_;
  Lock lock_;
  std::shared_ptr<Environment> environment_;
  std::shared_ptr<Database> database_;
};

}  // namespace velmora
