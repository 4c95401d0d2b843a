#pragma once
#include <lmdb.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "index/store/OptionSet.h"

namespace velmora {

class Database;
struct DatabaseFlags;

// Owns one LMDB environment handle; closed when the last owner lets go.
// Databases keep their environment alive, so always hold it by shared_ptr.
class Environment : public std::enable_shared_from_this<Environment> {
 public:
  struct Flags : OptionSet<Flags> {
    using OptionSet<Flags>::OptionSet;
    static const Flags fixedMap, noSubDir, noSync, readOnly, noMetaSync, writeMap, mapAsync, noTLS,
        noLock, noReadahead, noMemoryInit;
  };

  // Library calls in this order: mdb_env_create, mdb_env_set_maxdbs,
  // mdb_env_set_maxreaders and mdb_env_set_mapsize (each only when given),
  // mdb_env_open. Throws LMDBError; nothing is left open on failure.
  static std::shared_ptr<Environment> create(const std::string& path, Flags flags,
                                             std::optional<std::uint32_t> maxDBs = std::nullopt,
                                             std::optional<std::uint32_t> maxReaders = std::nullopt,
                                             std::optional<std::size_t> mapSize = std::nullopt);
  ~Environment();
  Environment(const Environment&) = delete;
  Environment& operator=(const Environment&) = delete;

  MDB_env* handle() const { return handle_; }
  Flags flags() const { return flags_; }

  std::shared_ptr<Database> openDatabase(const std::optional<std::string>& name, DatabaseFlags flags);

  // Bytes that the last committed state needs in the file (pages up to the
  // last one used); a file shorter than this has been cut off.
  std::size_t committedSize() const;

 private:
  Environment(MDB_env* handle, Flags flags) : handle_(handle), flags_(flags) {}
  MDB_env* handle_;
  Flags flags_;
};

inline constexpr Environment::Flags Environment::Flags::fixedMap{MDB_FIXEDMAP};
inline constexpr Environment::Flags Environment::Flags::noSubDir{MDB_NOSUBDIR};
inline constexpr Environment::Flags Environment::Flags::noSync{MDB_NOSYNC};
inline constexpr Environment::Flags Environment::Flags::readOnly{MDB_RDONLY};
inline constexpr Environment::Flags Environment::Flags::noMetaSync{MDB_NOMETASYNC};
inline constexpr Environment::Flags Environment::Flags::writeMap{MDB_WRITEMAP};
inline constexpr Environment::Flags Environment::Flags::mapAsync{MDB_MAPASYNC};
inline constexpr Environment::Flags Environment::Flags::noTLS{MDB_NOTLS};
inline constexpr Environment::Flags Environment::Flags::noLock{MDB_NOLOCK};
inline constexpr Environment::Flags Environment::Flags::noReadahead{MDB_NORDAHEAD};
inline constexpr Environment::Flags Environment::Flags::noMemoryInit{MDB_NOMEMINIT};

}  // namespace velmora
