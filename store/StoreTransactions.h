// Running a store operation's statements inside one database transaction.
#pragma once

#include <functional>
#include <memory>

namespace DBStore {
class StoreConnection;
}

namespace CorvConfigStore {

// What becomes of a std::exception that leaves the statements. Either way
// the transaction is cancelled.
enum class TransactionFailure {
  // Every std::exception becomes ConfigStoreException 2000 "Operation
  // failed: " followed by its text, keeping a store exception's details (the
  // bulk writes, DeleteInstances).
  kWrapAll,
  // Store exceptions reach the caller unchanged; any other std::exception is
  // wrapped as above (Update, the next-boot store).
  kKeepStoreExceptions,
  // As kWrapAll, but the text is "Transaction failed" immediately followed
  // by the exception's, with no separator (UpdateKernelOptions).
  kWrapAllAsTransactionFailed,
};

// Begins a transaction (nested inside the caller's when one is open), runs
// work and commits. A begin that fails throws ConfigStoreException 2000
// "Begin Transaction failed for: <operation>"; a commit that fails throws
// "Commit transaction failed." from inside the guarded region, so it is
// handled by the failure policy like any other failure; both carry SQLite's
// reason as a detail. A std::exception leaving work cancels the transaction;
// anything else passes through unchanged and leaves the transaction open.
void RunInTransaction(const std::shared_ptr<DBStore::StoreConnection>& connection,
                      const char* operation, TransactionFailure policy,
                      const std::function<void()>& work);

}  // namespace CorvConfigStore
