// Provisioning a store database: file mode, idempotence and the tables'
// keys, defaults, trigger and checks.
#include <sys/stat.h>

#include <cctype>

#include "DBTestUtil.h"

namespace {

using CorvTest::RawExec;
using CorvTest::RawQuery;
using CorvTest::TempDir;

// True for a time of the form "2024-05-01 12:34:56".
bool IsDateTime(const std::string& text) {
  const std::string shape = "dddd-dd-dd dd:dd:dd";
  if (text.size() != shape.size()) return false;
  for (size_t i = 0; i < shape.size(); ++i) {
    bool digit = std::isdigit(static_cast<unsigned char>(text[i])) != 0;
    if (shape[i] == 'd' ? !digit : text[i] != shape[i]) return false;
  }
  return true;
}

class DBProvision : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = dir_.File("store.db");
    std::string error;
    ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(store_, &error)) << error;
  }
  TempDir dir_;
  std::string store_;
};

mode_t ModeOf(const std::string& path) {
  struct stat status;
  if (stat(path.c_str(), &status) != 0) return 0;
  return status.st_mode & 07777;
}

TEST_F(DBProvision, CreatesTheFileWithMode0600WhateverTheUmask) {
  EXPECT_EQ(0600u, ModeOf(store_));
  std::string other = dir_.File("other.db");
  mode_t previous = umask(0277);
  int status = DBStore::ProvisionStore(other, nullptr);
  umask(previous);
  ASSERT_EQ(DBStore::kSuccess, status);
  EXPECT_EQ(0600u, ModeOf(other));
}

TEST_F(DBProvision, CreatesEveryTableInWalMode) {
  EXPECT_EQ("Config,ConfigModifiedTime,DefaultConfig,DesiredUserConfig,KeyValue",
            RawQuery(store_,
                     "SELECT group_concat(name, ',') FROM (SELECT name FROM sqlite_master "
                     "WHERE type IN ('table', 'trigger') ORDER BY name)"));
  EXPECT_EQ("wal", RawQuery(store_, "PRAGMA journal_mode"));
}

TEST_F(DBProvision, RunningTwiceKeepsContentsAndMode) {
  ASSERT_EQ("", RawExec(store_, "INSERT INTO KeyValue VALUES ('K', 'V')"));
  ASSERT_EQ(0, chmod(store_.c_str(), 0640));
  std::string error;
  ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(store_, &error)) << error;
  EXPECT_EQ("V", RawQuery(store_, "SELECT Value FROM KeyValue WHERE Key = 'K'"));
  EXPECT_EQ(0640u, ModeOf(store_));
}

