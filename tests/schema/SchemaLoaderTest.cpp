// Loading schema files into the schema store: the checks of names and key
// schemas, the all-or-nothing transaction, the Schema table and the
// SmartnicSchema view, and what the process-wide cache sees afterwards.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <thread>
#include <vector>

#include "sqlite/DBStore.h"
#include "schema/SchemaDatabase.h"
#include "schema/SchemaStore.h"
#include "support/FailureDetails.h"
#include "support/LogCapture.h"
#include "support/StoreEnvironment.h"

using CorvConfigStore::ConfigStoreException;
using CorvConfigStore::LoadSchemaFile;
using CorvSchemaStore::SchemaStore;

namespace {

const char* kDns = R"({"corv": {"net": {"dns": {"type": "object", "properties": {
    "servers": {"type": "array", "items": {"type": "string", "format": "ipv4"}}}}}}})";

class SchemaLoaderTest : public ::testing::Test {
 protected:
  // Loading text must fail with code 2000 and exactly this message.
  void ExpectRefused(const std::string& text, const std::string& message) {
    try {
      env_.LoadSchemas(text, "refused.json");
      ADD_FAILURE() << "loaded: " << text;
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(e.GetErrorCode(), 2000);
      EXPECT_EQ(std::string(e.what()), message);
    }
  }
  // A file holding one key corv.net.k with the given key schema.
  static std::string OneKey(const std::string& schema) {
    return R"({"corv": {"net": {"k": )" + schema + "}}}";
  }
  void ExpectKeyRefused(const std::string& schema, const std::string& message) {
    ExpectRefused(OneKey(schema), message);
  }

  CorvTest::StoreEnvironment env_;
};

}  // namespace

TEST_F(SchemaLoaderTest, LoadsKeysIntoANewDatabaseWithMode0600) {
  EXPECT_EQ(env_.LoadSchemas(R"({"corv": {"net": {
      "dns": {"type": "object"},
      "nics": {"type": "array", "items": {"type": "object", "properties": {
        "name": {"type": "string", "instanceId": true}}}}},
    "time": {"ntp": {"type": "object"}}}})"),
            3);
  struct stat status;
  ASSERT_EQ(stat(env_.SchemaStorePath().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600u);
  auto nics = SchemaStore::GetStore()->GetSchema("corv", "net", "nics");
  ASSERT_TRUE(nics);
  EXPECT_EQ(nics->GetInstanceIdProperty(), "name");
  EXPECT_TRUE(SchemaStore::GetCache()->GetSchema("corv", "time", "ntp"));
  EXPECT_FALSE(SchemaStore::GetCache()->GetSchema("corv", "time", "nics"));
  EXPECT_TRUE(SchemaStore::GetCache()->HasComponent("corv"));
  EXPECT_FALSE(SchemaStore::GetCache()->HasComponent("net"));
  EXPECT_TRUE(SchemaStore::GetCache()->HasGroup("corv", "time"));
  EXPECT_FALSE(SchemaStore::GetCache()->HasGroup("corv", "boot"));
  auto all = SchemaStore::GetCache()->GetAllSchemas();
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0]->GetKey(), "dns");
  EXPECT_EQ(all[1]->GetKey(), "nics");
  EXPECT_EQ(all[2]->GetGroup(), "time");
}

TEST_F(SchemaLoaderTest, StoresNormalisedDocumentsVersionAndValueType) {
  env_.LoadSchemas(R"({"corv": {"net": {
      "routes": {"type": "array", "version": "2.1", "valueType": "corv-shared",
                 "items": {"type": "object", "properties": {"to": {"type": "string"}}}},
      "dns": {"type": "object"}}}})");
  EXPECT_EQ(CorvTest::QueryRows(
                env_.SchemaStorePath(),
                "SELECT Component, ConfigGroup, Name, Version, ValueType, Document FROM Schema "
                "ORDER BY Name"),
            (std::vector<std::string>{
                R"(corv|net|dns|1.0|NULL|{"type":"object"})",
                R"(corv|net|routes|2.1|corv-shared|{"type":"array","version":"2.1",)"
                R"("valueType":"corv-shared","items":{"type":"object","properties":{"to":)"
                R"({"type":"string"},"cs_generated_id":{"type":"string","instanceId":true}}}})"}));
}

