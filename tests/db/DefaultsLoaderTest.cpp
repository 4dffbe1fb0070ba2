// Loading defaults documents into DefaultConfig rows: layer split, instance
// ids, replacement, and the faults that load nothing; and the example schema
// set with its defaults.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/Throw.h"
#include "schema/SchemaStore.h"
#include "support/FailureDetails.h"
#include "support/StoreEnvironment.h"

using CorvConfigStore::ConfigStoreException;
using CorvConfigStore::LoadDefaultsFile;
using CorvConfigStore::LoadSchemaFile;
using CorvTest::QueryRows;

namespace {

const char* kSchemas = R"({
  "corv": {"net": {
    "nics": {"type": "array", "version": "1.2", "items": {"type": "object", "properties": {
      "name": {"type": "string", "instanceId": true},
      "mtu": {"type": "integer", "minimum": 68},
      "macAddress": {"type": "string", "vital": true},
      "linkSpeed": {"type": "integer", "cached": true}}}},
    "routes": {"type": "array", "items": {"type": "object", "properties": {
      "to": {"type": "string"}}}},
    "dns": {"type": "object", "properties": {
      "servers": {"type": "array", "items": {"type": "string"}}}}}},
  "hw": {"board": {"serial": {"type": "object", "properties": {
    "number": {"type": "string", "vital": true}}}}}})";

class DefaultsLoaderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(env_.ProvisionStore());
    env_.LoadSchemas(kSchemas);
  }

  int Load(const std::string& text) {
    return LoadDefaultsFile(env_.Dir().Write("defaults.json", text));
  }
  void ExpectRefused(const std::string& text, const std::string& message) {
    try {
      Load(text);
      ADD_FAILURE() << "loaded: " << text;
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(e.GetErrorCode(), 2000);
      EXPECT_EQ(std::string(e.what()), message);
    }
  }
  // Refused with a message that starts with prefix (the rest is the
  // validator's wording).
  void ExpectRefusedStartingWith(const std::string& text, const std::string& prefix) {
    try {
      Load(text);
      ADD_FAILURE() << "loaded: " << text;
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(e.GetErrorCode(), 2000);
      EXPECT_EQ(std::string(e.what()).rfind(prefix, 0), 0u) << e.what();
    }
  }
  std::vector<std::string> Rows(const std::string& where = "1") {
    return QueryRows(env_.StorePath(),
                     "SELECT Component, ConfigGroup, Name, Identifier, Version, Value, VitalValue, "
                     "CachedValue FROM DefaultConfig WHERE " +
                         where + " ORDER BY Component, ConfigGroup, Name, Identifier");
  }
  std::string File() const { return env_.Dir().File("defaults.json"); }

  CorvTest::StoreEnvironment env_;
};

}  // namespace

TEST_F(DefaultsLoaderTest, SplitsValuesIntoLayersWithIdentifierAndVersion) {
  EXPECT_EQ(Load(R"({"corv": {"net": {
      "nics": [{"name": "eth1", "mtu": 9000, "macAddress": "m1", "linkSpeed": 100},
               {"name": "eth0", "mtu": 1500}],
      "dns": {"servers": ["a"]}}},
    "hw": {"board": {"serial": {"number": "S1"}}}})"),
            4);
  EXPECT_EQ(Rows(), (std::vector<std::string>{
                        R"(corv|net|dns||1.0|{"servers":["a"]}|NULL|NULL)",
                        R"(corv|net|nics|eth0|1.2|{"name":"eth0","mtu":1500}|NULL|NULL)",
                        R"(corv|net|nics|eth1|1.2|{"name":"eth1","mtu":9000}|)"
                        R"({"name":"eth1","macAddress":"m1"}|{"name":"eth1","linkSpeed":100})",
                        R"(hw|board|serial||1.0|NULL|{"number":"S1"}|NULL)"}));
}

TEST_F(DefaultsLoaderTest, GeneratedIdsBecomeIdentifiers) {
  EXPECT_EQ(Load(R"({"corv": {"net": {"routes": [{"to": "a"}, {"to": "b",
      "cs_generated_id": "fixed"}]}}})"),
            2);
  std::vector<std::string> rows =
      QueryRows(env_.StorePath(), "SELECT Identifier, Value FROM DefaultConfig ORDER BY Value");
  ASSERT_EQ(rows.size(), 2u);
  std::string generated = rows[0].substr(0, rows[0].find('|'));
  EXPECT_EQ(generated.size(), 36u);
  EXPECT_EQ(rows[0], generated + R"(|{"to":"a","cs_generated_id":")" + generated + R"("})");
  EXPECT_EQ(rows[1], R"(fixed|{"to":"b","cs_generated_id":"fixed"})");
}

