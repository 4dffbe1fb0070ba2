// A commit that fails after its frames reached the write-ahead log (its
// sync failed) must not come back when a process opens the store afresh
// and rebuilds its index of the log from the file. Each failing sync of a
// write is tried in turn; a copy of the database and its log, without the
// shared index, shows what such a process would find.
#include <filesystem>

#include "DBTestUtil.h"
#include "support/FaultVfs.h"

namespace {

using CorvTest::FaultVfs;
using CorvTest::FileOp;

const DBStore::SqlStatement kInsert("INSERT INTO KeyValue (Key, Value) VALUES ('k', 'v')");

class FailedCommitLog : public ::testing::Test {
 protected:
  void SetUp() override {
    FaultVfs::Install();
    path_ = dir_.File("store.db");
    ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(path_, nullptr));
  }
  void TearDown() override { FaultVfs::Install().Disarm(); }

  // Rows of the key-value table as a process opening the files now would
  // count them.
  std::string RowsAfterRestart() {
    std::string copy = dir_.File("restart.db");
    DBStore::RemoveDatabaseFiles(copy);
    std::filesystem::copy_file(path_, copy);
    std::error_code noLog;
    std::filesystem::copy_file(path_ + "-wal", copy + "-wal", noLog);
    return CorvTest::RawQuery(copy, "SELECT count(*) FROM KeyValue");
  }

  // Runs write with the n-th sync failing, for n = 1, 2, ... until it
  // succeeds; after every failure the write must be absent, also after a
  // restart. Returns the number of failures seen.
  int FailEachSync(
      const std::function<int(const std::shared_ptr<DBStore::StoreConnection>&)>& write) {
    int failures = 0;
    for (int n = 1; n < 20; ++n) {
      auto connection = DBStore::StoreConnection::Open(path_);
      EXPECT_NE(nullptr, connection);
      if (!connection) return failures;
      FaultVfs::Install().Arm({FileOp::kSync, n, SQLITE_IOERR_FSYNC, false});
      int status = write(connection);
      FaultVfs::Install().Disarm();
      if (status == DBStore::kSuccess) {
        EXPECT_EQ("1", RowsAfterRestart());
        return failures;
      }
      ++failures;
      EXPECT_EQ("disk I/O error", connection->LastError()) << "sync " << n;
      EXPECT_EQ("0", RowsAfterRestart()) << "sync " << n;
      EXPECT_EQ("0", CorvTest::RawQuery(path_, "SELECT count(*) FROM KeyValue")) << "sync " << n;
    }
    ADD_FAILURE() << "the write never succeeded";
    return failures;
  }

  CorvTest::TempDir dir_;
  std::string path_;
};

TEST_F(FailedCommitLog, AFailedCommitOfATransactionDoesNotComeBack) {
  int failures = FailEachSync([](const std::shared_ptr<DBStore::StoreConnection>& connection) {
    EXPECT_EQ(DBStore::kSuccess, DBStore::BeginTransaction(connection));
    EXPECT_EQ(DBStore::kSuccess,
              DBStore::ExecuteStmt(connection, kInsert, {}, nullptr, DBStore::kDefaultTimeLimit));
    int status = DBStore::CommitTransaction(connection);
    if (status != DBStore::kSuccess) {
      EXPECT_EQ(DBStore::kSuccess, DBStore::CancelTransaction(connection));
    }
    return status;
  });
  EXPECT_GE(failures, 1);
}

TEST_F(FailedCommitLog, AFailedWriteOutsideATransactionDoesNotComeBack) {
  int failures = FailEachSync([](const std::shared_ptr<DBStore::StoreConnection>& connection) {
    return DBStore::ExecuteStmt(connection, kInsert, {}, nullptr, DBStore::kDefaultTimeLimit);
  });
  EXPECT_GE(failures, 1);
}

}  // namespace
