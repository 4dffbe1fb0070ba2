// Schema objects: every annotation and every answer derived from a key
// schema, and the normalisation of key schemas.
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "core/Json.h"
#include "jsonschema/CompiledSchema.h"
#include "jsonschema/JsonValidator.h"
#include "schema/SchemaNodes.h"
#include "schema/SchemaStore.h"

using CorvConfigStore::JsonDocument;
using CorvConfigStore::JsonToString;
using CorvSchemaStore::MakeSchemaObject;
using CorvSchemaStore::SchemaObject;

namespace {

std::shared_ptr<SchemaObject> Make(const std::string& text, const std::string& key = "k") {
  return MakeSchemaObject("c", "g", key, text);
}

std::string Canonical(const std::string& text) {
  JsonDocument document;
  std::string error;
  EXPECT_TRUE(CorvConfigStore::ParseJson(text.data(), text.size(), document, &error)) << error;
  return JsonToString(document);
}

const char* kNics = R"({
  "type": "array",
  "items": {
    "type": "object",
    "properties": {
      "name": {"type": "string", "instanceId": true},
      "mtu": {"type": "integer", "default": 1500},
      "addresses": {
        "type": "array",
        "items": {"type": "object", "properties": {
          "ip": {"type": "string", "instanceId": true},
          "prefix": {"type": "integer", "default": 24}
        }}
      },
      "routes": {
        "type": "array",
        "items": {"type": "object", "properties": {"to": {"type": "string"}}}
      }
    }
  }
})";

}  // namespace

TEST(SchemaObjectTest, SingletonAnswers) {
  auto schema = Make(R"({"type": "object", "properties": {"a": {"type": "string"}}})", "dns");
  EXPECT_EQ(schema->GetComponent(), "c");
  EXPECT_EQ(schema->GetGroup(), "g");
  EXPECT_EQ(schema->GetKey(), "dns");
  EXPECT_FALSE(schema->HasInstances());
  EXPECT_FALSE(schema->IsInstanceForm());
  EXPECT_EQ(schema->GetInstanceIdProperty(), "");
  EXPECT_EQ(JsonToString(schema->GetInstanceIdMap()), "{}");
  EXPECT_EQ(JsonToString(schema->GetDefaults()), "{}");
  // Documents without members are not shared: they answer no question.
  EXPECT_EQ(schema->SharedInstanceIdMap(), nullptr);
  EXPECT_EQ(schema->SharedDefaults(), nullptr);
  EXPECT_EQ(schema->GetKind(), 0);
  EXPECT_TRUE(schema->GetSystemInstances().empty());
  EXPECT_FALSE(schema->IsRebootRequired());
  EXPECT_FALSE(schema->IsBootExempt());
  EXPECT_TRUE(schema->ApplyDuringUpgrade());
  EXPECT_EQ(schema->GetValueType(), "");
  EXPECT_EQ(schema->GetVersion(), "1.0");
  EXPECT_EQ(&schema->GetValueSchema(), &schema->GetSchemaDocument());
}

TEST(SchemaObjectTest, KeyWithInstancesAndNestedLists) {
  auto schema = Make(kNics, "nics");
  EXPECT_TRUE(schema->HasInstances());
  EXPECT_TRUE(schema->IsInstanceForm());
  EXPECT_EQ(schema->GetInstanceIdProperty(), "name");
  EXPECT_EQ(JsonToString(schema->GetInstanceIdMap()),
            R"({"nics":"name","addresses":"ip","routes":"cs_generated_id"})");
  EXPECT_EQ(&schema->GetValueSchema(), &schema->GetSchemaDocument()["items"]);
  EXPECT_EQ(JsonToString(schema->GetDefaults()), R"({"mtu":1500,"addresses":{"prefix":24}})");
  // The shared handles stand for the same documents, made once.
  ASSERT_NE(schema->SharedInstanceIdMap(), nullptr);
  ASSERT_NE(schema->SharedDefaults(), nullptr);
  EXPECT_EQ(schema->SharedInstanceIdMap()->GetJsonValuePtr(), &schema->GetInstanceIdMap());
  EXPECT_EQ(schema->SharedDefaults()->GetJsonValuePtr(), &schema->GetDefaults());
  EXPECT_EQ(schema->SharedDefaults(), schema->SharedDefaults());
}

