// Schemas of whole documents built from the schema store, what the validator
// reports against them, and the completion of generated instance ids.
#include <gtest/gtest.h>

#include <set>
#include <string>

#include "core/Json.h"
#include "jsonschema/JsonValidator.h"
#include "schema/SchemaStore.h"
#include "support/ParseJsonText.h"
#include "support/StoreEnvironment.h"

using CorvConfigStore::JsonDocument;
using CorvConfigStore::JsonToString;
using CorvSchemaStore::GenerateSchemaDocument;
using CorvSchemaStore::PopulateGeneratedInstanceId;
using CorvSchemaStore::SchemaStore;

namespace {

const char* kSchemas = R"({"corv": {
  "net": {
    "dns": {"type": "object", "properties": {
      "servers": {"type": "array", "items": {"type": "string"}},
      "entries": {"type": "array", "items": {"type": "object", "properties": {
        "host": {"type": "string"}}}}}},
    "nics": {"type": "array", "items": {"type": "object", "properties": {
      "name": {"type": "string", "instanceId": true},
      "mtu": {"type": "integer"}}}},
    "staticRoutes": {"type": "array", "items": {"type": "object", "properties": {
      "to": {"type": "string"}}}}},
  "time": {"ntp": {"type": "object"}}}})";

using CorvTest::Parse;

// The validator's records for value against schema, as "field: error" lines.
std::vector<std::string> Records(const JsonDocument& schema, const JsonDocument& value) {
  JsonDocument result;
  JsonValidator::Validate(schema, value, result, {0, 1, 7, 8}, "");
  std::vector<std::string> records;
  for (const auto& record : result.GetArray())
    records.push_back(std::string(record["field"].GetString()) + ": " +
                      record["error"].GetString());
  return records;
}

class GenerateSchemaDocumentTest : public ::testing::Test {
 protected:
  void SetUp() override { env_.LoadSchemas(kSchemas); }

  JsonDocument Generate(const JsonDocument& value) {
    JsonDocument schema, scratch;
    GenerateSchemaDocument(value, SchemaStore::GetCache(), schema, scratch);
    EXPECT_TRUE(scratch.IsNull());
    return schema;
  }

  std::string StoredSchema(const char* group, const char* key) {
    return JsonToString(
        SchemaStore::GetCache()->GetSchema("corv", group, key)->GetSchemaDocument());
  }

  CorvTest::StoreEnvironment env_;
};

}  // namespace

TEST_F(GenerateSchemaDocumentTest, ClosedObjectsWithEachKnownKeySchemaInPlace) {
  JsonDocument value = Parse(R"({"corv": {"net": {"nics": [], "dns": {}}, "time": {"ntp": {}}}})");
  JsonDocument schema = Generate(value);
  std::string closed = R"({"type":"object","additionalProperties":false,"properties":)";
  EXPECT_EQ(JsonToString(schema), closed + "{\"corv\":" + closed + "{\"net\":" + closed +
                                      "{\"nics\":" + StoredSchema("net", "nics") + ",\"dns\":" +
                                      StoredSchema("net", "dns") + "}},\"time\":" + closed +
                                      "{\"ntp\":" + StoredSchema("time", "ntp") + "}}}}}}");
  EXPECT_TRUE(schema["properties"]["corv"]["properties"]["net"]["properties"]["nics"]["items"]
                    ["properties"]["name"]["instanceId"]
                        .GetBool());
  EXPECT_TRUE(Records(schema, value).empty());
}

TEST_F(GenerateSchemaDocumentTest, OnlyNamesOfTheDocumentAreIncluded) {
  JsonDocument schema = Generate(Parse(R"({"corv": {"net": {"dns": {}}}})"));
  const auto& net = schema["properties"]["corv"]["properties"]["net"]["properties"];
  EXPECT_EQ(net.MemberCount(), 1u);
  EXPECT_FALSE(schema["properties"]["corv"]["properties"].HasMember("time"));
}

TEST_F(GenerateSchemaDocumentTest, UnknownNamesAreReportedAtTheirPointer) {
  JsonDocument value = Parse(R"({"corvx": {}, "corv": {"netx": {},
      "net": {"dnsx": {}, "dns": {"servers": ["a"]}}}})");
  JsonDocument schema = Generate(value);
  std::vector<std::string> records = Records(schema, value);
  ASSERT_EQ(records.size(), 3u);
  // Each record's pointer names the unknown component, group or key, and so
  // does its text.
  EXPECT_EQ(records[0].rfind("/corvx: ", 0), 0u) << records[0];
  EXPECT_NE(records[0].find("\"corvx\""), std::string::npos) << records[0];
  EXPECT_EQ(records[1].rfind("/corv/netx: ", 0), 0u) << records[1];
  EXPECT_NE(records[1].find("\"netx\""), std::string::npos) << records[1];
  EXPECT_EQ(records[2].rfind("/corv/net/dnsx: ", 0), 0u) << records[2];
  EXPECT_NE(records[2].find("\"dnsx\""), std::string::npos) << records[2];
}

