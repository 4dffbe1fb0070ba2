// A schema store that is there but cannot be read answers no lookup: each
// throws 2000 with SQLite's reason, rather than reporting that the key has
// no schema (1037), which sent administrators looking for a schema that
// was never missing. The next lookup reads the store again.
#include <gtest/gtest.h>

#include "schema/SchemaStore.h"
#include "support/FailureDetails.h"
#include "support/FaultVfs.h"
#include "support/StoreEnvironment.h"

namespace {

using CorvSchemaStore::SchemaObjectCache;
using CorvTest::FaultVfs;
using CorvTest::FileOp;

class SchemaCacheFailure : public ::testing::Test {
 protected:
  void SetUp() override {
    FaultVfs::Install();
    env_.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object"}}}})");
  }
  void TearDown() override { FaultVfs::Install().Disarm(); }

  // Every lookup of the cache throws the failure with reason.
  void ExpectEveryLookupFails(const std::string& reason) {
    std::shared_ptr<SchemaObjectCache> cache = CorvSchemaStore::SchemaStore::GetCache();
    std::string message = "Cannot read schemas from " + env_.SchemaStorePath();
    EXPECT_TRUE(CorvTest::ThrowsWithDetails([&] { cache->GetSchema("corv", "net", "dns"); },
                                            message, {reason}));
    EXPECT_TRUE(CorvTest::ThrowsWithDetails([&] { cache->GetAllSchemas(); }, message, {reason}));
    EXPECT_TRUE(
        CorvTest::ThrowsWithDetails([&] { cache->HasComponent("corv"); }, message, {reason}));
    EXPECT_TRUE(
        CorvTest::ThrowsWithDetails([&] { cache->HasGroup("corv", "net"); }, message, {reason}));
  }

  CorvTest::StoreEnvironment env_;
};

TEST_F(SchemaCacheFailure, AnIoErrorIsADatabaseFailureAndPasses) {
  std::shared_ptr<SchemaObjectCache> cache = CorvSchemaStore::SchemaStore::GetCache();
  // Every read of the file fails until the shim is disarmed.
  FaultVfs::Install().Arm({FileOp::kRead, 1, SQLITE_IOERR_READ, true});
  cache->Invalidate();
  ExpectEveryLookupFails("disk I/O error");
  FaultVfs::Install().Disarm();
  EXPECT_NE(nullptr, cache->GetSchema("corv", "net", "dns"));
}

TEST_F(SchemaCacheFailure, AFailedLockIsADatabaseFailure) {
  std::shared_ptr<SchemaObjectCache> cache = CorvSchemaStore::SchemaStore::GetCache();
  FaultVfs::Install().Arm({FileOp::kLock, 1, SQLITE_IOERR_LOCK, true});
  cache->Invalidate();
  ExpectEveryLookupFails("disk I/O error");
  FaultVfs::Install().Disarm();
  EXPECT_NE(nullptr, cache->GetSchema("corv", "net", "dns"));
}

TEST_F(SchemaCacheFailure, AFileThatIsNotADatabaseIsADatabaseFailure) {
  env_.Dir().Write("schema-store.db", std::string(4096, 'x'));
  CorvTest::WaitForSchemaRecheck();
  ExpectEveryLookupFails("file is not a database");
}

TEST_F(SchemaCacheFailure, AMissingStoreStillHoldsNoSchemas) {
  DBStore::RemoveDatabaseFiles(env_.SchemaStorePath());
  CorvTest::WaitForSchemaRecheck();
  EXPECT_EQ(nullptr, CorvSchemaStore::SchemaStore::GetCache()->GetSchema("corv", "net", "dns"));
}

}  // namespace
