// Attaching the schema store database to a store connection as "ss".
#include <sys/stat.h>

#include "DBTestUtil.h"

namespace {

using CorvTest::QueryText;

class DBAttach : public CorvTest::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    schemaStore_ = dir_.File("schema.db");
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(schemaStore_.c_str(), &db));
    ASSERT_EQ(SQLITE_OK,
              sqlite3_exec(db,
                           "CREATE TABLE SmartnicSchema (Component, ConfigGroup, Name, ValueType);"
                           "INSERT INTO SmartnicSchema VALUES ('c', 'g', 'k', 'corv-shared');",
                           nullptr, nullptr, nullptr));
    sqlite3_close(db);
    setenv("CORV_SCHEMASTORE_DB", schemaStore_.c_str(), 1);
    connection_ = DBStore::GetConnection(DBStore::CONFIG_STORE);
    ASSERT_NE(nullptr, connection_);
  }

  std::string schemaStore_;
  std::shared_ptr<DBStore::StoreConnection> connection_;
};

TEST_F(DBAttach, AttachedSchemaStoreIsReachableAsSs) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::AttachSchemaStore(connection_));
  EXPECT_EQ("corv-shared",
            QueryText(connection_->Handle(), "SELECT ValueType FROM ss.SmartnicSchema"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::DetachSchemaStore(connection_));
  EXPECT_EQ("<error: no such table: ss.SmartnicSchema>",
            QueryText(connection_->Handle(), "SELECT ValueType FROM ss.SmartnicSchema"));
}

TEST_F(DBAttach, AttachAgainAfterDetach) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::AttachSchemaStore(connection_));
  ASSERT_EQ(DBStore::kSuccess, DBStore::DetachSchemaStore(connection_));
  ASSERT_EQ(DBStore::kSuccess, DBStore::AttachSchemaStore(connection_));
  EXPECT_EQ("1", QueryText(connection_->Handle(), "SELECT count(*) FROM ss.SmartnicSchema"));
}

TEST_F(DBAttach, AttachTwiceFails) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::AttachSchemaStore(connection_));
  EXPECT_EQ(DBStore::kFailure, DBStore::AttachSchemaStore(connection_));
  EXPECT_EQ("database ss is already in use", connection_->LastError());
}

TEST_F(DBAttach, DetachWithoutAttachFails) {
  EXPECT_EQ(DBStore::kFailure, DBStore::DetachSchemaStore(connection_));
  EXPECT_EQ("no such database: ss", connection_->LastError());
}

TEST_F(DBAttach, MissingSchemaStoreFailsAndIsNotCreated) {
  std::string missing = dir_.File("no-schema.db");
  setenv("CORV_SCHEMASTORE_DB", missing.c_str(), 1);
  EXPECT_EQ(DBStore::kFailure, DBStore::AttachSchemaStore(connection_));
  EXPECT_EQ("no schema store database at " + missing, connection_->LastError());
  struct stat status;
  EXPECT_NE(0, stat(missing.c_str(), &status));
}

TEST_F(DBAttach, NullConnectionFails) {
  EXPECT_EQ(DBStore::kFailure, DBStore::AttachSchemaStore(nullptr));
  EXPECT_EQ(DBStore::kFailure, DBStore::DetachSchemaStore(nullptr));
}

}  // namespace
