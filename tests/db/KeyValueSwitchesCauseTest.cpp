// A boot switch that cannot be read reports why: SQLite's reason, or the
// reason the store could not be opened, is the exception's detail. Every
// write checks the switch first, so without it an I/O error in a write
// surfaced as a bare "Failed to read value from database.".
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>

#include "support/FailureDetails.h"
#include "support/FaultVfs.h"
#include "support/TempDir.h"

namespace {

using CorvTest::FaultVfs;
using CorvTest::FileOp;

class KeyValueSwitchesCause : public ::testing::Test {
 protected:
  void SetUp() override {
    FaultVfs::Install();
    store_ = dir_.File("store.db");
    CorvConfigStore::ProvisionStore(store_);
    setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
  }
  void TearDown() override { FaultVfs::Install().Disarm(); }

  CorvTest::TempDir dir_;
  std::string store_;
};

TEST_F(KeyValueSwitchesCause, AStoreThatCannotBeReadSaysWhy) {
  // Every read of the file fails, from the one that opens it on.
  FaultVfs::Install().Arm({FileOp::kRead, 1, SQLITE_IOERR_READ, true});
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { CorvConfigStore::IsBoot(); },
                                          "Failed to read value from database.",
                                          {"disk I/O error"}));
  FaultVfs::Install().Disarm();
  // The next call opens the store again.
  EXPECT_FALSE(CorvConfigStore::IsBoot());
}

TEST_F(KeyValueSwitchesCause, AFailedReadOnAnOpenStoreSaysWhy) {
  EXPECT_FALSE(CorvConfigStore::IsBoot());  // the connection is open now
  sqlite3* db = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open(store_.c_str(), &db));
  EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, "DROP TABLE KeyValue", nullptr, nullptr, nullptr));
  sqlite3_close(db);
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { CorvConfigStore::IsBoot(); },
                                          "Failed to read value from database.",
                                          {"no such table: KeyValue"}));
}

TEST_F(KeyValueSwitchesCause, AFileThatIsNotADatabaseSaysSo) {
  std::string other = dir_.Write("not-a-database", std::string(4096, 'x'));
  setenv("CORV_CONFIGSTORE_DB", other.c_str(), 1);
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { CorvConfigStore::IsBoot(); },
                                          "Failed to read value from database.",
                                          {"file is not a database"}));
}

}  // namespace
