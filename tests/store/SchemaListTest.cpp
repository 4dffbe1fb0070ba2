// ListSchemas: every key schema of the schema store, in order, with what the
// store derives from it.
#include <corvconfigstore/SchemaList.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

#include "support/FailureDetails.h"
#include "support/StoreEnvironment.h"

using CorvConfigStore::ListSchemas;
using CorvConfigStore::SchemaInfo;

namespace {

TEST(SchemaListTest, AMissingSchemaStoreListsNothing) {
  CorvTest::StoreEnvironment env;
  EXPECT_TRUE(ListSchemas().empty());
}

TEST(SchemaListTest, ListsEveryKeyOrderedByComponentGroupAndKey) {
  CorvTest::StoreEnvironment env;
  ASSERT_EQ(env.LoadSchemas(R"({
    "zeta": {"a": {"k": {"type": "object"}}},
    "corv": {
      "net": {
        "routes": {"type": "array", "items": {"type": "object",
                   "properties": {"via": {"type": "string"}}}},
        "nics": {"type": "array", "version": "1.2", "items": {"type": "object",
                 "properties": {"name": {"type": "string", "instanceId": true}}}}
      },
      "boot": {"settings": {"type": "object", "tags": ["@rebootRequiredConfigStore"],
                            "properties": {"timeout": {"type": "integer"}}}}
    }
  })"),
            4);
  std::vector<SchemaInfo> list = ListSchemas();
  ASSERT_EQ(list.size(), 4u);
  std::vector<std::string> names;
  for (const SchemaInfo& info : list) names.push_back(info.component + "." + info.group + "." + info.key);
  EXPECT_EQ(names, (std::vector<std::string>{"corv.boot.settings", "corv.net.nics",
                                              "corv.net.routes", "zeta.a.k"}));

  const SchemaInfo& settings = list[0];
  EXPECT_EQ(settings.version, "1.0");
  EXPECT_FALSE(settings.hasInstances);
  EXPECT_EQ(settings.instanceIdProperty, "");
  EXPECT_TRUE(settings.rebootRequired);
  EXPECT_EQ(settings.document,
            R"({"type":"object","tags":["@rebootRequiredConfigStore"],)"
            R"("properties":{"timeout":{"type":"integer"}}})");

  const SchemaInfo& nics = list[1];
  EXPECT_EQ(nics.version, "1.2");
  EXPECT_TRUE(nics.hasInstances);
  EXPECT_EQ(nics.instanceIdProperty, "name");
  EXPECT_FALSE(nics.rebootRequired);

  // The document is the one the store validates with: generated ids show.
  const SchemaInfo& routes = list[2];
  EXPECT_TRUE(routes.hasInstances);
  EXPECT_EQ(routes.instanceIdProperty, "cs_generated_id");
  EXPECT_NE(routes.document.find(R"("cs_generated_id":{"type":"string","instanceId":true})"),
            std::string::npos)
      << routes.document;
}

TEST(SchemaListTest, SeesSchemasLoadedLater) {
  CorvTest::StoreEnvironment env;
  ASSERT_EQ(env.LoadSchemas(R"({"corv": {"a": {"one": {"type": "object"}}}})", "one.json"), 1);
  EXPECT_EQ(ListSchemas().size(), 1u);
  ASSERT_EQ(env.LoadSchemas(R"({"corv": {"a": {"two": {"type": "object"}}}})", "two.json"), 1);
  ASSERT_EQ(ListSchemas().size(), 2u);
  EXPECT_EQ(ListSchemas()[1].key, "two");
}

// A schema store that exists but cannot be read is not one without
// schemas: listing it fails with the database's reason.
TEST(SchemaListTest, ASchemaStoreThatCannotBeReadSaysWhy) {
  CorvTest::StoreEnvironment env;
  std::ofstream(env.SchemaStorePath()) << "this is no database, only some text";
  const std::string message = "Cannot read schemas from " + env.SchemaStorePath();
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { ListSchemas(); }, message,
                                          {"file is not a database"}));
  // A database, but not a schema store: the store database itself (the
  // environment restores the variable).
  ASSERT_TRUE(env.ProvisionStore());
  setenv("CORV_SCHEMASTORE_DB", env.StorePath().c_str(), 1);
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { ListSchemas(); },
                                          "Cannot read schemas from " + env.StorePath(),
                                          {"no such table: Schema"}));
}

}  // namespace