TEST_F(SchemaLoaderTest, SmartnicSchemaViewListsValueTypes) {
  env_.LoadSchemas(R"({"corv": {"net": {
      "shared": {"type": "object", "valueType": "corv-shared"},
      "local": {"type": "object"}}}})");
  EXPECT_EQ(CorvTest::QueryRows(
                env_.SchemaStorePath(),
                "SELECT Component, ConfigGroup, Name, ValueType FROM SmartnicSchema ORDER BY Name"),
            (std::vector<std::string>{"corv|net|local|NULL", "corv|net|shared|corv-shared"}));
  EXPECT_EQ(CorvTest::QueryRows(env_.SchemaStorePath(),
                                "SELECT Name FROM SmartnicSchema WHERE ValueType = 'corv-shared'"),
            (std::vector<std::string>{"shared"}));
}

TEST_F(SchemaLoaderTest, UnknownKeywordsAreRefusedNamingKeyAndKeyword) {
  ExpectRefused(R"({"corv": {"net": {"dns": {"type": "object", "properties": {
      "mtu": {"type": "integer", "minimun": 68}}}}}})",
                "Unknown keyword \"minimun\" in schema of corv.net.dns at /properties/mtu");
  ExpectKeyRefused(R"({"type": "object", "vitle": true})",
                   "Unknown keyword \"vitle\" in schema of corv.net.k at /");
  ExpectKeyRefused(R"({"type": "array", "items": {"type": "object", "properties": {
      "a/b": {"type": "object", "$ref": "#/x"}}}})",
                   "Unknown keyword \"$ref\" in schema of corv.net.k at /items/properties/a~1b");
  ExpectKeyRefused(R"({"type": "object", "allOf": [{"type": "object"}, {"if": true}]})",
                   "Unknown keyword \"if\" in schema of corv.net.k at /allOf/1");
  ExpectKeyRefused(R"({"type": "object", "additionalProperties": {"contains": {}}})",
                   "Unknown keyword \"contains\" in schema of corv.net.k at /additionalProperties");
  ExpectKeyRefused(R"({"type": "object", "patternProperties": {"^x": {"definitions": {}}}})",
                   "Unknown keyword \"definitions\" in schema of corv.net.k at "
                   "/patternProperties/^x");
}

TEST_F(SchemaLoaderTest, EverySupportedKeywordAndAnnotationLoads) {
  EXPECT_EQ(env_.LoadSchemas(OneKey(R"({
      "type": "array", "title": "t", "description": "d", "$comment": "c", "examples": [],
      "version": "3.0", "tags": ["@rebootRequiredConfigStore"], "bootExempt": true,
      "applyDuringUpgrade": false, "valueType": "corv-shared", "internal": true,
      "systemInstances": ["lo"], "vital": true, "minItems": 0, "maxItems": 9,
      "uniqueItems": true,
      "items": {"type": "object", "required": ["name"], "additionalProperties": false,
        "minProperties": 1, "maxProperties": 10,
        "properties": {
          "name": {"type": "string", "instanceId": true, "minLength": 1, "maxLength": 15,
                   "pattern": "^[a-z]+$"},
          "n": {"type": ["integer", "null"], "minimum": 0, "maximum": 9, "exclusiveMinimum": -1,
                "exclusiveMaximum": 10, "multipleOf": 1, "default": 1},
          "e": {"enum": ["a", "b"], "const": "a", "readOnly": true, "solutionUser": true},
          "c": {"cached": true, "not": {"type": "null"}, "anyOf": [true, {"type": "string"}],
                "oneOf": [{"format": "mac"}, {"format": "uuid"}],
                "allOf": [{"format": "ipv4"}, {"format": "ipv6"}, {"format": "hostname"}]},
          "p": {"type": "object", "patternProperties": {"^x-": {"type": "string"}},
                "additionalProperties": {"type": "integer"}}}}})")),
            1);
  auto schema = SchemaStore::GetCache()->GetSchema("corv", "net", "k");
  ASSERT_TRUE(schema);
  EXPECT_EQ(schema->GetKind(), 1);
  EXPECT_EQ(schema->GetVersion(), "3.0");
}

