#include "index/store/SimpleLMDB.h"

#include <mutex>

#include <sys/vfs.h>
#include <system_error>

#include "common/Logger.h"
#include "index/store/LMDBError.h"
#include "index/store/UUID.h"

namespace velmora {

namespace fs = std::filesystem;

namespace {

std::mutex launchDateMutex;
// Taken while the program starts up, which is as close to its launch as a
// library gets without being told.
std::optional<Date> launchDateValue = std::chrono::system_clock::now();

std::uintmax_t fileSize(const fs::path& file) {
  std::error_code ec;
  auto size = fs::file_size(file, ec);
  return ec ? 0 : size;
}

// Whether a file in this folder can be sized far past its contents without
// the space being taken: the native Linux file systems (and tmpfs) keep
// unwritten ranges as holes, FAT and exFAT would write them out.
bool keepsHoles(const fs::path& file) {
  struct statfs info {};
  fs::path folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
  if (::statfs(folder.c_str(), &info) != 0) return false;
  switch (static_cast<unsigned long>(info.f_type)) {
    case 0xEF53UL:      // ext2, ext3, ext4
    case 0x9123683EUL:  // btrfs
    case 0x58465342UL:  // xfs
    case 0x01021994UL:  // tmpfs
    case 0xF2F52010UL:  // f2fs
    case 0x2FC12FC1UL:  // zfs
    case 0xCA451A4EUL:  // bcachefs
      return true;
    default:
      return false;
  }
}

}  // namespace

SimpleLMDB::SimpleLMDB() {
  std::string uuid = newUUIDString();
  id_ = "LMDB " + uuid.substr(uuid.size() - 6);
}

void SimpleLMDB::openWith(const fs::path& file, Environment::Flags flags, Database::Flags dbFlags) {
  // Built aside and swapped in only when complete, so a failure leaves this
  // object as it was.
  auto environment = Environment::create(file.string(), flags, kMaxDBs, std::nullopt, kMapSize);
  if (flags.contains(Environment::Flags::readOnly)) {
    // Pages past the end of a cut-off file would be read through the memory
    // map and fault; refuse the file before any page is touched.
    std::size_t needed = environment->committedSize();
    if (fileSize(file) < needed)
      throw LMDBError(MDB_CORRUPTED, "the file is shorter than its committed pages (truncated)");
  }
  auto database = environment->openDatabase(std::string(kDatabaseName), dbFlags);
  lock_.exclusive([&] {
    database_ = std::move(database);
    environment_ = std::move(environment);
  });
}

void SimpleLMDB::open(const fs::path& file, bool /*create*/) {
  openWith(file, Environment::Flags::noLock | Environment::Flags::noSubDir, Database::Flags::create);
}

void SimpleLMDB::openForBulkWrites(const fs::path& file) {
  // Writing through the map spares a system call per dirty page at each
  // commit (a build commits once per folder); the file is then sized to the
  // whole map, as holes, until the compaction at the end writes it anew.
  auto flags = Environment::Flags::noLock | Environment::Flags::noSubDir | Environment::Flags::noSync;
  if (keepsHoles(file)) flags = flags | Environment::Flags::writeMap;
  openWith(file, flags, Database::Flags::create);
}

void SimpleLMDB::openReadOnly(const fs::path& file) {
  openWith(file, Environment::Flags::noLock | Environment::Flags::noSubDir | Environment::Flags::readOnly,
           Database::Flags{});
}

void SimpleLMDB::close() {
  std::shared_ptr<Environment> environment;
  std::shared_ptr<Database> database;
  lock_.exclusive([&] {
    database = std::move(database_);
    environment = std::move(environment_);
  });
  // The environment closes here, as its last reference goes.
}

bool SimpleLMDB::isOpen() const {
  return lock_.exclusive([&] { return database_ != nullptr; });
}

std::shared_ptr<Environment> SimpleLMDB::environment() const {
  return lock_.exclusive([&] { return environment_; });
}

std::shared_ptr<Database> SimpleLMDB::database() const {
  return lock_.exclusive([&] { return database_; });
}

std::optional<Data> SimpleLMDB::getData(std::string_view group, std::string_view key) const {
  std::string fullKey;
  fullKey.reserve(group.size() + key.size());
  fullKey.append(group).append(key);
  return lock_.exclusive([&]() -> std::optional<Data> {
    if (!database_) return std::nullopt;
    return database_->getData(asBytes(fullKey));
  });
}

void SimpleLMDB::putData(ByteView value, std::string_view group, std::string_view key, Database::PutFlags flags) {
  std::string fullKey;
  fullKey.reserve(group.size() + key.size());
  fullKey.append(group).append(key);
  lock_.exclusive([&] {
    if (database_) database_->putData(value, asBytes(fullKey), flags);
  });
}

void SimpleLMDB::put(const std::vector<ValueGroupKey>& rows, Database::PutFlags flags) {
  lock_.exclusive([&] {
    if (database_) database_->put(rows, flags);
  });
}

void SimpleLMDB::deleteValue(std::string_view group, std::string_view key) {
  std::string fullKey = std::string(group) + std::string(key);
  lock_.exclusive([&] {
    if (database_) database_->deleteValue(asBytes(fullKey));
  });
}

void SimpleLMDB::keyValuesWith(std::string_view prefix, std::size_t batchSize, const Handler& handler) const {
  std::string lastKey;
  for (;;) {
    auto batch = lock_.exclusive([&]() -> std::optional<std::vector<KeyValue>> {
      if (!database_) return std::nullopt;
      return database_->nextKeyValueBatch(lastKey, prefix, batchSize);
    });
    if (!batch) return;
    for (const auto& entry : *batch) handler(entry.key, entry.value);
  }
}

fs::path SimpleLMDB::compactTemporaryPath(const fs::path& db) {
  fs::path temporary = db;
  std::string extension = "db_tmp";
  if (auto launched = launchDate())
    extension += std::to_string(static_cast<long long>(secondsSinceReferenceDate(*launched)));
  temporary.replace_extension(extension);
  return temporary;
}

void SimpleLMDB::setLaunchDate(std::optional<Date> date) {
  std::lock_guard guard(launchDateMutex);
  launchDateValue = date;
}

std::optional<Date> SimpleLMDB::launchDate() {
  std::lock_guard guard(launchDateMutex);
  return launchDateValue;
}

void SimpleLMDB::compact(const fs::path& db) {
  fs::path temporary = compactTemporaryPath(db);
  std::error_code ignored;
  fs::remove(temporary, ignored);
  VLOG("{} compacting {}: {} bytes", id_, db.string(), fileSize(db));
  struct RemoveTemporary {
    const fs::path& path;
    ~RemoveTemporary() {
      std::error_code ec;
      fs::remove(path, ec);
    }
  } removeTemporary{temporary};

  lock_.exclusive([&] {
    if (!database_) throw LMDBError(EINVAL, "compact of a closed database");
    database_->copyCompact(temporary);
  });
  VLOG("{} compacted copy: {} bytes", id_, fileSize(temporary));
  close();
  // rename(2) replaces the file in one step; the original stays whole until
  // the copy is complete.
  std::error_code ec;
  fs::rename(temporary, db, ec);
  if (ec) VLOG("{} could not replace {}: {}", id_, db.string(), ec.message());
  open(db, false);
}

}  // namespace velmora
