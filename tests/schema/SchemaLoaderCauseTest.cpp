// A schema file the schema store refuses to take reports SQLite's reason as
// the exception's detail, and leaves the store as it was.
#include "support/FailureDetails.h"
#include "support/RefuseInserts.h"
#include "support/StoreEnvironment.h"

namespace {

TEST(SchemaLoaderCauseTest, ARefusedWriteCarriesSQLitesReason) {
  CorvTest::StoreEnvironment env;
  env.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object"}}}})");
  ASSERT_NO_FATAL_FAILURE(CorvTest::RefuseInserts(env.SchemaStorePath(), "Schema"));
  EXPECT_TRUE(CorvTest::ThrowsWithDetails(
      [&env] { env.LoadSchemas(R"({"corv": {"net": {"ntp": {"type": "object"}}}})"); },
      "Cannot store the schema of corv.net.ntp in " + env.SchemaStorePath() + ": refused",
      {"refused"}));
  EXPECT_EQ(std::vector<std::string>{"dns"},
            CorvTest::QueryRows(env.SchemaStorePath(), "SELECT Name FROM Schema"));
}

}  // namespace