TEST(SchemaObjectTest, GeneratedIdDeclaredOnItemsWithoutInstanceId) {
  auto schema = Make(R"({"type": "array", "items": {"type": "object",
      "properties": {"to": {"type": "string"}}}})",
                     "staticRoutes");
  EXPECT_EQ(schema->GetInstanceIdProperty(), "cs_generated_id");
  EXPECT_EQ(JsonToString(schema->GetInstanceIdMap()), R"({"staticRoutes":"cs_generated_id"})");
  EXPECT_EQ(JsonToString(schema->GetSchemaDocument()),
            Canonical(R"({"type": "array", "items": {"type": "object", "properties": {
              "to": {"type": "string"},
              "cs_generated_id": {"type": "string", "instanceId": true}}}})"));
}

TEST(SchemaObjectTest, GeneratedIdDeclaredWhenItemsHaveNoProperties) {
  auto schema = Make(R"({"type": "array", "items": {"type": "object"}})");
  EXPECT_EQ(schema->GetInstanceIdProperty(), "cs_generated_id");
  EXPECT_TRUE(schema->GetValueSchema()["properties"].HasMember("cs_generated_id"));
}

TEST(SchemaObjectTest, ArrayOfScalarsIsNotAList) {
  auto schema = Make(R"({"type": "object", "properties": {
      "servers": {"type": "array", "items": {"type": "string"}}}})");
  EXPECT_EQ(JsonToString(schema->GetInstanceIdMap()), "{}");
  EXPECT_FALSE(
      schema->GetSchemaDocument()["properties"]["servers"]["items"].HasMember("properties"));
}

TEST(SchemaObjectTest, FirstDefinitionOfANameWins) {
  auto schema = Make(R"({"type": "object", "properties": {
      "outer": {"type": "object", "properties": {
        "entries": {"type": "array", "items": {"type": "object", "properties": {
          "id": {"type": "string", "instanceId": true}}}}}},
      "entries": {"type": "array", "items": {"type": "object", "properties": {
          "other": {"type": "string", "instanceId": true}}}}}})");
  EXPECT_EQ(JsonToString(schema->GetInstanceIdMap()), R"({"entries":"id"})");
}

TEST(SchemaObjectTest, KeyNameComesFirstInTheMap) {
  auto schema = Make(R"({"type": "array", "items": {"type": "object", "properties": {
      "id": {"type": "string", "instanceId": true},
      "list": {"type": "array", "items": {"type": "object", "properties": {
        "x": {"type": "string", "instanceId": true}}}}}}})",
                     "list");
  EXPECT_EQ(JsonToString(schema->GetInstanceIdMap()), R"({"list":"id"})");
}

// The map's entry for the schema's own key, kept for every read of the
// key's rows, is the one a look-up in the shared map finds.
TEST(SchemaObjectTest, KeyInstanceIdEntryIsTheMapsEntryForTheKey) {
  auto expectEntry = [](const std::shared_ptr<SchemaObject>& schema, const char* expected) {
    std::string found;
    const bool inMap = CorvSchemaStore::FindInstanceIdProperty(
        schema->SharedInstanceIdMap().get(), schema->GetKey(), &found);
    const std::string* entry = schema->KeyInstanceIdEntry();
    ASSERT_EQ(entry != nullptr, inMap) << schema->GetKey();
    ASSERT_EQ(entry != nullptr, expected != nullptr) << schema->GetKey();
    if (entry != nullptr) {
      EXPECT_EQ(*entry, found);
      EXPECT_EQ(*entry, expected);
    }
  };
  expectEntry(Make(kNics, "nics"), "name");
  // Without an instance-id property the items get the generated one.
  expectEntry(Make(R"({"type": "array", "items": {"type": "object", "properties": {
                  "a": {"type": "string"}}}})",
                   "plain"),
              "cs_generated_id");
  // A singleton has none, unless one of its lists bears the key's name.
  expectEntry(Make(R"({"type": "object", "properties": {"a": {"type": "string"}}})", "dns"),
              nullptr);
  expectEntry(Make(R"({"type": "object", "properties": {
                  "hosts": {"type": "array", "items": {"type": "object", "properties": {
                    "ip": {"type": "string", "instanceId": true}}}}}})",
                   "hosts"),
              "ip");
  expectEntry(Make(R"({"type": "object", "properties": {
                  "hosts": {"type": "array", "items": {"type": "object", "properties": {
                    "ip": {"type": "string", "instanceId": true}}}}}})",
                   "dns"),
              nullptr);
}

