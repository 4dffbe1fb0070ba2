// A schema file the schema store refuses to take reports SQLite's reason as
// the exception's detail, and leaves the store as it was.
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include "sqlite/DBStore.h"
#include "support/StoreEnvironment.h"

namespace {

TEST(SchemaLoaderCauseTest, ARefusedWriteCarriesSQLitesReason) {
  CorvTest::StoreEnvironment env;
  env.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object"}}}})");
  {
    auto connection = DBStore::StoreConnection::Open(env.SchemaStorePath());
    ASSERT_NE(nullptr, connection);
    ASSERT_EQ(
        DBStore::kSuccess,
        DBStore::ExecuteStmt(connection,
                             DBStore::SqlStatement("CREATE TRIGGER refuse BEFORE INSERT ON Schema "
                                                   "BEGIN SELECT RAISE(ABORT, 'refused'); END"),
                             {}, nullptr, DBStore::kDefaultTimeLimit));
  }
  try {
    env.LoadSchemas(R"({"corv": {"net": {"ntp": {"type": "object"}}}})");
    FAIL() << "the schema store took the schema";
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    EXPECT_EQ(2000, e.GetErrorCode());
    EXPECT_EQ("Cannot store the schema of corv.net.ntp in " + env.SchemaStorePath() + ": refused",
              e.what());
    EXPECT_EQ(std::vector<std::string>{"refused"}, e.GetDetails());
  }
  EXPECT_EQ(std::vector<std::string>{"dns"},
            CorvTest::QueryRows(env.SchemaStorePath(), "SELECT Name FROM Schema"));
}

}  // namespace
