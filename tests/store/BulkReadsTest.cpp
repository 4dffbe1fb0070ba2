// GetBulkConfig and GetSharedConfigDocument: whole components and groups in
// one read, and the configuration shared with a SmartNIC.
#include <corvconfigstore/BulkReads.h>
#include <corvconfigstore/HostOperations.h>

#include "store/StoreFixture.h"

namespace CorvTest {
namespace {

using CorvConfigStore::ConfigStoreException;
using CorvConfigStore::EXTERNAL;
using CorvConfigStore::GetBulkConfig;
using CorvConfigStore::GetSharedConfigDocument;

// Keys shared with a SmartNIC: a singleton and a key with generated ids.
const char* kSharedSchemas = R"({
  "nic": {
    "fw": {
      "policy": {"type": "object", "valueType": "corv-shared",
                 "properties": {"mode": {"type": "string"}}},
      "rules": {"type": "array", "valueType": "corv-shared",
                "items": {"type": "object", "properties": {"port": {"type": "integer"}}}},
      "local": {"type": "object", "properties": {"x": {"type": "integer"}}}
    }
  }
})";

std::string Describe(const ObjectList& objects) {
  std::string text;
  for (const ObjectPtr& object : objects)
    text += object->GetConfigStoreObjectId().toString() + " " + object->GetData() + "\n";
  return text;
}

class BulkReadsTest : public StoreFixture {};

TEST_F(BulkReadsTest, EveryStoredObjectOfAComponentOrGroupInOrder) {
  store_->SetUserData(MakeObject(Id("iface", "net", "b"), R"({"name":"b","mtu":2})"), EXTERNAL);
  store_->SetUserData(MakeObject(Id("iface", "net", "a"), R"({"name":"a","mtu":1})"), EXTERNAL);
  store_->SetUserData(MakeObject(Id("dns", "net"), R"({"domain":"u"})"), EXTERNAL);
  store_->SetVitalData(MakeObject(Id("dns", "net"), R"({"uptime":3})"));
  store_->SetUserData(MakeObject(Id("motd", "sys"), R"({"text":"m"})"), EXTERNAL);

  EXPECT_EQ(Describe(GetBulkConfig("corv")),
            "comp corv grp net key dns {\"uptime\":3,\"domain\":\"u\"}\n"
            "comp corv grp net key iface id a {\"name\":\"a\",\"mtu\":1}\n"
            "comp corv grp net key iface id b {\"name\":\"b\",\"mtu\":2}\n"
            "comp corv grp sys key motd {\"text\":\"m\"}\n");
  EXPECT_EQ(Describe(GetBulkConfig("corv", "sys")), "comp corv grp sys key motd {\"text\":\"m\"}\n");
  EXPECT_TRUE(GetBulkConfig("other").empty());
}

TEST_F(BulkReadsTest, AStoreThatCannotBeReadIsRefused) {
  raw_->Exec("DROP TABLE Config");
  EXPECT_TRUE(Throws<ConfigStoreException>([] { GetBulkConfig("corv"); }, 2000,
                                           "Get all keys failed"));
}

TEST_F(BulkReadsTest, SharedConfigurationIsADocumentOfNextBootValues) {
  EXPECT_EQ(GetSharedConfigDocument(), "{}");
  ASSERT_EQ(env_.LoadSchemas(kSharedSchemas, "shared.json"), 3);
  store_->SetUserData(MakeObject(ConfigStoreObjectId("policy", "fw", "nic"), R"({"mode":"now"})"),
                      EXTERNAL);
  raw_->Exec("UPDATE Config SET DesiredValue = '{\"mode\":\"next\"}' WHERE Name = 'policy'");
  store_->SetUserData(
      CorvConfigStore::CreateObject(ConfigStoreObjectId("rules", "fw", "nic"), R"({"port":22})"),
      EXTERNAL);
  std::vector<std::string> stored =
      QueryRows(env_.StorePath(), "SELECT UserValue FROM Config WHERE Name = 'rules'");
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_NE(stored[0].find("cs_generated_id"), std::string::npos) << stored[0];
  store_->SetUserData(MakeObject(ConfigStoreObjectId("local", "fw", "nic"), R"({"x":1})"),
                      EXTERNAL);
  store_->SetUserData(MakeObject(Id("motd", "sys"), R"({"text":"m"})"), EXTERNAL);
  // Generated ids stay in the store and out of the document.
  EXPECT_EQ(GetSharedConfigDocument(),
            R"({"nic":{"fw":{"policy":{"mode":"next"},"rules":[{"port":22}]}}})");
}

TEST_F(BulkReadsTest, ADamagedSharedValueIsAJsonError) {
  ASSERT_EQ(env_.LoadSchemas(kSharedSchemas, "shared.json"), 3);
  store_->SetUserData(MakeObject(ConfigStoreObjectId("policy", "fw", "nic"), R"({"mode":"now"})"),
                      EXTERNAL);
  raw_->Exec("UPDATE Config SET UserValue = '{\"mode\":' WHERE Name = 'policy'");
  try {
    GetSharedConfigDocument();
    ADD_FAILURE() << "a damaged value was read";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1082);
    EXPECT_EQ(std::string(e.what()).rfind("JSON error: the shared value of nic.fw.policy does not hold JSON: ", 0), 0u)
        << e.what();
  }
}

}  // namespace
}  // namespace CorvTest
