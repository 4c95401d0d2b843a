#pragma once
#include <lmdb.h>

#include <functional>

#include "index/store/OptionSet.h"

namespace velmora {

class Environment;

// An LMDB transaction; aborted on destruction unless committed or aborted
// before. Move-only.
class Transaction {
 public:
  struct Flags : OptionSet<Flags> {
    using OptionSet<Flags>::OptionSet;
    static const Flags readOnly;
  };
  // What a body run inside a transaction asks for at its end.
  enum class Action { abort, commit };

  // mdb_txn_begin. In a read-only environment the transaction is read-only
  // whatever the flags say. Throws LMDBError.
  explicit Transaction(const Environment& environment, Transaction* parent = nullptr, Flags flags = {});
  ~Transaction();
  Transaction(Transaction&& other) noexcept : handle_(other.handle_) { other.handle_ = nullptr; }
  Transaction& operator=(Transaction&& other) noexcept;
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  MDB_txn* handle() const { return handle_; }
  bool isActive() const { return handle_ != nullptr; }

  // Throws the commit's code; the handle is gone either way.
  void commit();
  void abort();
  // Gives up ownership (for a transaction ended elsewhere).
  MDB_txn* release() {
    MDB_txn* h = handle_;
    handle_ = nullptr;
    return h;
  }

  // Runs body in a new transaction and commits or aborts as it answers. An
  // exception from body aborts and propagates.
  static void run(const Environment& environment, Flags flags, const std::function<Action(Transaction&)>& body);

 private:
  MDB_txn* handle_ = nullptr;
};

inline constexpr Transaction::Flags Transaction::Flags::readOnly{MDB_RDONLY};

}  // namespace velmora
