#include "index/store/Environment.h"

#include <sys/stat.h>

#include "index/store/Database.h"
#include "index/store/LMDBError.h"

namespace velmora {

std::shared_ptr<Environment> Environment::create(const std::string& path, Flags flags,
                                                 std::optional<std::uint32_t> maxDBs,
                                                 std::optional<std::uint32_t> maxReaders,
                                                 std::optional<std::size_t> mapSize) {
  MDB_env* raw = nullptr;
  LMDBError::check(mdb_env_create(&raw));
  std::unique_ptr<MDB_env, void (*)(MDB_env*)> env(raw, mdb_env_close);
  if (maxDBs) LMDBError::check(mdb_env_set_maxdbs(raw, *maxDBs));
  if (maxReaders) LMDBError::check(mdb_env_set_maxreaders(raw, *maxReaders));
  if (mapSize) LMDBError::check(mdb_env_set_mapsize(raw, *mapSize));
  // rwxr-xr-x, or r-xr-xr-x for a read-only environment.
  mdb_mode_t mode = flags.contains(Flags::readOnly) ? 0555 : 0755;
  LMDBError::check(mdb_env_open(raw, path.c_str(), static_cast<unsigned>(flags.rawValue), mode));
  return std::shared_ptr<Environment>(new Environment(env.release(), flags));
}

Environment::~Environment() {
  if (handle_) mdb_env_close(handle_);
}

std::shared_ptr<Database> Environment::openDatabase(const std::optional<std::string>& name, DatabaseFlags flags) {
  return std::make_shared<Database>(shared_from_this(), name, flags);
}

std::size_t Environment::committedSize() const {
  MDB_envinfo info{};
  MDB_stat stat{};
  LMDBError::check(mdb_env_info(handle_, &info));
  LMDBError::check(mdb_env_stat(handle_, &stat));
  return (static_cast<std::size_t>(info.me_last_pgno) + 1) * stat.ms_psize;
}

}  // namespace velmora
