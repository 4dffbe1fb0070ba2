// Opening store connections: never creating a file, refusing what is not a
// database, the pragmas in force, and the per-thread default connection.
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <thread>

#include "DBTestUtil.h"

namespace {

using CorvTest::QueryText;
using CorvTest::StoreTest;
using CorvTest::TempDir;

bool Exists(const std::string& path) {
  struct stat status;
  return stat(path.c_str(), &status) == 0;
}

TEST(DBConnection, MissingFileGivesNullAndCreatesNothing) {
  TempDir dir;
  std::string path = dir.File("absent.db");
  EXPECT_EQ(nullptr, DBStore::StoreConnection::Open(path));
  EXPECT_FALSE(Exists(path));
  EXPECT_FALSE(Exists(path + "-wal"));
}

TEST(DBConnection, GetConnectionOnMissingStoreGivesNullAndCreatesNothing) {
  TempDir dir;
  std::string path = dir.File("absent.db");
  setenv("CORV_CONFIGSTORE_DB", path.c_str(), 1);
  EXPECT_EQ(nullptr, DBStore::GetConnection(DBStore::CONFIG_STORE));
  EXPECT_EQ(nullptr, DBStore::GetDefaultConnection());
  EXPECT_FALSE(Exists(path));
}

TEST(DBConnection, FileThatIsNotADatabaseGivesNull) {
  TempDir dir;
  std::string path = dir.Write("text.db", std::string(4096, 'x'));
  EXPECT_EQ(nullptr, DBStore::StoreConnection::Open(path));
}

TEST(DBConnection, DirectoryAndEmptyPathGiveNull) {
  TempDir dir;
  EXPECT_EQ(nullptr, DBStore::StoreConnection::Open(dir.Path()));
  EXPECT_EQ(nullptr, DBStore::StoreConnection::Open(""));
}

TEST(DBConnection, UnknownTypeGivesNull) {
  EXPECT_EQ(nullptr, DBStore::GetConnection(static_cast<DBStore::Type>(7)));
}

TEST(DBConnection, PathsComeFromTheEnvironmentOrTheDefaults) {
  setenv("CORV_CONFIGSTORE_DB", "/tmp/a-store", 1);
  setenv("CORV_SCHEMASTORE_DB", "/tmp/a-schema-store", 1);
  EXPECT_STREQ("/tmp/a-store", DBStore::ConfigStorePath());
  EXPECT_STREQ("/tmp/a-schema-store", DBStore::SchemaStorePath());
  setenv("CORV_CONFIGSTORE_DB", "", 1);
  unsetenv("CORV_SCHEMASTORE_DB");
  EXPECT_STREQ("/etc/velmo/configstore/current-store-1", DBStore::ConfigStorePath());
  EXPECT_STREQ("/etc/velmo/configstore/schema-store-1", DBStore::SchemaStorePath());
}

TEST_F(StoreTest, ConnectionRunsInWalModeWithFullSync) {
  auto connection = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, connection);
  EXPECT_EQ(store_, connection->Path());
  EXPECT_EQ("wal", QueryText(connection->Handle(), "PRAGMA journal_mode"));
  // synchronous: 2 is FULL.
  EXPECT_EQ("2", QueryText(connection->Handle(), "PRAGMA synchronous"));
  EXPECT_EQ(0, connection->TransactionDepth());
}

TEST_F(StoreTest, EachGetConnectionIsANewConnection) {
  auto first = DBStore::GetConnection(DBStore::CONFIG_STORE);
  auto second = DBStore::GetConnection(DBStore::CONFIG_STORE);
  ASSERT_NE(nullptr, first);
  ASSERT_NE(nullptr, second);
  EXPECT_NE(first->Handle(), second->Handle());
}

TEST_F(StoreTest, DefaultConnectionIsKeptPerThread) {
  auto first = DBStore::GetDefaultConnection();
  ASSERT_NE(nullptr, first);
  EXPECT_EQ(first, DBStore::GetDefaultConnection());
  std::shared_ptr<DBStore::StoreConnection> other;
  std::thread([&other] { other = DBStore::GetDefaultConnection(); }).join();
  ASSERT_NE(nullptr, other);
  EXPECT_NE(first, other);
  EXPECT_EQ(store_, other->Path());
}