TEST_F(DBProvision, CompletesAStoreThatLacksTables) {
  ASSERT_EQ("", RawExec(store_, "DROP TABLE KeyValue; DROP TRIGGER ConfigModifiedTime"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(store_, nullptr));
  EXPECT_EQ("2", RawQuery(store_,
                          "SELECT count(*) FROM sqlite_master WHERE name IN "
                          "('KeyValue', 'ConfigModifiedTime')"));
}

TEST_F(DBProvision, ProvisionedFileOpensAsAConnection) {
  setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
  EXPECT_NE(nullptr, DBStore::GetConnection(DBStore::CONFIG_STORE));
}

TEST_F(DBProvision, MissingDirectoryFailsWithTheReason) {
  std::string path = dir_.File("no-dir/store.db");
  std::string error;
  EXPECT_EQ(DBStore::kFailure, DBStore::ProvisionStore(path, &error));
  EXPECT_EQ("cannot create the file: No such file or directory", error);
}

TEST_F(DBProvision, FileThatIsNotADatabaseFailsAndIsKept) {
  std::string path = dir_.Write("text.db", std::string(4096, 'x'));
  std::string error;
  EXPECT_EQ(DBStore::kFailure, DBStore::ProvisionStore(path, &error));
  EXPECT_EQ("file is not a database", error);
  struct stat status;
  ASSERT_EQ(0, stat(path.c_str(), &status));
  EXPECT_EQ(4096, status.st_size);
}

TEST_F(DBProvision, EmptyPathFails) {
  std::string error;
  EXPECT_EQ(DBStore::kFailure, DBStore::ProvisionStore("", &error));
  EXPECT_EQ("no database path", error);
}

TEST_F(DBProvision, ConfigIsKeyedByTheFourIdColumns) {
  const char* insert =
      "INSERT OR REPLACE INTO Config (Identifier, Name, ConfigGroup, Component, UserValue) "
      "VALUES ";
  ASSERT_EQ("", RawExec(store_, std::string(insert) + "('', 'k', 'g', 'c', '1')"));
  ASSERT_EQ("", RawExec(store_, std::string(insert) + "('', 'k', 'g', 'c', '2')"));
  EXPECT_EQ("1|2", RawQuery(store_, "SELECT count(*) || '|' || max(UserValue) FROM Config"));
  ASSERT_EQ("", RawExec(store_, std::string(insert) + "('i', 'k', 'g', 'c', '3')"));
  ASSERT_EQ("", RawExec(store_, std::string(insert) + "('', 'k', 'g', 'd', '4')"));
  EXPECT_EQ("3", RawQuery(store_, "SELECT count(*) FROM Config"));
  EXPECT_EQ("UNIQUE constraint failed: Config.Component, Config.ConfigGroup, Config.Name, "
            "Config.Identifier",
            RawExec(store_, std::string("INSERT INTO Config (Identifier, Name, ConfigGroup, "
                                        "Component) VALUES ('i', 'k', 'g', 'c')")));
}

TEST_F(DBProvision, DefaultAndNextBootTablesAreKeyedByTheFourIdColumns) {
  ASSERT_EQ("", RawExec(store_,
                        "INSERT OR REPLACE INTO DefaultConfig (Identifier, Name, ConfigGroup, "
                        "Component, Value) VALUES ('', 'k', 'g', 'c', '1');"
                        "INSERT OR REPLACE INTO DefaultConfig (Identifier, Name, ConfigGroup, "
                        "Component, Value) VALUES ('', 'k', 'g', 'c', '2');"
                        "INSERT OR REPLACE INTO DesiredUserConfig (Identifier, Name, ConfigGroup, "
                        "Component, BootAction) VALUES ('i', 'k', 'g', 'c', 'SET');"
                        "INSERT OR REPLACE INTO DesiredUserConfig (Identifier, Name, ConfigGroup, "
                        "Component, BootAction) VALUES ('i', 'k', 'g', 'c', 'DELETE');"));
  EXPECT_EQ("1|2", RawQuery(store_, "SELECT count(*) || '|' || Value FROM DefaultConfig"));
  EXPECT_EQ("1|DELETE",
            RawQuery(store_, "SELECT count(*) || '|' || BootAction FROM DesiredUserConfig"));
}

TEST_F(DBProvision, ConfigDefaults) {
  ASSERT_EQ("", RawExec(store_,
                        "INSERT INTO Config (Identifier, Name, ConfigGroup, Component) "
                        "VALUES ('', 'k', 'g', 'c')"));
  EXPECT_EQ("1", RawQuery(store_, "SELECT Success FROM Config"));
  EXPECT_EQ("<null>", RawQuery(store_, "SELECT DesiredValue FROM Config"));
  ASSERT_FALSE(IsDateTime("2000-01-01T00:00:00"));
  EXPECT_TRUE(IsDateTime(RawQuery(store_, "SELECT ModifiedTime FROM Config")));
  EXPECT_TRUE(IsDateTime(RawQuery(store_, "SELECT CreationTime FROM Config")));
}

TEST_F(DBProvision, UpdateRefreshesModifiedTime) {
  ASSERT_EQ("", RawExec(store_,
                        "INSERT INTO Config (Identifier, Name, ConfigGroup, Component, UserValue) "
                        "VALUES ('', 'k', 'g', 'c', '{}')"));
  // A time set on purpose stands.
  ASSERT_EQ("", RawExec(store_, "UPDATE Config SET ModifiedTime = '2000-01-01 00:00:00'"));
  EXPECT_EQ("2000-01-01 00:00:00", RawQuery(store_, "SELECT ModifiedTime FROM Config"));
  // Any other update of the row moves it to the current time.
  ASSERT_EQ("", RawExec(store_, "UPDATE Config SET UserValue = '{\"a\":1}'"));
  std::string refreshed = RawQuery(store_, "SELECT ModifiedTime FROM Config");
  EXPECT_NE("2000-01-01 00:00:00", refreshed);
  EXPECT_TRUE(IsDateTime(refreshed)) << refreshed;
  EXPECT_EQ("1", RawQuery(store_, "SELECT ModifiedTime >= CreationTime FROM Config"));
}

TEST_F(DBProvision, BootActionIsChecked) {
  const std::string insert =
      "INSERT OR REPLACE INTO DesiredUserConfig (Identifier, Name, ConfigGroup, Component, "
      "BootAction) VALUES ('', 'k', 'g', 'c', ";
  for (const char* action : {"'SET'", "'DELETE'", "'DELETE_INSTANCE'"})
    EXPECT_EQ("", RawExec(store_, insert + action + ")")) << action;
  for (const char* action : {"'set'", "'REPLACE'", "''"})
    EXPECT_EQ("CHECK constraint failed: BootAction IN ('SET', 'DELETE', 'DELETE_INSTANCE')",
              RawExec(store_, insert + action + ")"))
        << action;
  EXPECT_EQ("NOT NULL constraint failed: DesiredUserConfig.BootAction",
            RawExec(store_, insert + "NULL)"));
}

TEST_F(DBProvision, InsertOrReplaceCarriesCreationTimeAndCountsRevisions) {
  setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
  auto connection = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, connection);
  const std::string key =
      " FROM Config WHERE Identifier = ?1 AND Name = ?2 AND ConfigGroup = ?3 AND Component = ?4 )";
  DBStore::SqlStatement write(
      "INSERT OR REPLACE INTO Config ( Identifier, Name, ConfigGroup, Component, Version, "
      "Success, UserValue, CreationTime, Revision ) VALUES ( ?1, ?2, ?3, ?4, ?5, ?6, ?7, "
      "COALESCE( ( SELECT CreationTime" + key + ", (DATETIME(CURRENT_TIMESTAMP)) ), "
      "COALESCE( ( SELECT Revision" + key + ", (0) ) + 1 )");
  DBStore::SqlParams params = {
      DBStore::SqlParam::Text(""),    DBStore::SqlParam::Text("k"),
      DBStore::SqlParam::Text("g"),   DBStore::SqlParam::Text("c"),
      DBStore::SqlParam::Text("1.0"), DBStore::SqlParam::Int(1),
      DBStore::SqlParam::Text("{}")};
  ASSERT_EQ(DBStore::kSuccess, DBStore::ExecuteStmt(connection, write, params, nullptr, 3000));
  ASSERT_EQ("", RawExec(store_, "UPDATE Config SET CreationTime = '2001-01-01 00:00:00'"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::ExecuteStmt(connection, write, params, nullptr, 3000));
  EXPECT_EQ("1|2|2001-01-01 00:00:00",
            RawQuery(store_, "SELECT count(*) || '|' || Revision || '|' || CreationTime FROM Config"));
}

}  // namespace