TEST(SchemaObjectTest, DefaultsOfNestedObjectsAndLists) {
  auto schema = Make(R"({"type": "object", "properties": {
      "enabled": {"type": "boolean", "default": true},
      "servers": {"type": "array", "items": {"type": "string"}, "default": ["a", "b"]},
      "nothing": {"type": "string"},
      "limits": {"type": "object", "properties": {
        "low": {"type": "integer", "default": 1},
        "deep": {"type": "object", "properties": {"x": {"type": "string", "default": "y"}}},
        "bare": {"type": "object", "properties": {"z": {"type": "string"}}}}},
      "explicit": {"type": "object", "default": {"q": 1},
                   "properties": {"q": {"type": "integer", "default": 2}}},
      "pools": {"type": "array", "default": [],
                "items": {"type": "object", "properties": {
                  "name": {"type": "string", "instanceId": true},
                  "size": {"type": "integer", "default": 8}}}},
      "plain": {"type": "array", "default": [{"name": "p"}],
                "items": {"type": "object", "properties": {
                  "name": {"type": "string", "instanceId": true}}}}}})");
  EXPECT_EQ(JsonToString(schema->GetDefaults()),
            Canonical(R"({"enabled": true, "servers": ["a", "b"],
              "limits": {"low": 1, "deep": {"x": "y"}}, "explicit": {"q": 1},
              "pools": {"size": 8}, "plain": [{"name": "p"}]})"));
}

TEST(SchemaObjectTest, DefaultsOfAKeyWithInstancesAreThoseOfOneInstance) {
  auto schema = Make(R"({"type": "array", "items": {"type": "object", "properties": {
      "name": {"type": "string", "instanceId": true},
      "on": {"type": "boolean", "default": false}}}})");
  EXPECT_EQ(JsonToString(schema->GetDefaults()), R"({"on":false})");
}

TEST(SchemaObjectTest, Kinds) {
  EXPECT_EQ(Make(R"({"type": "object", "vital": true})")->GetKind(), 1);
  EXPECT_EQ(Make(R"({"type": "object", "cached": true})")->GetKind(), 3);
  EXPECT_EQ(Make(R"({"type": "object", "internal": true})")->GetKind(), 4);
  EXPECT_EQ(Make(R"({"type": "object", "vital": true, "internal": true})")->GetKind(), 1);
  auto system = Make(R"({"type": "array", "systemInstances": ["lo", "mgmt"],
      "items": {"type": "object", "properties": {"name": {"type": "string", "instanceId": true}}}})");
  EXPECT_EQ(system->GetKind(), 5);
  ASSERT_EQ(system->GetSystemInstances().size(), 2u);
  EXPECT_EQ(system->GetSystemInstances()[0], "lo");
  EXPECT_EQ(system->GetSystemInstances()[1], "mgmt");
  EXPECT_EQ(Make(R"({"type": "object", "systemInstances": []})")->GetKind(), 0);
  EXPECT_EQ(Make(R"({"type": "object", "properties": {"m": {"type": "string", "vital": true}}})")
                ->GetKind(),
            0);
}

TEST(SchemaObjectTest, RootVitalOrCachedOfAKeyWithInstancesReachesItsItems) {
  auto vital = Make(R"({"type": "array", "vital": true, "items": {"type": "object",
      "properties": {"name": {"type": "string", "instanceId": true}}}})");
  EXPECT_EQ(vital->GetKind(), 1);
  EXPECT_TRUE(vital->GetValueSchema()["vital"].GetBool());
  auto cached = Make(R"({"type": "array", "cached": true, "items": {"type": "object"}})");
  EXPECT_EQ(cached->GetKind(), 3);
  EXPECT_TRUE(cached->GetValueSchema()["cached"].GetBool());
  EXPECT_FALSE(cached->GetValueSchema().HasMember("vital"));
}