TEST_F(SchemaLoaderTest, FlagsWrittenFalseAreRefused) {
  for (const char* flag : {"vital", "cached", "solutionUser"}) {
    ExpectKeyRefused(std::string(R"({"type": "object", "properties": {"x": {"type": "string", ")") +
                         flag + R"(": false}}})",
                     std::string("Keyword \"") + flag +
                         "\" in schema of corv.net.k at /properties/x must be true");
  }
  ExpectKeyRefused(R"({"type": "object", "vital": 1})",
                   "Keyword \"vital\" in schema of corv.net.k at / must be true");
  ExpectKeyRefused(R"({"type": "array", "items": {"type": "object", "properties": {
      "id": {"type": "string", "instanceId": false}}}})",
                   "Keyword \"instanceId\" in schema of corv.net.k at /items/properties/id "
                   "must be true");
}

TEST_F(SchemaLoaderTest, InstanceIdOnlyOnOneStringPropertyOfItems) {
  const std::string where = "is allowed only on a string property of the items of an array";
  ExpectKeyRefused(
      R"({"type": "array", "items": {"type": "object", "properties": {
      "id": {"type": "integer", "instanceId": true}}}})",
      "Keyword \"instanceId\" in schema of corv.net.k at /items/properties/id " + where);
  ExpectKeyRefused(R"({"type": "object", "properties": {
      "id": {"type": "string", "instanceId": true}}})",
                   "Keyword \"instanceId\" in schema of corv.net.k at /properties/id " + where);
  ExpectKeyRefused(R"({"type": "array", "items": {"type": "object", "properties": {
      "a": {"type": "string", "instanceId": true},
      "b": {"type": "string", "instanceId": true}}}})",
                   "Keyword \"instanceId\" in schema of corv.net.k at /items is given to more "
                   "than one property");
  ExpectKeyRefused(R"({"type": "array", "items": {"type": "object", "properties": {
      "cs_generated_id": {"type": "string"}}}})",
                   "Property \"cs_generated_id\" in schema of corv.net.k at "
                   "/items/properties/cs_generated_id is reserved for generated instance ids");
}