TEST_F(DefaultsLoaderTest, RowsOfAKeyAreReplacedAndNullRemovesThem) {
  Load(R"({"corv": {"net": {"nics": [{"name": "a"}, {"name": "b"}], "dns": {"servers": []}}}})");
  Load(R"({"corv": {"net": {"nics": [{"name": "c"}]}}})");
  EXPECT_EQ(QueryRows(env_.StorePath(), "SELECT Name, Identifier FROM DefaultConfig ORDER BY 1, 2"),
            (std::vector<std::string>{"dns|", "nics|c"}));
  EXPECT_EQ(Load(R"({"corv": {"net": {"dns": null, "nics": []}}})"), 0);
  EXPECT_TRUE(Rows().empty());
}

TEST_F(DefaultsLoaderTest, UnknownConfigurationIsRefusedAndNothingLoads) {
  Load(R"({"corv": {"net": {"dns": {"servers": ["old"]}}}})");
  ExpectRefused(R"({"corv": {"net": {"dns": {"servers": ["new"]}, "bogus": {}}}})",
                "Unknown configuration corv.net.bogus in defaults file " + File());
  ExpectRefused(R"({"corv": {"nett": {"dns": {}}}})",
                "Unknown configuration corv.nett.dns in defaults file " + File());
  ExpectRefused(R"({"corvx": {"net": {"dns": {}}}})",
                "Unknown configuration corvx.net.dns in defaults file " + File());
  EXPECT_EQ(Rows(),
            (std::vector<std::string>{R"(corv|net|dns||1.0|{"servers":["old"]}|NULL|NULL)"}));
}

TEST_F(DefaultsLoaderTest, AnInvalidValueLoadsNothing) {
  ExpectRefusedStartingWith(R"({"corv": {"net": {"dns": {"servers": ["a"]},
      "nics": [{"name": "eth0", "mtu": 9000}, {"name": "eth1", "mtu": 10}]}}})",
                            "Invalid defaults of instance 1 of corv.net.nics: /mtu: ");
  ExpectRefusedStartingWith(R"({"corv": {"net": {"dns": {"servers": [1]}}}})",
                            "Invalid defaults of corv.net.dns: /servers/0: ");
  ExpectRefusedStartingWith(R"({"corv": {"net": {"dns": {"server": ["a"]}}}})",
                            "Invalid defaults of corv.net.dns: /server: ");
  EXPECT_TRUE(Rows().empty());
}

TEST_F(DefaultsLoaderTest, ValuesOfTheWrongShapeAreRefused) {
  ExpectRefused(R"({"corv": {"net": {"dns": []}}})", "Defaults of corv.net.dns must be an object");
  ExpectRefused(R"({"corv": {"net": {"nics": {"name": "eth0"}}}})",
                "Defaults of corv.net.nics must be a list of instances");
  ExpectRefused(R"({"corv": {"net": {"nics": ["eth0"]}}})",
                "Defaults of instance 0 of corv.net.nics must be an object");
  ExpectRefused("[]", "Defaults file " + File() + " must hold an object of components");
  ExpectRefused(R"({"corv": 1})",
                "Component corv in defaults file " + File() + " must hold an object of groups");
  ExpectRefused(R"({"corv": {"net": []}})",
                "Group corv.net in defaults file " + File() + " must hold an object of keys");
  ExpectRefused(R"({"corv": {"net": {"dns": {}}}, "corv": {"net": {"dns": {}}}})",
                "Key corv.net.dns appears twice in defaults file " + File());
}

TEST_F(DefaultsLoaderTest, InstanceIdsMustBePresentNonEmptyAndDistinct) {
  ExpectRefused(R"({"corv": {"net": {"nics": [{"mtu": 1500}]}}})",
                "Defaults of instance 0 of corv.net.nics: " +
                    CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1032), "name"));
  ExpectRefused(R"({"corv": {"net": {"nics": [{"name": ""}]}}})",
                "Defaults of instance 0 of corv.net.nics have an empty instance id");
  ExpectRefused(R"({"corv": {"net": {"nics": [{"name": "a"}, {"name": "a"}]}}})",
                "Instance \"a\" appears twice in the defaults of corv.net.nics");
}