TEST(SchemaObjectTest, RootAnnotations) {
  auto schema = Make(R"({"type": "object", "tags": ["other", "@rebootRequiredConfigStore"],
      "bootExempt": true, "applyDuringUpgrade": false, "valueType": "corv-shared",
      "version": "2.3"})");
  EXPECT_TRUE(schema->IsRebootRequired());
  EXPECT_TRUE(schema->IsBootExempt());
  EXPECT_FALSE(schema->ApplyDuringUpgrade());
  EXPECT_EQ(schema->GetValueType(), "corv-shared");
  EXPECT_EQ(schema->GetVersion(), "2.3");
  EXPECT_FALSE(Make(R"({"type": "object", "tags": ["other"]})")->IsRebootRequired());
  EXPECT_TRUE(Make(R"({"type": "object", "applyDuringUpgrade": true})")->ApplyDuringUpgrade());
}

TEST(SchemaObjectTest, NormalisationIsIdempotent) {
  JsonDocument once;
  std::string error;
  ASSERT_TRUE(
      CorvConfigStore::ParseJson(kNics, std::char_traits<char>::length(kNics), once, &error));
  CorvSchemaStore::NormaliseKeySchema(once, once.GetAllocator());
  std::string first = JsonToString(once);
  CorvSchemaStore::NormaliseKeySchema(once, once.GetAllocator());
  EXPECT_EQ(JsonToString(once), first);
  // A schema object made from a normalised document answers as one made
  // from the raw text.
  auto fromRaw = Make(kNics, "nics");
  SchemaObject fromNormalised("c", "g", "nics", once);
  EXPECT_EQ(JsonToString(fromRaw->GetSchemaDocument()),
            JsonToString(fromNormalised.GetSchemaDocument()));
  EXPECT_EQ(JsonToString(fromRaw->GetInstanceIdMap()),
            JsonToString(fromNormalised.GetInstanceIdMap()));
}

TEST(SchemaObjectTest, ReservedPropertyWithoutInstanceIdIsRedeclared) {
  auto schema = Make(R"({"type": "array", "items": {"type": "object", "properties": {
      "cs_generated_id": {"type": "integer"}}}})");
  EXPECT_EQ(JsonToString(schema->GetValueSchema()["properties"]),
            R"({"cs_generated_id":{"type":"string","instanceId":true}})");
}

TEST(SchemaObjectTest, DocumentMustBeAnObject) {
  try {
    Make("[1]");
    FAIL() << "no exception";
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 2000);
    EXPECT_STREQ(e.what(), "Schema of c.g.k is not a JSON object");
  }
  try {
    Make("{");
    FAIL() << "no exception";
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 2000);
    EXPECT_EQ(std::string(e.what()).rfind("Schema of c.g.k is not valid JSON: ", 0), 0u)
        << e.what();
  }
}

TEST(SchemaObjectTest, CompiledSchemaIsMadeOnceForEveryThread) {
  auto schema = Make(kNics, "nics");
  std::vector<const JsonValidator::CompiledSchema*> seen(4, nullptr);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] { seen[t] = &schema->GetCompiledSchema(); });
  for (auto& thread : threads) thread.join();
  ASSERT_NE(seen[0], nullptr);
  EXPECT_EQ(seen, std::vector<const JsonValidator::CompiledSchema*>(4, seen[0]));
  EXPECT_EQ(&schema->GetCompiledSchema(), seen[0]);
}

TEST(SchemaObjectTest, CompiledSchemaIsTheNormalisedDocument) {
  // An instance validates against the items, generated id declared.
  auto schema = Make(R"({"type": "array", "items": {"type": "object", "properties": {
      "size": {"type": "integer"}}}})");
  JsonDocument value;
  const char* text = R"({"cs_generated_id": 7, "size": "x"})";
  ASSERT_TRUE(CorvConfigStore::ParseJson(text, std::strlen(text), value, nullptr));
  JsonValidator::ErrorList errors;
  JsonValidator::Validate(schema->GetCompiledSchema(), value, errors, {0, 8}, "");
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].field, "/cs_generated_id");
  EXPECT_EQ(errors[0].error, "expected type string, found number");
  EXPECT_EQ(errors[1].field, "/size");
  EXPECT_EQ(errors[1].error, "expected type integer, found string");
}
