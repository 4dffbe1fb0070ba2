// Nested transactions and two connections contending for the write lock.
#include <atomic>
#include <chrono>
#include <thread>

#include "DBTestUtil.h"

namespace {

using DBStore::SqlParam;
using DBStore::SqlStatement;

class DBTransaction : public CorvTest::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    connection_ = DBStore::GetConnection(DBStore::CONFIG_STORE);
    ASSERT_NE(nullptr, connection_);
  }

  int Write(const std::shared_ptr<DBStore::StoreConnection>& connection, const std::string& key,
            int timeLimit = DBStore::kDefaultTimeLimit) {
    static const SqlStatement kInsert("INSERT INTO KeyValue (Key, Value) VALUES (?, 'v')");
    return DBStore::ExecuteStmt(connection, kInsert, {SqlParam::Text(key)}, nullptr, timeLimit);
  }

  // Keys present, as seen by a connection of its own.
  std::string Keys() {
    return CorvTest::RawQuery(store_,
                              "SELECT coalesce(group_concat(Key, ','), '') FROM "
                              "(SELECT Key FROM KeyValue ORDER BY Key)");
  }

  std::shared_ptr<DBStore::StoreConnection> connection_;
};

TEST_F(DBTransaction, CommitOrCancelWithNoneOpenReturnsOne) {
  EXPECT_EQ(DBStore::kFailure, DBStore::CommitTransaction(connection_));
  EXPECT_EQ(DBStore::kFailure, DBStore::CancelTransaction(connection_));
  EXPECT_EQ("no transaction is open", connection_->LastError());
  std::shared_ptr<DBStore::StoreConnection> none;
  EXPECT_EQ(DBStore::kFailure, DBStore::BeginTransaction(none));
  EXPECT_EQ(DBStore::kFailure, DBStore::CommitTransaction(none));
  EXPECT_EQ(DBStore::kFailure, DBStore::CancelTransaction(none));
}

TEST_F(DBTransaction, CommitMakesWorkVisible) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  EXPECT_EQ(1, connection_->TransactionDepth());
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "a"));
  EXPECT_EQ("", Keys());
  ASSERT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("a", Keys());
  EXPECT_EQ(DBStore::kFailure, DBStore::CommitTransaction(connection_));
}

TEST_F(DBTransaction, CancelUndoesWork) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "a"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(connection_));
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("", Keys());
}

TEST_F(DBTransaction, InnerCommitDoesNotEndTheOuterTransaction) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "outer"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  EXPECT_EQ(2, connection_->TransactionDepth());
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "inner"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
  EXPECT_EQ(1, connection_->TransactionDepth());
  EXPECT_EQ("", Keys());
  ASSERT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
  EXPECT_EQ("inner,outer", Keys());
}

TEST_F(DBTransaction, InnerCancelKeepsOuterWork) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "outer"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "inner"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(connection_));
  EXPECT_EQ(1, connection_->TransactionDepth());
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "after"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
  EXPECT_EQ("after,outer", Keys());
}

TEST_F(DBTransaction, OuterCancelUndoesCommittedInnerWork) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "outer"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "inner"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, Write(connection_, "innermost"));
  EXPECT_EQ(3, connection_->TransactionDepth());
  ASSERT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
  ASSERT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(connection_));
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("", Keys());
  EXPECT_EQ(DBStore::kFailure, DBStore::CancelTransaction(connection_));
}

TEST_F(DBTransaction, LevelsCanBeOpenedAgainAfterClosing) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  for (const char* key : {"x", "y"}) {
    ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
    ASSERT_EQ(DBStore::kSuccess, Write(connection_, key));
    ASSERT_EQ(DBStore::kSuccess, std::string(key) == "x" ? DBStore::CancelTransaction(connection_)
                                                         : DBStore::CommitTransaction(connection_));
  }
  ASSERT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
  EXPECT_EQ("y", Keys());
}

TEST_F(DBTransaction, TransactionsOfTwoConnectionsAreSeparate) {
  auto other = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, other);
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection_));
  EXPECT_EQ(0, other->TransactionDepth());
  EXPECT_EQ(DBStore::kFailure, DBStore::CommitTransaction(other));
  ASSERT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(connection_));
}

TEST_F(DBTransaction, WriterWaitsForTheLockHolderAndSucceeds) {
  auto holder = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, holder);
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(holder));
  ASSERT_EQ(DBStore::kSuccess, Write(holder, "first"));
  std::atomic<bool> committing{false};
  std::atomic<int> commitStatus{-1};
  std::thread thread([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    committing = true;
    commitStatus = DBStore::CommitTransaction(holder);
  });
  // Waits for the lock, up to the busy time-out, instead of failing.
  int status = Write(connection_, "second", DBStore::kDefaultTimeLimit);
  bool holderWasCommitting = committing;
  thread.join();
  EXPECT_EQ(DBStore::kSuccess, status);
  EXPECT_TRUE(holderWasCommitting);
  EXPECT_EQ(DBStore::kSuccess, commitStatus.load());
  EXPECT_EQ("first,second", Keys());
}

TEST_F(DBTransaction, BeginWaitsForTheLockHolderAndSucceeds) {
  auto holder = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, holder);
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(holder));
  std::atomic<bool> committing{false};
  std::thread thread([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    committing = true;
    DBStore::CommitTransaction(holder);
  });
  int status = DBStore::BeginTransaction(connection_);
  bool holderWasCommitting = committing;
  thread.join();
  EXPECT_EQ(DBStore::kSuccess, status);
  EXPECT_TRUE(holderWasCommitting);
  EXPECT_EQ(DBStore::kSuccess, DBStore::CommitTransaction(connection_));
}

TEST_F(DBTransaction, WriterFailsWhenTheLockIsHeldBeyondItsTimeLimit) {
  auto holder = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, holder);
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(holder));
  EXPECT_EQ(DBStore::kFailure, Write(connection_, "blocked", 50));
  EXPECT_EQ("database is locked", connection_->LastError());
  ASSERT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(holder));
  // Once the lock is gone the same statement succeeds.
  EXPECT_EQ(DBStore::kSuccess, Write(connection_, "blocked", 50));
}

}  // namespace
