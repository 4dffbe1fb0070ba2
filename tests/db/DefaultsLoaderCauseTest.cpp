// A defaults file the store refuses to take reports SQLite's reason as the
// exception's detail, and leaves the store as it was.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>

#include "sqlite/DBStore.h"
#include "support/StoreEnvironment.h"

namespace {

TEST(DefaultsLoaderCauseTest, ARefusedWriteCarriesSQLitesReason) {
  CorvTest::StoreEnvironment env;
  ASSERT_TRUE(env.ProvisionStore());
  env.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object", "properties": {
      "ndots": {"type": "integer"}}}}}})");
  {
    auto connection = DBStore::StoreConnection::Open(env.StorePath());
    ASSERT_NE(nullptr, connection);
    ASSERT_EQ(DBStore::kSuccess,
              DBStore::ExecuteStmt(
                  connection,
                  DBStore::SqlStatement("CREATE TRIGGER refuse BEFORE INSERT ON DefaultConfig "
                                        "BEGIN SELECT RAISE(ABORT, 'refused'); END"),
                  {}, nullptr, DBStore::kDefaultTimeLimit));
  }
  try {
    CorvConfigStore::LoadDefaultsFile(
        env.Dir().Write("defaults.json", R"({"corv": {"net": {"dns": {"ndots": 2}}}})"));
    FAIL() << "the store took the defaults";
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    EXPECT_EQ(2000, e.GetErrorCode());
    EXPECT_EQ("Cannot write the defaults of corv.net.dns to " + env.StorePath() + ": refused",
              e.what());
    EXPECT_EQ(std::vector<std::string>{"refused"}, e.GetDetails());
  }
  EXPECT_EQ(std::vector<std::string>{"0"},
            CorvTest::QueryRows(env.StorePath(), "SELECT count(*) FROM DefaultConfig"));
}

}  // namespace