// The default connection goes to otherStore when the environment names it,
// and back to store.
void ExpectToFollowTheEnvironment(const std::string& store, const std::string& otherStore) {
  auto first = DBStore::GetDefaultConnection();
  ASSERT_NE(nullptr, first);
  ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(otherStore, nullptr));
  setenv("CORV_CONFIGSTORE_DB", otherStore.c_str(), 1);
  auto second = DBStore::GetDefaultConnection();
  ASSERT_NE(nullptr, second);
  EXPECT_EQ(otherStore, second->Path());
  setenv("CORV_CONFIGSTORE_DB", store.c_str(), 1);
  auto third = DBStore::GetDefaultConnection();
  ASSERT_NE(nullptr, third);
  EXPECT_EQ(store, third->Path());
}

TEST_F(StoreTest, DefaultConnectionFollowsTheEnvironment) {
  ExpectToFollowTheEnvironment(store_, dir_.File("other.db"));
}

TEST_F(StoreTest, DefaultConnectionIsReopenedWhenTheFileIsReplaced) {
  auto first = DBStore::GetDefaultConnection();
  ASSERT_NE(nullptr, first);
  ASSERT_EQ(DBStore::kSuccess, DBStore::WriteKeyValue(first, "K", "old"));
  first.reset();
  for (const char* suffix : {"", "-wal", "-shm"}) unlink((store_ + suffix).c_str());
  EXPECT_EQ(nullptr, DBStore::GetDefaultConnection());
  ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(store_, nullptr));
  auto second = DBStore::GetDefaultConnection();
  ASSERT_NE(nullptr, second);
  std::string value = "unchanged";
  ASSERT_EQ(DBStore::kSuccess, DBStore::ReadKeyValue(second, "K", value));
  EXPECT_EQ("", value);
}

// Removes the store file with its log and index and provisions a new one
// under the same name.
void ReplaceStore(const std::string& path) {
  for (const char* suffix : {"", "-wal", "-shm"}) unlink((path + suffix).c_str());
  ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(path, nullptr));
}

TEST_F(StoreTest, InAScopeTheDefaultConnectionKeepsTheFileItFoundFirst) {
  std::shared_ptr<DBStore::StoreConnection> first;
  {
    DBStore::DefaultConnectionScope scope;
    first = DBStore::GetDefaultConnection();
    ASSERT_NE(nullptr, first);
    ASSERT_EQ(DBStore::kSuccess, DBStore::WriteKeyValue(first, "K", "old"));
    ReplaceStore(store_);
    {
      DBStore::DefaultConnectionScope inner;
      EXPECT_EQ(first, DBStore::GetDefaultConnection());
    }
    // Leaving the inner scope does not end the outer one.
    EXPECT_EQ(first, DBStore::GetDefaultConnection());
  }
  auto after = DBStore::GetDefaultConnection();
  ASSERT_NE(nullptr, after);
  EXPECT_NE(first, after);
  std::string value = "unchanged";
  ASSERT_EQ(DBStore::kSuccess, DBStore::ReadKeyValue(after, "K", value));
  EXPECT_EQ("", value);
}

TEST_F(StoreTest, InAScopeTheDefaultConnectionStillFollowsTheEnvironment) {
  DBStore::DefaultConnectionScope scope;
  ExpectToFollowTheEnvironment(store_, dir_.File("other.db"));
}

TEST_F(StoreTest, InAScopeAStoreNotFoundIsLookedForAgain) {
  DBStore::DefaultConnectionScope scope;
  for (const char* suffix : {"", "-wal", "-shm"}) unlink((store_ + suffix).c_str());
  EXPECT_EQ(nullptr, DBStore::GetDefaultConnection());
  ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(store_, nullptr));
  EXPECT_NE(nullptr, DBStore::GetDefaultConnection());
}

}  // namespace