TEST_F(DefaultsLoaderTest, FileAndStoreFaults) {
  try {
    LoadDefaultsFile(env_.Dir().File("absent.json"));
    ADD_FAILURE() << "a missing file loaded";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(std::string(e.what()), "Cannot read defaults file " + env_.Dir().File("absent.json") +
                                         ": No such file or directory");
  }
  CorvTest::StoreEnvironment noStore;
  noStore.LoadSchemas(kSchemas);
  try {
    LoadDefaultsFile(noStore.Dir().Write("d.json", R"({"corv": {"net": {"dns": {}}}})"));
    ADD_FAILURE() << "loaded without a store";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1002);
    EXPECT_EQ(std::string(e.what()),
              CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1002),
                                      noStore.StorePath().c_str()));
  }
}

TEST(DefaultsLoaderCauseTest, AStoreThatCannotBeOpenedSaysWhy) {
  CorvTest::StoreEnvironment env;
  env.LoadSchemas(kSchemas);
  env.Dir().Write("store.db", "not a database at all, only text");
  ASSERT_EQ(env.Dir().File("store.db"), env.StorePath());
  std::string defaults = env.Dir().Write("d.json", R"({"corv": {"net": {"dns": {}}}})");
  EXPECT_TRUE(CorvTest::ThrowsWithDetails(
      [&] { LoadDefaultsFile(defaults); },
      CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1002), env.StorePath().c_str()),
      {env.StorePath() + ": file is not a database"}, 1002));
}

TEST(ExampleSchemasTest, TheExampleSchemasAndDefaultsLoad) {
  CorvTest::StoreEnvironment env;
  ASSERT_TRUE(env.ProvisionStore());
  EXPECT_EQ(LoadSchemaFile(CORV_SOURCE_DIR "/examples/schemas/host-schemas.json"), 7);
  EXPECT_EQ(LoadDefaultsFile(CORV_SOURCE_DIR "/examples/schemas/host-defaults.json"), 8);

  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  auto nics = cache->GetSchema("corv", "net", "nics");
  ASSERT_TRUE(nics);
  EXPECT_EQ(nics->GetInstanceIdProperty(), "name");
  EXPECT_EQ(nics->GetKind(), 5);
  EXPECT_EQ(CorvConfigStore::JsonToString(nics->GetInstanceIdMap()),
            R"({"nics":"name","addresses":"address"})");
  EXPECT_EQ(cache->GetSchema("corv", "net", "staticRoutes")->GetInstanceIdProperty(),
            "cs_generated_id");
  EXPECT_EQ(cache->GetSchema("corv", "net", "staticRoutes")->GetValueType(), "corv-shared");
  EXPECT_TRUE(cache->GetSchema("corv", "kestrel", "options")->IsRebootRequired());
  EXPECT_TRUE(cache->GetSchema("corv", "boot", "settings")->IsRebootRequired());
  EXPECT_TRUE(cache->GetSchema("corv", "time", "ntp")->IsBootExempt());
  EXPECT_FALSE(cache->GetSchema("corv", "time", "ntp")->ApplyDuringUpgrade());
  EXPECT_EQ(cache->GetSchema("corv", "system", "identity")->GetKind(), 4);

  EXPECT_EQ(
      QueryRows(env.StorePath(),
                "SELECT Identifier, Version, Value, VitalValue, CachedValue FROM "
                "DefaultConfig WHERE Name = 'nics' ORDER BY Identifier"),
      (std::vector<std::string>{R"(eth0|1.2|{"name":"eth0","enabled":true,"mtu":1500,"addresses":)"
                                R"([{"address":"192.0.2.10","prefixLength":24}]}|)"
                                R"({"name":"eth0","macAddress":"52:54:00:12:34:56"}|NULL)",
                                R"(lo|1.2|{"name":"lo","mtu":65536,"addresses":)"
                                R"([{"address":"127.0.0.1","prefixLength":8}]}|)"
                                R"({"name":"lo","macAddress":"00:00:00:00:00:00"}|NULL)"}));
  EXPECT_EQ(QueryRows(env.StorePath(),
                      "SELECT Value, VitalValue FROM DefaultConfig WHERE Name = 'options'"),
            (std::vector<std::string>{
                R"({"console":"ttyS0,115200","iommu":"pt"}|{"bootDevice":"/dev/sda"})"}));
  EXPECT_EQ(QueryRows(env.SchemaStorePath(),
                      "SELECT Component, ConfigGroup, Name FROM SmartnicSchema "
                      "WHERE ValueType = 'corv-shared'"),
            (std::vector<std::string>{"corv|net|staticRoutes"}));
}