TEST_F(SchemaLoaderTest, KeywordValuesOfTheWrongFormAreRefused) {
  auto at = [](const char* keyword, const char* pointer, const char* fault) {
    return std::string("Keyword \"") + keyword + "\" in schema of corv.net.k at " + pointer + " " +
           fault;
  };
  ExpectKeyRefused(R"({"type": "object", "tags": "x"})",
                   at("tags", "/", "must be a list of strings"));
  ExpectKeyRefused(R"({"type": "object", "version": 2})",
                   at("version", "/", "must be a non-empty string"));
  ExpectKeyRefused(R"({"type": "object", "valueType": ""})",
                   at("valueType", "/", "must be a non-empty string"));
  ExpectKeyRefused(R"({"type": "object", "bootExempt": "yes"})",
                   at("bootExempt", "/", "must be true or false"));
  ExpectKeyRefused(R"({"type": "object", "systemInstances": ["lo"]})",
                   at("systemInstances", "/", "is allowed only on a key with instances"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"version": "1"}}})",
                   at("version", "/properties/x", "is allowed only at the key root"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"tags": []}}})",
                   at("tags", "/properties/x", "is allowed only at the key root"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"minimum": "1"}}})",
                   at("minimum", "/properties/x", "must be a number"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"maxLength": -1}}})",
                   at("maxLength", "/properties/x", "must be a non-negative integer"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"multipleOf": 0}}})",
                   at("multipleOf", "/properties/x", "must be a number above 0"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"format": "ipv5"}}})",
                   at("format", "/properties/x", "must be one of ipv4, ipv6, hostname, mac, uuid"));
  ExpectKeyRefused(
      R"({"type": "object", "properties": {"x": {"type": "strng"}}})",
      at("type", "/properties/x", "must be a type name or a non-empty list of type names"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"enum": []}}})",
                   at("enum", "/properties/x", "must be a non-empty list"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"required": [1]}}})",
                   at("required", "/properties/x", "must be a list of strings"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"items": [{}]}}})",
                   at("items", "/properties/x", "must be one schema"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"anyOf": []}}})",
                   at("anyOf", "/properties/x", "must be a non-empty list of schemas"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"properties": []}}})",
                   at("properties", "/properties/x", "must be an object of schemas"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": {"uniqueItems": 1}}})",
                   at("uniqueItems", "/properties/x", "must be true or false"));
  ExpectKeyRefused(R"({"type": "object", "properties": {"x": 3}})",
                   "Schema of corv.net.k at /properties/x must be an object or a boolean");
  try {
    env_.LoadSchemas(OneKey(R"({"type": "object", "properties": {"x": {"pattern": "(a"}}})"));
    ADD_FAILURE() << "an invalid pattern loaded";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(std::string(e.what()).rfind(
                  at("pattern", "/properties/x", "holds an invalid regular expression: "), 0),
              0u)
        << e.what();
  }
}

TEST_F(SchemaLoaderTest, DefaultsMustSatisfyTheirSchema) {
  const std::string prefix = "Keyword \"default\" in schema of corv.net.k at ";
  for (const auto& bad : std::vector<std::pair<std::string, std::string>>{
           {R"({"type": "object", "properties": {"mtu": {"type": "integer", "minimum": 68,
               "default": 10}}})",
            "/properties/mtu does not satisfy its schema: /: "},
           {R"({"type": "object", "properties": {"s": {"type": "array",
               "items": {"type": "string"}, "default": ["a", 1]}}})",
            "/properties/s does not satisfy its schema: /1: "}}) {
    try {
      env_.LoadSchemas(OneKey(bad.first), "refused.json");
      ADD_FAILURE() << "loaded: " << bad.first;
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(e.GetErrorCode(), 2000);
      EXPECT_EQ(std::string(e.what()).rfind(prefix + bad.second, 0), 0u) << e.what();
    }
  }
  // A default may be partial: required members are not asked of it.
  EXPECT_EQ(env_.LoadSchemas(OneKey(R"({"type": "object", "properties": {"o": {"type": "object",
      "required": ["x"], "properties": {"x": {"type": "string"}, "y": {"type": "integer"}},
      "default": {"y": 1}}}})")),
            1);
}

TEST_F(SchemaLoaderTest, KeyRootMustBeAnObjectOrAListOfObjects) {
  const std::string root =
      "Schema of corv.net.k must be an object whose \"type\" is \"object\" or \"array\"";
  ExpectKeyRefused("true", root);
  ExpectKeyRefused(R"({"properties": {}})", root);
  ExpectKeyRefused(R"({"type": "string"})", root);
  const std::string items =
      "Schema of corv.net.k: a key with instances needs \"items\" of type \"object\"";
  ExpectKeyRefused(R"({"type": "array"})", items);
  ExpectKeyRefused(R"({"type": "array", "items": {"type": "string"}})", items);
}

