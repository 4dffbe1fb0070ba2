// A defaults file the store refuses to take reports SQLite's reason as the
// exception's detail, and leaves the store as it was.
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>

#include "support/FailureDetails.h"
#include "support/RefuseInserts.h"
#include "support/StoreEnvironment.h"

namespace {

TEST(DefaultsLoaderCauseTest, ARefusedWriteCarriesSQLitesReason) {
  CorvTest::StoreEnvironment env;
  ASSERT_TRUE(env.ProvisionStore());
  env.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object", "properties": {
      "ndots": {"type": "integer"}}}}}})");
  ASSERT_NO_FATAL_FAILURE(CorvTest::RefuseInserts(env.StorePath(), "DefaultConfig"));
  std::string file =
      env.Dir().Write("defaults.json", R"({"corv": {"net": {"dns": {"ndots": 2}}}})");
  EXPECT_TRUE(CorvTest::ThrowsWithDetails(
      [&file] { CorvConfigStore::LoadDefaultsFile(file); },
      "Cannot write the defaults of corv.net.dns to " + env.StorePath() + ": refused",
      {"refused"}));
  EXPECT_EQ(std::vector<std::string>{"0"},
            CorvTest::QueryRows(env.StorePath(), "SELECT count(*) FROM DefaultConfig"));
}

}  // namespace
