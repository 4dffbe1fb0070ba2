// The key-value table of the store database.
#include "DBTestUtil.h"

namespace {

class DBKeyValue : public CorvTest::StoreTest {
 protected:
  void SetUp() override {
    StoreTest::SetUp();
    connection_ = DBStore::GetConnection(DBStore::CONFIG_STORE);
    ASSERT_NE(nullptr, connection_);
  }
  std::shared_ptr<DBStore::StoreConnection> connection_;
};

TEST_F(DBKeyValue, AbsentKeyReadsAsEmptyText) {
  std::string value = "previous";
  EXPECT_EQ(DBStore::kSuccess, DBStore::ReadKeyValue(connection_, "NO_SUCH_KEY", value));
  EXPECT_EQ("", value);
}

TEST_F(DBKeyValue, WrittenValueReadsBackAndIsReplaced) {
  std::string value;
  ASSERT_EQ(DBStore::kSuccess, DBStore::WriteKeyValue(connection_, "IS_BOOT", "true"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::ReadKeyValue(connection_, "IS_BOOT", value));
  EXPECT_EQ("true", value);
  ASSERT_EQ(DBStore::kSuccess, DBStore::WriteKeyValue(connection_, "IS_BOOT", "false"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::ReadKeyValue(connection_, "IS_BOOT", value));
  EXPECT_EQ("false", value);
  EXPECT_EQ("1", CorvTest::RawQuery(store_, "SELECT count(*) FROM KeyValue"));
}

TEST_F(DBKeyValue, KeysAreExactText) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::WriteKeyValue(connection_, "Key", "upper"));
  std::string value = "previous";
  ASSERT_EQ(DBStore::kSuccess, DBStore::ReadKeyValue(connection_, "key", value));
  EXPECT_EQ("", value);
}

TEST_F(DBKeyValue, NullValueReadsAsEmptyText) {
  ASSERT_EQ("", CorvTest::RawExec(store_, "INSERT INTO KeyValue VALUES ('K', NULL)"));
  std::string value = "previous";
  ASSERT_EQ(DBStore::kSuccess, DBStore::ReadKeyValue(connection_, "K", value));
  EXPECT_EQ("", value);
}

TEST_F(DBKeyValue, MissingTableFailsAndLeavesTheValue) {
  ASSERT_EQ("", CorvTest::RawExec(store_, "DROP TABLE KeyValue"));
  std::string value = "previous";
  EXPECT_EQ(DBStore::kFailure, DBStore::ReadKeyValue(connection_, "K", value));
  EXPECT_EQ("previous", value);
  EXPECT_EQ(DBStore::kFailure, DBStore::WriteKeyValue(connection_, "K", "v"));
  EXPECT_EQ("no such table: KeyValue", connection_->LastError());
}

TEST_F(DBKeyValue, EveryEntryIsReadInKeyOrder) {
  ASSERT_EQ(DBStore::kSuccess, DBStore::WriteKeyValue(connection_, "b", "2"));
  ASSERT_EQ(DBStore::kSuccess, DBStore::WriteKeyValue(connection_, "a", "1"));
  ASSERT_EQ("", CorvTest::RawExec(store_, "INSERT INTO KeyValue VALUES ('c', NULL)"));
  std::vector<std::pair<std::string, std::string>> entries{{"old", "entry"}};
  ASSERT_EQ(DBStore::kSuccess, DBStore::ReadKeyValues(connection_, entries));
  EXPECT_EQ((std::vector<std::pair<std::string, std::string>>{{"a", "1"}, {"b", "2"}, {"c", ""}}),
            entries);
  ASSERT_EQ("", CorvTest::RawExec(store_, "DROP TABLE KeyValue"));
  EXPECT_EQ(DBStore::kFailure, DBStore::ReadKeyValues(connection_, entries));
  EXPECT_EQ(3u, entries.size());
  EXPECT_EQ(DBStore::kFailure, DBStore::ReadKeyValues(nullptr, entries));
}

TEST_F(DBKeyValue, NullConnectionFails) {
  std::string value;
  EXPECT_EQ(DBStore::kFailure, DBStore::ReadKeyValue(nullptr, "K", value));
  EXPECT_EQ(DBStore::kFailure, DBStore::WriteKeyValue(nullptr, "K", "v"));
}

}  // namespace
