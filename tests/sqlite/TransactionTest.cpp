// The scoped transaction level: commit, cancel on every way out of the
// scope, nesting, and failures that keep SQLite's reason.
#include <corvconfigstore/Exceptions.h>

#include <stdexcept>

#include "DBTestUtil.h"
#include "sqlite/Transaction.h"
#include "support/FailureDetails.h"
#include "support/LogCapture.h"

namespace {

using CorvConfigStore::ConfigStoreException;
using DBStore::Transaction;

class TransactionTest : public CorvTest::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    connection_ = DBStore::GetConnection(DBStore::CONFIG_STORE);
    ASSERT_NE(nullptr, connection_);
  }

  void Write(const std::string& key) {
    ASSERT_EQ(DBStore::kSuccess,
              Exec(connection_, "INSERT INTO KeyValue (Key, Value) VALUES ('" + key + "', 'v')"));
  }

  // Keys present, as seen by a connection of its own.
  std::string Keys() {
    return CorvTest::RawQuery(store_,
                              "SELECT coalesce(group_concat(Key, ','), '') FROM "
                              "(SELECT Key FROM KeyValue ORDER BY Key)");
  }

  std::shared_ptr<DBStore::StoreConnection> connection_;
};

TEST_F(TransactionTest, CommitKeepsTheWork) {
  {
    Transaction transaction(connection_, "Test");
    EXPECT_EQ(1, connection_->TransactionDepth());
    Write("a");
    transaction.Commit();
    EXPECT_EQ(0, connection_->TransactionDepth());
  }
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("a", Keys());
}

TEST_F(TransactionTest, LeavingTheScopeWithoutCommitCancels) {
  {
    Transaction transaction(connection_, "Test");
    Write("a");
  }
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("", Keys());
}

TEST_F(TransactionTest, AnyExceptionLeavingTheScopeCancels) {
  EXPECT_THROW(
      {
        Transaction transaction(connection_, "Test");
        Write("a");
        throw std::runtime_error("work failed");
      },
      std::runtime_error);
  // Not only the library's exceptions: anything thrown cancels.
  EXPECT_THROW(
      {
        Transaction transaction(connection_, "Test");
        Write("b");
        throw 42;
      },
      int);
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("", Keys());
}

TEST_F(TransactionTest, InnerLevelsAreSavepointsOfTheOuterTransaction) {
  {
    Transaction outer(connection_, "Outer");
    Write("outer");
    {
      Transaction inner(connection_, "Inner");
      EXPECT_EQ(2, connection_->TransactionDepth());
      Write("cancelled");
    }
    {
      Transaction inner(connection_, "Inner");
      Write("inner");
      inner.Commit();
    }
    EXPECT_EQ(1, connection_->TransactionDepth());
    EXPECT_EQ("", Keys());
    outer.Commit();
  }
  EXPECT_EQ("inner,outer", Keys());
}

TEST_F(TransactionTest, CancellingTheOuterLevelUndoesCommittedInnerLevels) {
  {
    Transaction outer(connection_, "Outer");
    Transaction inner(connection_, "Inner");
    Write("inner");
    inner.Commit();
  }
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("", Keys());
}

TEST_F(TransactionTest, BeginThatWaitsInVainKeepsSQLitesReason) {
  auto holder = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, holder);
  ASSERT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(holder));
  // This connection's own busy time-out, so that the test need not wait the
  // library's full one.
  sqlite3_busy_timeout(connection_->Handle(), 20);
  EXPECT_TRUE(CorvTest::ThrowsWithDetails(
      [this] { Transaction transaction(connection_, "SetInstances"); },
      "Begin Transaction failed for: SetInstances", {"database is locked"}));
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(holder));
}

TEST_F(TransactionTest, BeginWithoutAConnectionHasNoReasonToGive) {
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { Transaction transaction(nullptr, "Import"); },
                                          "Begin Transaction failed for: Import", {}));
}

// A row that breaks a deferred foreign key is only refused by the commit.
class RefusedCommitTest : public TransactionTest {
 protected:
  void SetUp() override {
    TransactionTest::SetUp();
    ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "CREATE TABLE Parent (Id INTEGER PRIMARY KEY)"));
    ASSERT_EQ(DBStore::kSuccess,
              Exec(connection_,
                   "CREATE TABLE Child (Parent INTEGER REFERENCES Parent (Id) DEFERRABLE "
                   "INITIALLY DEFERRED)"));
    ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "PRAGMA foreign_keys = ON"));
  }

  void WriteOrphan() {
    ASSERT_EQ(DBStore::kSuccess, Exec(connection_, "INSERT INTO Child (Parent) VALUES (7)"));
  }
};

TEST_F(RefusedCommitTest, KeepsSQLitesReasonAndCancelsOnTheWayOut) {
  try {
    Transaction transaction(connection_, "Test");
    Write("a");
    WriteOrphan();
    try {
      transaction.Commit();
      FAIL() << "the commit was not refused";
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(2000, e.GetErrorCode());
      EXPECT_STREQ("Commit transaction failed.", e.what());
      EXPECT_EQ(std::vector<std::string>{"FOREIGN KEY constraint failed"}, e.GetDetails());
      // Still open, for the destructor to cancel.
      EXPECT_EQ(1, connection_->TransactionDepth());
      throw;
    }
  } catch (const ConfigStoreException&) {
  }
  EXPECT_EQ(0, connection_->TransactionDepth());
  EXPECT_EQ("", Keys());
  EXPECT_EQ("0", CorvTest::RawQuery(store_, "SELECT count(*) FROM Child"));
}

TEST_F(RefusedCommitTest, CallersMessageIsFollowedByTheReason) {
  Transaction transaction(connection_, "LoadDefaultsFile");
  WriteOrphan();
  EXPECT_TRUE(CorvTest::ThrowsWithDetails(
      [&transaction] { transaction.Commit("Cannot commit defaults file d.json to s.db"); },
      "Cannot commit defaults file d.json to s.db: FOREIGN KEY constraint failed",
      {"FOREIGN KEY constraint failed"}));
}

TEST_F(TransactionTest, RefusedCancelIsLoggedAndTheFailureStillReachesTheCaller) {
  CorvTest::LogCapture log(0);
  try {
    Transaction transaction(connection_, "Test");
    // The level is closed behind the guard's back, so its cancel is refused.
    ASSERT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(connection_));
    throw std::runtime_error("work failed");
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ("work failed", e.what());
  }
  EXPECT_TRUE(log.Has(0, "Test: failed to cancel the transaction: no transaction is open"));
}

}  // namespace
