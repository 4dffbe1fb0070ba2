// corvcfg prints why a command failed when the store knows: a line
// "  cause: reason" per reason below "[code] message".
#include <sqlite3.h>

#include "CorvcfgSupport.h"

using CorvTest::Outcome;

namespace {

const std::string kStoreHint =
    "hint: --db PATH or CORV_CONFIGSTORE_DB names the store; `corvcfg store init` creates one\n";

class FailureCauseTest : public CorvTest::CorvcfgTest {
 protected:
  void SetUp() override { SetUpStore(); }
};

TEST_F(FailureCauseTest, AWriteWhileAnotherProcessHoldsTheLockSaysTheDatabaseIsLocked) {
  sqlite3* holder = nullptr;
  ASSERT_EQ(SQLITE_OK, sqlite3_open_v2(store_.c_str(), &holder, SQLITE_OPEN_READWRITE, nullptr));
  ASSERT_EQ(SQLITE_OK, sqlite3_exec(holder, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr));
  // The program waits out the library's busy time-out, then gives up.
  Outcome locked = Corvcfg({"set", "lab.net.nics", "--json", R"([{"name": "eth0"}])"});
  sqlite3_exec(holder, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close_v2(holder);
  EXPECT_EQ(locked.status, 4);
  EXPECT_EQ(locked.err,
            "[2000] Begin Transaction failed for: SetInstances\n  cause: database is locked\n"
            "hint: another process is writing to the store " + store_ +
                "; try again once it has finished\n");
  // Once the lock is gone the same command works.
  Ok({"set", "lab.net.nics", "--json", R"([{"name": "eth0"}])"});
}

TEST_F(FailureCauseTest, AStoreThatIsNotADatabaseSaysSo) {
  std::string junk = dir_.Write("junk.db", "this is no database, only some text");
  Outcome run = Corvcfg({"--db", junk, "get", "lab.net.dns"});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "[2000] Failed to connect to database\n  cause: " + junk +
                         ": file is not a database\n" + kStoreHint);
}

TEST_F(FailureCauseTest, AStoreInADirectoryThatDoesNotExistSaysSo) {
  std::string path = dir_.File("absent/store.db");
  Outcome run = Corvcfg({"--db", path, "get", "lab.net.dns"});
  EXPECT_EQ(run.status, 4);
  EXPECT_EQ(run.err, "[2000] Failed to connect to database\n  cause: " + path + ": directory " +
                         dir_.File("absent") + " does not exist\n" + kStoreHint);
}

TEST_F(FailureCauseTest, TheHelpTellsWhereCausesArePrinted) {
  Outcome run = Corvcfg({"--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("is followed by \"  cause: reason\" lines."), std::string::npos)
      << run.out;
}

}  // namespace
