// The checks every store operation may apply first: a null handle and an
// object without members are warnings, never exceptions.
#include <corvconfigstore/ConfigStoreObject.h>
#include <gtest/gtest.h>

#include "core/Checks.h"
#include "support/LogCapture.h"
#include "support/StoreEnvironment.h"

using namespace CorvConfigStore;

namespace {

const char* kDnsSchema = R"({"corv": {"net": {"dns": {"type": "object",
    "properties": {"domain": {"type": "string"}}}}}})";

TEST(ChecksTest, ANullHandleIsLoggedWithCode1041) {
  CorvTest::StoreEnvironment env;
  ASSERT_EQ(env.LoadSchemas(kDnsSchema), 1);
  CorvTest::LogCapture log;
  std::shared_ptr<ConfigStoreObject> none;
  EXPECT_TRUE(IsNull(none, "Set"));
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0].first, 1);
  EXPECT_EQ(log.Lines()[0].second.rfind("[1041] Set: ", 0), 0u) << log.Lines()[0].second;

  auto object = std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("dns", "net", "corv"));
  EXPECT_FALSE(IsNull(object, "Set"));
  EXPECT_EQ(log.Lines().size(), 1u);
}

TEST(ChecksTest, AnObjectWithoutMembersIsLoggedAsNotPersisted) {
  CorvTest::StoreEnvironment env;
  ASSERT_EQ(env.LoadSchemas(kDnsSchema), 1);
  CorvTest::LogCapture log;
  auto object = std::make_shared<ConfigStoreObject>(ConfigStoreObjectId("dns", "net", "corv"));
  EXPECT_TRUE(ObjIsEmpty(object, "SetUserData"));
  EXPECT_TRUE(log.Has(1,
                      "SetUserData, Configuration object for comp corv grp net key dns is empty, "
                      "will not be persisted in the db"));

  object->SetData(R"({"domain":"a.org"})");
  EXPECT_FALSE(ObjIsEmpty(object, "SetUserData"));
  EXPECT_EQ(log.Lines().size(), 1u);
}

}  // namespace
