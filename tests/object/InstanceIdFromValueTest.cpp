// Reading the instance id of an instance value through its key's schema.
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include "core/Throw.h"
#include "object/InstanceIdFromValue.h"
#include "schema/SchemaStore.h"
#include "support/ParseJsonText.h"

using CorvConfigStore::ConfigStoreException;
using CorvConfigStore::GetInstanceIdFromValue;
using CorvConfigStore::JsonDocument;

namespace {

using CorvTest::Parse;

const char* kNamed = R"({"type": "array", "items": {"type": "object", "properties": {
    "name": {"type": "string", "instanceId": true}, "mtu": {"type": "integer"}}}})";

// The text of code 1032 for a property.
std::string Missing(const char* property) {
  return CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1032), property);
}

void ExpectMissing(const std::string& valueText,
                   const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
                   const std::string& message) {
  JsonDocument value = Parse(valueText);
  try {
    GetInstanceIdFromValue(value, schema);
    FAIL() << "no exception for " << valueText;
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1032);
    EXPECT_EQ(std::string(e.what()), message);
  }
}

}  // namespace

TEST(InstanceIdFromValueTest, ReadsTheNamedProperty) {
  auto schema = CorvSchemaStore::MakeSchemaObject("corv", "net", "nics", kNamed);
  EXPECT_EQ(GetInstanceIdFromValue(Parse(R"({"mtu": 9000, "name": "eth0"})"), schema), "eth0");
  EXPECT_EQ(GetInstanceIdFromValue(Parse(R"({"name": ""})"), schema), "");
}

TEST(InstanceIdFromValueTest, ReadsGeneratedIds) {
  auto schema = CorvSchemaStore::MakeSchemaObject(
      "corv", "net", "staticRoutes",
      R"({"type": "array", "items": {"type": "object", "properties": {"to": {"type": "string"}}}})");
  EXPECT_EQ(GetInstanceIdFromValue(Parse(R"({"to": "x", "cs_generated_id": "g-1"})"), schema),
            "g-1");
  ExpectMissing(R"({"to": "x"})", schema, Missing("cs_generated_id"));
}

TEST(InstanceIdFromValueTest, SingletonAndMissingSchemaGiveEmpty) {
  auto singleton = CorvSchemaStore::MakeSchemaObject(
      "corv", "net", "dns", R"({"type": "object", "properties": {"name": {"type": "string"}}})");
  EXPECT_EQ(GetInstanceIdFromValue(Parse(R"({"name": "eth0"})"), singleton), "");
  EXPECT_EQ(GetInstanceIdFromValue(Parse("[1, 2]"), singleton), "");
  EXPECT_EQ(GetInstanceIdFromValue(Parse(R"({"name": "eth0"})"), nullptr), "");
}

TEST(InstanceIdFromValueTest, MissingOrNonStringPropertyRaises1032) {
  auto schema = CorvSchemaStore::MakeSchemaObject("corv", "net", "nics", kNamed);
  const std::string message = Missing("name");
  ExpectMissing(R"({"mtu": 1500})", schema, message);
  ExpectMissing(R"({"name": 7})", schema, message);
  ExpectMissing(R"({"name": null})", schema, message);
  ExpectMissing(R"(["eth0"])", schema, message);
  ExpectMissing(R"("eth0")", schema, message);
}
