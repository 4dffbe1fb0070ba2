// Transactions: the handle's own operations, the scoped guard, and the
// transaction frame of the multi-statement writes.
#include "store/StoreTransactions.h"

#include <corvconfigstore/ConfigStore.h>

#include <exception>

#include "core/Throw.h"
#include "sqlite/DBError.h"
#include "sqlite/DBStore.h"
#include "sqlite/Transaction.h"
#include "store/ConfigStoreImpl.h"

namespace CorvConfigStore {

void RunInTransaction(const std::shared_ptr<DBStore::StoreConnection>& connection,
                      const char* operation, TransactionFailure policy,
                      const std::function<void()>& work) {
  DBStore::Transaction transaction(connection, operation);
  try {
    work();
    transaction.Commit();
  } catch (const std::exception& e) {
    if (policy == TransactionFailure::kKeepStoreExceptions &&
        dynamic_cast<const ConfigStoreException*>(&e) != nullptr)
      throw;
    ThrowWrapped(policy == TransactionFailure::kWrapAllAsTransactionFailed ? "Transaction failed"
                                                                           : "Operation failed: ",
                 e);
  } catch (...) {
    // Not one of ours nor a standard failure: the thrower keeps control of
    // the connection, transaction included.
    transaction.LeaveOpen();
    throw;
  }
}

int ConfigStoreImpl::BeginTransaction() { return DBStore::BeginTransaction(connection_); }

int ConfigStoreImpl::CommitTransaction() {
  int status = DBStore::CommitTransaction(connection_);
  if (status != DBStore::kSuccess) DBStore::ThrowFailure(connection_, DBStore::kCommitFailed);
  return status;
}

int ConfigStoreImpl::CancelTransaction() {
  int status = DBStore::CancelTransaction(connection_);
  if (status == DBStore::kFailure)
    DBStore::ThrowFailure(connection_, "Failed to cancel nested transaction");
  return status;
}

ConfigStoreTransaction::ConfigStoreTransaction(std::shared_ptr<ConfigStore>& store)
    : store_(store), active_(true) {
  if (!store_) ThrowGeneral("Failed to use NULL as the store");
  if (store_->BeginTransaction() == 0) return;
  // The library's own store can tell why its database refused.
  auto* impl = dynamic_cast<ConfigStoreImpl*>(store_.get());
  DBStore::ThrowFailure(impl != nullptr ? impl->GetConnection() : nullptr,
                        "Failed to start a transaction.");
}

// A destructor may not throw: a cancel that throws here ends the process.
ConfigStoreTransaction::~ConfigStoreTransaction() {
  if (active_) store_->CancelTransaction();
}

int ConfigStoreTransaction::Commit() {
  int status = store_->CommitTransaction();
  active_ = false;
  return status;
}

int ConfigStoreTransaction::Cancel() {
  int status = store_->CancelTransaction();
  active_ = false;
  return status;
}

}  // namespace CorvConfigStore