TEST_F(GenerateSchemaDocumentTest, ValuesAreCheckedAgainstTheirKeySchema) {
  JsonDocument value = Parse(R"({"corv": {"net": {"nics": [{"name": "eth0", "mtu": "big"}],
      "dns": 3}, "time": []}})");
  std::vector<std::string> records = Records(Generate(value), value);
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].rfind("/corv/net/nics/0/mtu: ", 0), 0u) << records[0];
  EXPECT_EQ(records[1].rfind("/corv/net/dns: ", 0), 0u) << records[1];
  EXPECT_EQ(records[2].rfind("/corv/time: ", 0), 0u) << records[2];
}

TEST_F(GenerateSchemaDocumentTest, ANonObjectDocumentGetsTheClosedRootOnly) {
  JsonDocument schema = Generate(Parse("[1]"));
  EXPECT_EQ(JsonToString(schema),
            R"({"type":"object","additionalProperties":false,"properties":{}})");
}

TEST_F(GenerateSchemaDocumentTest, ANullCacheMeansTheProcessCache) {
  JsonDocument value = Parse(R"({"corv": {"time": {"ntp": {}}}})");
  JsonDocument schema, scratch;
  GenerateSchemaDocument(value, nullptr, schema, scratch);
  EXPECT_TRUE(schema["properties"]["corv"]["properties"]["time"]["properties"].HasMember("ntp"));
}

TEST_F(GenerateSchemaDocumentTest, WithoutSchemaStoreEveryNameIsUnknown) {
  CorvTest::StoreEnvironment empty;
  JsonDocument value = Parse(R"({"corv": {"time": {"ntp": {}}}})");
  std::vector<std::string> records = Records(Generate(value), value);
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].rfind("/corv: ", 0), 0u) << records[0];
}

TEST_F(GenerateSchemaDocumentTest, GeneratedIdsAreCompletedInWholeDocuments) {
  JsonDocument value = Parse(R"({"corv": {"net": {
      "staticRoutes": [{"to": "a"}, {"to": "b", "cs_generated_id": "kept"}],
      "nics": [{"name": "eth0"}],
      "dns": {"entries": [{"host": "h"}], "servers": ["s"]}}}})");
  JsonDocument schema = Generate(value);
  PopulateGeneratedInstanceId(schema, value, value.GetAllocator());
  const auto& net = value["corv"]["net"];
  ASSERT_TRUE(net["staticRoutes"][0].HasMember("cs_generated_id"));
  std::string generated = net["staticRoutes"][0]["cs_generated_id"].GetString();
  EXPECT_EQ(generated.size(), 36u);
  EXPECT_STREQ(net["staticRoutes"][1]["cs_generated_id"].GetString(), "kept");
  EXPECT_EQ(JsonToString(net["nics"]), R"([{"name":"eth0"}])");
  ASSERT_TRUE(net["dns"]["entries"][0].HasMember("cs_generated_id"));
  EXPECT_NE(net["dns"]["entries"][0]["cs_generated_id"].GetString(), generated);
  EXPECT_EQ(JsonToString(net["dns"]["servers"]), R"(["s"])");
}

TEST_F(GenerateSchemaDocumentTest, GeneratedIdsAreCompletedAgainstAKeySchema) {
  auto routes = SchemaStore::GetCache()->GetSchema("corv", "net", "staticRoutes");
  // One instance given on its own.
  JsonDocument one = Parse(R"({"to": "a"})");
  PopulateGeneratedInstanceId(routes->GetSchemaDocument(), one, one.GetAllocator());
  EXPECT_TRUE(one["cs_generated_id"].IsString());
  // A list of instances, each given a different id.
  JsonDocument list = Parse(R"([{"to": "a"}, {"to": "b"}, {"to": "c"}])");
  PopulateGeneratedInstanceId(routes->GetSchemaDocument(), list, list.GetAllocator());
  std::set<std::string> ids;
  for (const auto& instance : list.GetArray()) ids.insert(instance["cs_generated_id"].GetString());
  EXPECT_EQ(ids.size(), 3u);
  // Keys with named instance ids and values of other shapes are left alone.
  auto nics = SchemaStore::GetCache()->GetSchema("corv", "net", "nics");
  JsonDocument nic = Parse(R"({"name": "eth0", "mtu": 1})");
  PopulateGeneratedInstanceId(nics->GetSchemaDocument(), nic, nic.GetAllocator());
  EXPECT_EQ(JsonToString(nic), R"({"name":"eth0","mtu":1})");
  JsonDocument scalar = Parse("7");
  PopulateGeneratedInstanceId(routes->GetSchemaDocument(), scalar, scalar.GetAllocator());
  EXPECT_EQ(JsonToString(scalar), "7");
  JsonDocument mixed = Parse(R"([1, {"to": "x"}])");
  PopulateGeneratedInstanceId(routes->GetSchemaDocument(), mixed, mixed.GetAllocator());
  EXPECT_EQ(mixed[0].GetInt(), 1);
  EXPECT_TRUE(mixed[1].HasMember("cs_generated_id"));
}