TEST_F(SchemaLoaderTest, BadNamesAreRefused) {
  const std::string rule = ": names are 1 to 64 letters, digits, '_' or '-'";
  std::string file = env_.Dir().File("refused.json");
  ExpectRefused(R"({"bad name": {}})",
                "Invalid component name \"bad name\" in schema file " + file + rule);
  ExpectRefused(R"({"": {}})", "Invalid component name \"\" in schema file " + file + rule);
  ExpectRefused(R"({"corv": {"n.et": {}}})",
                "Invalid group name \"n.et\" in component corv" + rule);
  std::string long_name(65, 'k');
  ExpectRefused(R"({"corv": {"net": {")" + long_name + R"(": {"type": "object"}}}})",
                "Invalid key name \"" + long_name + "\" in group corv.net" + rule);
  ExpectRefused(R"({"corv": {"net": {"a\"b": {"type": "object"}}}})",
                "Invalid key name \"a\"b\" in group corv.net" + rule);
  std::string longest(64, 'k');
  EXPECT_EQ(env_.LoadSchemas(R"({"A-z_0": {"net": {")" + longest + R"(": {"type": "object"}}}})"),
            1);
}

TEST_F(SchemaLoaderTest, FileStructureFaultsAreRefused) {
  std::string file = env_.Dir().File("refused.json");
  ExpectRefused("[]", "Schema file " + file + " must hold an object of components");
  ExpectRefused(R"({"corv": []})",
                "Component corv in schema file " + file + " must hold an object of groups");
  ExpectRefused(R"({"corv": {"net": 1}})",
                "Group corv.net in schema file " + file + " must hold an object of keys");
  ExpectRefused(R"({"corv": {"net": {"k": {"type": "object"}}}, "corv ": {}})",
                "Invalid component name \"corv \" in schema file " + file +
                    ": names are 1 to 64 letters, digits, '_' or '-'");
  ExpectRefused(R"({"corv": {"net": {"k": {"type": "object"}}}, "corv": {"net": {"k": true}}})",
                "Key corv.net.k appears twice in schema file " + file);
  try {
    env_.LoadSchemas("{\"corv\": ", "broken.json");
    ADD_FAILURE() << "broken JSON loaded";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 2000);
    EXPECT_EQ(std::string(e.what()).rfind(
                  "Invalid JSON in schema file " + env_.Dir().File("broken.json") + ": ", 0),
              0u)
        << e.what();
  }
  try {
    LoadSchemaFile(env_.Dir().File("absent.json"));
    ADD_FAILURE() << "a missing file loaded";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 2000);
    EXPECT_EQ(std::string(e.what()), "Cannot read schema file " + env_.Dir().File("absent.json") +
                                         ": No such file or directory");
  }
}

TEST_F(SchemaLoaderTest, AFaultyFileLoadsNothing) {
  env_.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object", "version": "1.0"}}}})");
  ExpectRefused(R"({"corv": {"net": {
      "dns": {"type": "object", "version": "9.9"},
      "extra": {"type": "object"},
      "broken": {"type": "object", "minimun": 1}}}})",
                "Unknown keyword \"minimun\" in schema of corv.net.broken at /");
  EXPECT_EQ(CorvTest::QueryRows(env_.SchemaStorePath(), "SELECT Name, Version FROM Schema"),
            (std::vector<std::string>{"dns|1.0"}));
  EXPECT_EQ(SchemaStore::GetCache()->GetSchema("corv", "net", "dns")->GetVersion(), "1.0");
  EXPECT_FALSE(SchemaStore::GetCache()->GetSchema("corv", "net", "extra"));
}

TEST_F(SchemaLoaderTest, AFaultyFirstFileCreatesNoDatabase) {
  ExpectRefused(R"({"corv": {"net": {"broken": {"type": "object", "minimun": 1}}}})",
                "Unknown keyword \"minimun\" in schema of corv.net.broken at /");
  struct stat status;
  EXPECT_NE(stat(env_.SchemaStorePath().c_str(), &status), 0);
}

