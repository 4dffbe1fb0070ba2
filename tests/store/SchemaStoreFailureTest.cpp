// A write whose schema store cannot be read fails as a database failure
// with SQLite's reason, never as "Schema not found" (1037), and leaves the
// store as it was.
#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/HostOperations.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "support/FailureDetails.h"
#include "support/StoreEnvironment.h"

namespace {

using namespace CorvConfigStore;

TEST(SchemaStoreFailure, AWriteWhoseSchemaStoreIsNotADatabaseSaysSo) {
  CorvTest::StoreEnvironment env;
  env.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object",
                     "properties": {"domain": {"type": "string"}}}}}})");
  ASSERT_TRUE(env.ProvisionStore());
  ConfigStoreObjectId dns("dns", "net", "corv");
  std::shared_ptr<ConfigStoreObject> object = CreateObject(dns, R"({"domain": "a.org"})");
  std::shared_ptr<ConfigStore> store = ConfigStore::GetStore("");

  // Another file takes the schema store's place.
  std::string replacement = env.Dir().Write("replacement", std::string(4096, 'x'));
  std::filesystem::rename(replacement, env.SchemaStorePath());
  CorvTest::WaitForSchemaRecheck();

  EXPECT_TRUE(CorvTest::ThrowsWithDetails(
      [&] { store->Set(object, EXTERNAL); },
      "Cannot read schemas from " + env.SchemaStorePath(),
      {"file is not a database"}));
  EXPECT_TRUE(CorvTest::QueryRows(env.StorePath(), "SELECT Name FROM Config").empty());
}

}  // namespace