TEST_F(GenerateSchemaDocumentTest, OnlySchemasNamingVitalOrCachedMayTagLayers) {
  // Untagged, at any depth, through properties and items.
  EXPECT_FALSE(CorvSchemaStore::MayTagLayers(
      Parse(R"({"type": "object", "properties": {"a": {"type": "array", "items": {"type":
      "object", "properties": {"id": {"type": "string", "instanceId": true}}}}, "b":
      {"type": "object", "properties": {"c": {"type": "integer"}}}}})")));
  EXPECT_FALSE(CorvSchemaStore::MayTagLayers(Parse("true")));
  // A tag deep down, or only a member of that name (a property called
  // "cached" is no tag, but the answer may be too wide, never too narrow).
  EXPECT_TRUE(CorvSchemaStore::MayTagLayers(
      Parse(R"({"type": "object", "properties": {"a": {"type": "array", "items": {"type":
      "object", "properties": {"up": {"type": "integer", "vital": true}}}}}})")));
  EXPECT_TRUE(CorvSchemaStore::MayTagLayers(
      Parse(R"({"type": "object", "properties": {"cached": {"type": "string"}}})")));
  EXPECT_TRUE(CorvSchemaStore::MayTagLayers(Parse(R"({"anyOf": [{"cached": true}]})")));
  // A schema object answers for its value schema, once.
  auto made = CorvSchemaStore::MakeSchemaObject("corv", "net", "plain",
                               R"({"type": "array", "items": {"type": "object", "properties":
                               {"name": {"type": "string", "instanceId": true}}}})");
  EXPECT_FALSE(made->MayTagLayers());
  auto tagged = CorvSchemaStore::MakeSchemaObject("corv", "net", "tagged",
                                 R"({"type": "object", "properties": {"speed": {"type":
                                 "integer", "vital": true}}})");
  EXPECT_TRUE(tagged->MayTagLayers());
}

TEST_F(GenerateSchemaDocumentTest, OnlySchemasWithGeneratedIdsCanChangeAValue) {
  auto schemaOf = [](const char* key) {
    return SchemaStore::GetCache()->GetSchema("corv", "net", key);
  };
  // A list with generated ids, at the root or below a member.
  EXPECT_TRUE(CorvSchemaStore::UsesGeneratedIds(schemaOf("staticRoutes")->GetSchemaDocument()));
  EXPECT_TRUE(CorvSchemaStore::UsesGeneratedIds(schemaOf("dns")->GetSchemaDocument()));
  // Named instance ids, plain values and lists of them.
  EXPECT_FALSE(CorvSchemaStore::UsesGeneratedIds(schemaOf("nics")->GetSchemaDocument()));
  // A schema object answers the same, once for all its objects.
  EXPECT_TRUE(schemaOf("staticRoutes")->UsesGeneratedIds());
  EXPECT_TRUE(schemaOf("dns")->UsesGeneratedIds());
  EXPECT_FALSE(schemaOf("nics")->UsesGeneratedIds());
  EXPECT_FALSE(CorvSchemaStore::UsesGeneratedIds(
      Parse(R"({"type": "object", "properties": {"a": {"type": "array", "items": {"type":
      "string"}}, "b": {"type": "object", "properties": {"c": {"type": "integer"}}}}})")));
  EXPECT_FALSE(CorvSchemaStore::UsesGeneratedIds(Parse("true")));
  // A whole document's schema uses them when one of its keys does.
  JsonDocument nicsOnly = Parse(R"({"corv": {"net": {"nics": [{"name": "eth0"}]}}})");
  EXPECT_FALSE(CorvSchemaStore::UsesGeneratedIds(Generate(nicsOnly)));
  JsonDocument withRoutes =
      Parse(R"({"corv": {"net": {"nics": [{"name": "eth0"}], "staticRoutes": []}}})");
  EXPECT_TRUE(CorvSchemaStore::UsesGeneratedIds(Generate(withRoutes)));
}