TEST_F(SchemaLoaderTest, ReloadingAKeyReplacesItsSchema) {
  env_.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object", "version": "1.0"},
                                        "ntp": {"type": "object"}}}})");
  auto before = SchemaStore::GetCache()->GetSchema("corv", "net", "dns");
  auto ntpBefore = SchemaStore::GetCache()->GetSchema("corv", "net", "ntp");
  ASSERT_TRUE(before);
  EXPECT_EQ(env_.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "array", "version": "2.0",
      "items": {"type": "object", "properties": {"name": {"type": "string", "instanceId": true}}}}}}})"),
            1);
  auto after = SchemaStore::GetCache()->GetSchema("corv", "net", "dns");
  ASSERT_TRUE(after);
  EXPECT_EQ(after->GetVersion(), "2.0");
  EXPECT_TRUE(after->HasInstances());
  // A holder of the old object keeps it; an unchanged key keeps its object.
  EXPECT_EQ(before->GetVersion(), "1.0");
  EXPECT_EQ(SchemaStore::GetCache()->GetSchema("corv", "net", "ntp"), ntpBefore);
  EXPECT_EQ(CorvTest::QueryRows(env_.SchemaStorePath(), "SELECT count(*) FROM Schema"),
            (std::vector<std::string>{"2"}));
}

TEST_F(SchemaLoaderTest, LookupsReturnTheSameObjectWhileNothingChanges) {
  env_.LoadSchemas(kDns);
  auto first = SchemaStore::GetCache()->GetSchema("corv", "net", "dns");
  EXPECT_EQ(SchemaStore::GetCache()->GetSchema("corv", "net", "dns"), first);
  EXPECT_EQ(SchemaStore::GetStore()->GetSchema("corv", "net", "dns"), first);
}

TEST_F(SchemaLoaderTest, AWriteByAnotherConnectionIsSeenWithoutRestart) {
  env_.LoadSchemas(kDns);
  auto cache = SchemaStore::GetCache();
  ASSERT_TRUE(cache->GetSchema("corv", "net", "dns"));
  EXPECT_FALSE(cache->GetSchema("corv", "time", "ntp"));

  // Another writer, as another process would be: its own connection, and no
  // word to this process's cache.
  auto other = CorvSchemaStore::OpenSchemaDatabaseForWrite(env_.SchemaStorePath());
  ASSERT_EQ(CorvSchemaStore::WriteSchemaRow(
                other, {"corv", "time", "ntp", "4.0", "", R"({"type":"object","version":"4.0"})"}),
            DBStore::kSuccess);
  CorvTest::WaitForSchemaRecheck();
  auto ntp = cache->GetSchema("corv", "time", "ntp");
  ASSERT_TRUE(ntp);
  EXPECT_EQ(ntp->GetVersion(), "4.0");

  ASSERT_EQ(CorvSchemaStore::WriteSchemaRow(
                other, {"corv", "time", "ntp", "5.0", "", R"({"type":"object","version":"5.0"})"}),
            DBStore::kSuccess);
  CorvTest::WaitForSchemaRecheck();
  EXPECT_EQ(cache->GetSchema("corv", "time", "ntp")->GetVersion(), "5.0");
}

TEST_F(SchemaLoaderTest, CacheStartsAfreshWhenTheDatabasePathChanges) {
  env_.LoadSchemas(kDns);
  ASSERT_TRUE(SchemaStore::GetCache()->GetSchema("corv", "net", "dns"));
  auto firstStore = SchemaStore::GetStore();
  {
    CorvTest::StoreEnvironment other;
    EXPECT_FALSE(SchemaStore::GetCache()->GetSchema("corv", "net", "dns"));
    EXPECT_NE(SchemaStore::GetStore(), firstStore);
    other.LoadSchemas(R"({"corv": {"time": {"ntp": {"type": "object"}}}})");
    EXPECT_TRUE(SchemaStore::GetCache()->GetSchema("corv", "time", "ntp"));
    EXPECT_FALSE(SchemaStore::GetCache()->GetSchema("corv", "net", "dns"));
  }
  EXPECT_TRUE(SchemaStore::GetCache()->GetSchema("corv", "net", "dns"));
  EXPECT_FALSE(SchemaStore::GetCache()->GetSchema("corv", "time", "ntp"));
}

