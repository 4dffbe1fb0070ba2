// Transactions: the handle's own operations, the scoped guard, and the
// transaction frame of the multi-statement writes.
#include "store/StoreTransactions.h"

#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/Logger.h>

#include <exception>
#include <string>

#include "core/Throw.h"
#include "sqlite/DBStore.h"
#include "store/ConfigStoreImpl.h"

namespace CorvConfigStore {

namespace {

// Cancelling on the way out of a failure must not replace the failure with
// one of its own, so a refused cancel is only logged.
void CancelAfterFailure(const std::shared_ptr<DBStore::StoreConnection>& connection,
                        const char* operation) {
  if (DBStore::CancelTransaction(connection) != DBStore::kSuccess)
    CSLogger::Log(0, "%s: failed to cancel the transaction", operation);
}

}  // namespace

void RunInTransaction(const std::shared_ptr<DBStore::StoreConnection>& connection,
                      const char* operation, TransactionFailure policy,
                      const std::function<void()>& work) {
  if (DBStore::BeginTransaction(connection) != DBStore::kSuccess)
    ThrowBeginTransactionFailed(operation);
  try {
    work();
    if (DBStore::CommitTransaction(connection) != DBStore::kSuccess)
      ThrowGeneral("Commit transaction failed.");
  } catch (const std::exception& e) {
    CancelAfterFailure(connection, operation);
    if (policy == TransactionFailure::kKeepStoreExceptions &&
        dynamic_cast<const ConfigStoreException*>(&e) != nullptr)
      throw;
    ThrowGeneral(std::string("Operation failed: ") + e.what());
  }
}

int ConfigStoreImpl::BeginTransaction() { return DBStore::BeginTransaction(connection_); }

int ConfigStoreImpl::CommitTransaction() {
  int status = DBStore::CommitTransaction(connection_);
  if (status != DBStore::kSuccess) ThrowGeneral("Commit transaction failed.");
  return status;
}

int ConfigStoreImpl::CancelTransaction() {
  int status = DBStore::CancelTransaction(connection_);
  if (status == DBStore::kFailure) ThrowGeneral("Failed to cancel nested transaction");
  return status;
}

ConfigStoreTransaction::ConfigStoreTransaction(std::shared_ptr<ConfigStore>& store)
    : store_(store), active_(true) {
  if (!store_) ThrowGeneral("Failed to use NULL as the store");
  if (store_->BeginTransaction() != 0) ThrowGeneral("Failed to start a transaction.");
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
