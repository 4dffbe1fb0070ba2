// The scoped transaction level and its one failure policy.
#include "sqlite/Transaction.h"

#include <corvconfigstore/Logger.h>

#include <utility>

#include "core/Throw.h"
#include "sqlite/DBError.h"
#include "sqlite/DBStore.h"

namespace DBStore {

const char* const kCommitFailed = "Commit transaction failed.";

Transaction::Transaction(std::shared_ptr<StoreConnection> connection, const char* operation)
    : connection_(std::move(connection)), operation_(operation) {
  if (BeginTransaction(connection_) != kSuccess)
    ThrowFailure(connection_, CorvConfigStore::BeginTransactionFailedMessage(operation));
}

Transaction::~Transaction() {
  if (committed_ || CancelTransaction(connection_) == kSuccess) return;
  CorvConfigStore::CSLogger::Log(0, "%s: failed to cancel the transaction: %s",
                                 operation_.c_str(), connection_->LastError().c_str());
}

void Transaction::Commit(const std::string& failure) {
  if (CommitTransaction(connection_) != kSuccess)
    ThrowFailure(connection_,
                 failure.empty() ? kCommitFailed : failure + ": " + connection_->LastError());
  committed_ = true;
}

}  // namespace DBStore