TEST_F(SchemaLoaderTest, AMissingDatabaseHoldsNoSchemas) {
  auto cache = SchemaStore::GetCache();
  EXPECT_FALSE(cache->GetSchema("corv", "net", "dns"));
  EXPECT_TRUE(cache->GetAllSchemas().empty());
  EXPECT_FALSE(cache->HasComponent("corv"));
  // It is seen once it exists.
  env_.LoadSchemas(kDns);
  EXPECT_TRUE(cache->GetSchema("corv", "net", "dns"));
  // And forgotten when it is gone.
  for (const char* suffix : {"", "-wal", "-shm"}) unlink((env_.SchemaStorePath() + suffix).c_str());
  CorvTest::WaitForSchemaRecheck();
  EXPECT_FALSE(cache->GetSchema("corv", "net", "dns"));
}

// Not an empty store: a lookup there would tell the caller that the key has
// no schema, when the schema store is what is broken.
TEST_F(SchemaLoaderTest, AFileThatIsNotADatabaseIsAFailureToRead) {
  env_.Dir().Write("schema-store.db", "this is not a database, only some text in a file");
  CorvTest::LogCapture log(1);
  EXPECT_TRUE(CorvTest::ThrowsWithDetails(
      [] { SchemaStore::GetCache()->GetSchema("corv", "net", "dns"); },
      "Cannot read schemas from " + env_.SchemaStorePath(),
      {"file is not a database"}));
  EXPECT_TRUE(log.Contains("Cannot read schemas from " + env_.SchemaStorePath()));
}

TEST_F(SchemaLoaderTest, AStoredSchemaThatIsNotJsonIsIgnored) {
  env_.LoadSchemas(kDns);
  auto other = CorvSchemaStore::OpenSchemaDatabaseForWrite(env_.SchemaStorePath());
  ASSERT_EQ(CorvSchemaStore::WriteSchemaRow(other, {"corv", "net", "bad", "1.0", "", "{"}),
            DBStore::kSuccess);
  CorvTest::WaitForSchemaRecheck();
  CorvTest::LogCapture log(0);
  EXPECT_FALSE(SchemaStore::GetCache()->GetSchema("corv", "net", "bad"));
  EXPECT_TRUE(SchemaStore::GetCache()->GetSchema("corv", "net", "dns"));
  EXPECT_TRUE(log.Contains("Ignoring stored schema of corv.net.bad: "));
}

TEST_F(SchemaLoaderTest, ConcurrentLookupsDuringLoadsSeeWholeSchemas) {
  env_.LoadSchemas(kDns);
  std::atomic<bool> stop{false};
  std::atomic<int> found{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 4; ++t) {
    readers.emplace_back([&] {
      while (!stop) {
        auto schema = SchemaStore::GetCache()->GetSchema("corv", "net", "dns");
        if (schema && (schema->GetVersion() == "1.0" || schema->GetVersion() == "2.0")) ++found;
      }
    });
  }
  for (int i = 0; i < 6; ++i) {
    std::string version = i % 2 == 0 ? "2.0" : "1.0";
    env_.LoadSchemas(R"({"corv": {"net": {"dns": {"type": "object", "version": ")" + version +
                     R"("}}}})");
  }
  stop = true;
  for (auto& reader : readers) reader.join();
  EXPECT_GT(found.load(), 0);
  EXPECT_EQ(SchemaStore::GetCache()->GetSchema("corv", "net", "dns")->GetVersion(), "1.0");
}
