#include "index/store/Transaction.h"

#include "index/store/Environment.h"
#include "index/store/LMDBError.h"

namespace velmora {

Transaction::Transaction(const Environment& environment, Transaction* parent, Flags flags) {
  if (environment.flags().contains(Environment::Flags::readOnly)) flags.insert(Flags::readOnly);
  LMDBError::check(mdb_txn_begin(environment.handle(), parent ? parent->handle() : nullptr,
                                 static_cast<unsigned>(flags.rawValue), &handle_));
}

Transaction::~Transaction() { abort(); }

Transaction& Transaction::operator=(Transaction&& other) noexcept {
  if (this != &other) {
    abort();
    handle_ = other.handle_;
    other.handle_ = nullptr;
  }
  return *this;
}

void Transaction::commit() {
  MDB_txn* h = release();
  if (h) LMDBError::check(mdb_txn_commit(h));
}

void Transaction::abort() {
  if (MDB_txn* h = release()) mdb_txn_abort(h);
}

void Transaction::run(const Environment& environment, Flags flags, const std::function<Action(Transaction&)>& body) {
  Transaction txn(environment, nullptr, flags);
  if (body(txn) == Action::commit)
    txn.commit();
  else
    txn.abort();
}

}  // namespace velmora
