// One level of a connection's nested transactions, held for a scope: begun
// on construction and cancelled on the way out unless it was committed, so
// that every failure leaving the scope undoes the level's work.
#pragma once

#include <memory>
#include <string>

namespace DBStore {

class StoreConnection;

// The message of a refused commit.
extern const char* const kCommitFailed;  // "Commit transaction failed."

class Transaction {
 public:
  // Begins a level on connection (the transaction itself, or a savepoint
  // inside one already open). When it cannot, throws ConfigStoreException
  // 2000 "Begin Transaction failed for: <operation>" with SQLite's reason as
  // the exception's detail.
  Transaction(std::shared_ptr<StoreConnection> connection, const char* operation);
  // Cancels the level unless it was committed. A refused cancel is only
  // logged: the failure leaving the scope is what the caller must see, and a
  // destructor may not throw.
  ~Transaction();
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // Commits the level. A refused commit throws ConfigStoreException 2000
  // with SQLite's reason as its detail and leaves the level open, for the
  // destructor to cancel. The message is kCommitFailed or, when failure is
  // given, failure followed by ": " and the reason.
  void Commit(const std::string& failure = std::string());

  // Gives the level up without cancelling it: it stays open on the
  // connection, for the code that owns the exception now passing through to
  // decide its fate.
  void LeaveOpen() { committed_ = true; }

 private:
  std::shared_ptr<StoreConnection> connection_;
  std::string operation_;
  bool committed_ = false;
};

}  // namespace DBStore
