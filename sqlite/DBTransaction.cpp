// Nested transactions: BEGIN IMMEDIATE at the outermost level, one savepoint
// per inner level.
#include <string>

#include "sqlite/DBConnectionImpl.h"

namespace DBStore {

namespace {

using Impl = ConnectionAccess::Impl;

// The savepoint opened when the depth was level (1 or more).
std::string Savepoint(int level) { return "corv_level_" + std::to_string(level); }

// SQLite ends a transaction by itself after some failures (a full disk, an
// I/O error, a conflict resolved by ROLLBACK). The levels still counted open
// then have nothing left to commit or undo.
bool TransactionLost(const Impl& impl) { return impl.depth > 0 && sqlite3_get_autocommit(impl.db); }

}  // namespace

int BeginTransaction(const std::shared_ptr<StoreConnection>& connection) {
  if (!connection) return kFailure;
  Impl& impl = ConnectionAccess::Of(*connection);
  if (TransactionLost(impl)) {
    RecordFailure(impl, "begin", "", "the enclosing transaction was rolled back");
    return kFailure;
  }
  std::string sql = impl.depth == 0 ? "BEGIN IMMEDIATE" : "SAVEPOINT " + Savepoint(impl.depth);
  if (ExecScript(impl, sql) != kSuccess) return kFailure;
  ++impl.depth;
  return kSuccess;
}

int CommitTransaction(const std::shared_ptr<StoreConnection>& connection) {
  if (!connection) return kFailure;
  Impl& impl = ConnectionAccess::Of(*connection);
  if (impl.depth == 0) {
    RecordFailure(impl, "commit", "", "no transaction is open");
    return kFailure;
  }
  if (TransactionLost(impl)) {
    --impl.depth;
    RecordFailure(impl, "commit", "", "the transaction was rolled back");
    return kFailure;
  }
  std::string sql = impl.depth == 1 ? "COMMIT" : "RELEASE SAVEPOINT " + Savepoint(impl.depth - 1);
  // A failed commit leaves the level open, so the caller can still cancel it.
  if (ExecScript(impl, sql) != kSuccess) {
    if (impl.depth == 1 && sqlite3_get_autocommit(impl.db)) DiscardFailedCommit(impl);
    return kFailure;
  }
  --impl.depth;
  return kSuccess;
}

int CancelTransaction(const std::shared_ptr<StoreConnection>& connection) {
  if (!connection) return kFailure;
  Impl& impl = ConnectionAccess::Of(*connection);
  if (impl.depth == 0) {
    RecordFailure(impl, "cancel", "", "no transaction is open");
    return kFailure;
  }
  if (TransactionLost(impl)) {
    --impl.depth;
    return kSuccess;
  }
  std::string sql;
  if (impl.depth == 1) {
    sql = "ROLLBACK";
  } else {
    // ROLLBACK TO keeps the savepoint open; releasing it ends the level.
    std::string name = Savepoint(impl.depth - 1);
    sql = "ROLLBACK TO SAVEPOINT " + name + "; RELEASE SAVEPOINT " + name;
  }
  if (ExecScript(impl, sql) != kSuccess) return kFailure;
  --impl.depth;
  return kSuccess;
}

}  // namespace DBStore
