// Store failures that come from the database carry SQLite's reason as a
// detail, also when a transaction frame wraps them in a message of its own.
#include "StoreFixture.h"
#include "store/ConfigStoreImpl.h"
#include "support/FailureDetails.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

class FailureCauseTest : public StoreFixture {
 protected:
  // The store handle's own connection.
  sqlite3* Handle() { return dynamic_cast<ConfigStoreImpl&>(*store_).GetConnection()->Handle(); }

  // Another connection takes the write lock. The handle waits only briefly
  // for it, so that the test need not sit out the library's busy time-out.
  void HoldWriteLock() {
    ASSERT_EQ("", raw_->Exec("BEGIN IMMEDIATE"));
    sqlite3_busy_timeout(Handle(), 20);
  }

  // Every new Config row also records a row that breaks a deferred foreign
  // key, so that writes succeed and the outermost commit is refused.
  void RefuseCommits() {
    ASSERT_EQ("", raw_->Exec("CREATE TABLE Parent (Id INTEGER PRIMARY KEY); "
                             "CREATE TABLE Child (Parent INTEGER REFERENCES Parent (Id) "
                             "DEFERRABLE INITIALLY DEFERRED); "
                             "CREATE TRIGGER orphan AFTER INSERT ON Config "
                             "BEGIN INSERT INTO Child VALUES (7); END"));
    ASSERT_EQ(SQLITE_OK,
              sqlite3_exec(Handle(), "PRAGMA foreign_keys = ON", nullptr, nullptr, nullptr));
  }
};

ObjectPtr Iface(const char* name) {
  return MakeObject(Id("iface", "net", name), std::string(R"({"name":")") + name + "\"}");
}

TEST_F(FailureCauseTest, ABusyBulkWriteSaysTheDatabaseIsLocked) {
  HoldWriteLock();
  EXPECT_TRUE(ThrowsWithDetails([this] { store_->SetInstances({Iface("eth0")}, EXTERNAL); },
                                "Begin Transaction failed for: SetInstances",
                                {"database is locked"}));
  EXPECT_EQ("", raw_->Exec("ROLLBACK"));
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
}

TEST_F(FailureCauseTest, AGuardThatCannotBeginSaysTheDatabaseIsLocked) {
  HoldWriteLock();
  EXPECT_TRUE(ThrowsWithDetails([this] { ConfigStoreTransaction guard(store_); },
                                "Failed to start a transaction.", {"database is locked"}));
  EXPECT_EQ("", raw_->Exec("ROLLBACK"));
}

TEST_F(FailureCauseTest, ARefusedCommitInsideABulkWriteIsWrappedWithItsCause) {
  RefuseCommits();
  EXPECT_TRUE(ThrowsWithDetails([this] { store_->SetInstances({Iface("eth0")}, EXTERNAL); },
                                "Operation failed: Commit transaction failed.",
                                {"FOREIGN KEY constraint failed"}));
  // The refused transaction was cancelled.
  EXPECT_EQ(0, dynamic_cast<ConfigStoreImpl&>(*store_).GetConnection()->TransactionDepth());
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
}

TEST_F(FailureCauseTest, ARefusedCommitOfAnUpdateKeepsItsMessageAndCause) {
  RefuseCommits();
  EXPECT_TRUE(ThrowsWithDetails(
      [this] { store_->Update(MakeObject(Id("motd", "sys"), R"({"text":"hi"})"), EXTERNAL); },
      "Commit transaction failed.", {"FOREIGN KEY constraint failed"}));
  EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
}

TEST_F(FailureCauseTest, TheHandlesCommitAndCancelKeepTheirCause) {
  RefuseCommits();
  ASSERT_EQ(0, store_->BeginTransaction());
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"hi"})"), EXTERNAL);
  EXPECT_TRUE(ThrowsWithDetails([this] { store_->CommitTransaction(); },
                                "Commit transaction failed.", {"FOREIGN KEY constraint failed"}));
  // The refused level is still open, for the caller to cancel.
  EXPECT_EQ(0, store_->CancelTransaction());
  EXPECT_TRUE(ThrowsWithDetails([this] { store_->CancelTransaction(); },
                                "Failed to cancel nested transaction", {"no transaction is open"}));
  EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
}

}  // namespace
