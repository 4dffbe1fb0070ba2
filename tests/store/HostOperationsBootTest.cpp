// Boot information, boot confirmation, desired configuration and schema
// versions: the host-level operations around the boot phase.
#include <corvconfigstore/Exceptions.h>

#include "support/HostFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

class HostBootTest : public HostFixture {
 protected:
  // A Config row written behind the library's back.
  void InsertRow(const ConfigStoreObjectId& id, const std::string& columns,
                 const std::string& values) {
    ASSERT_EQ("", raw_->Exec("INSERT INTO Config (Identifier, Name, ConfigGroup, Component, "
                             "Version, " + columns + ") VALUES ('" + id.instanceId + "', '" +
                             id.key + "', '" + id.group + "', '" + id.component + "', '1.0', " +
                             values + ")"));
  }
};

const ConfigStoreObjectId kDns = Id("dns", "net");
const ConfigStoreObjectId kIface = Id("iface", "net");
const ConfigStoreObjectId kEth0 = Id("iface", "net", "eth0");
const ConfigStoreObjectId kEth1 = Id("iface", "net", "eth1");

// ---- GetBootInfo

TEST_F(HostBootTest, BootInfoTypeIsReturned) {
  SetKeyValue("BOOT_INFO", R"({"type": 3, "reason": "upgrade"})");
  EXPECT_EQ(3, GetBootInfo());
}

TEST_F(HostBootTest, BootInfoWithoutTypeIsZero) {
  SetKeyValue("BOOT_INFO", "{}");
  EXPECT_EQ(0, GetBootInfo());
}

TEST_F(HostBootTest, BootInfoAbsentIsAReadFailure) {
  // An absent key reads as empty text, which is not JSON.
  EXPECT_TRUE(Throws<ConfigStoreException>([] { GetBootInfo(); }, 2000,
                                           "Failed to read BOOT_INFO database."));
}

TEST_F(HostBootTest, BootInfoThatIsNotJsonIsAReadFailure) {
  SetKeyValue("BOOT_INFO", "{type: 3}");
  LogCapture log(0);
  EXPECT_TRUE(Throws<ConfigStoreException>([] { GetBootInfo(); }, 2000,
                                           "Failed to read BOOT_INFO database."));
  EXPECT_TRUE(log.Has(0, "[2000] Failed to read BOOT_INFO database."));
}

TEST_F(HostBootTest, BootInfoWithoutStoreIsAReadFailure) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("no-such-store.db"));
  EXPECT_TRUE(Throws<ConfigStoreException>([] { GetBootInfo(); }, 2000,
                                           "Failed to read BOOT_INFO database."));
}

TEST_F(HostBootTest, BootInfoOfWrongShapeIsAJsonError) {
  for (const char* text : {"[1, 2]", R"({"type": "3"})", R"({"type": 2.5})", "7"}) {
    SetKeyValue("BOOT_INFO", text);
    try {
      GetBootInfo();
      ADD_FAILURE() << "no exception for " << text;
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(1082, e.GetErrorCode()) << text;
      EXPECT_EQ(0, std::string(e.what()).rfind("JSON error:", 0)) << e.what();
    }
  }
}

// ---- IsBoot

TEST_F(HostBootTest, OnlyExactlyTrueMeansBooting) {
  EXPECT_FALSE(IsBoot());
  SetKeyValue("IS_BOOT", "true");
  EXPECT_TRUE(IsBoot());
  for (const char* text : {"True", "1", "TRUE", "true ", ""}) {
    SetKeyValue("IS_BOOT", text);
    EXPECT_FALSE(IsBoot()) << "'" << text << "'";
  }
}

// ---- SetBootStatus

TEST_F(HostBootTest, BootStatusConfirmsEveryPendingInstance) {
  InsertRow(kEth0, "UserValue, DesiredValue", R"('{"name":"eth0","mtu":1}', '{"name":"eth0","mtu":9000}')");
  InsertRow(kEth1, "UserValue, DesiredValue", R"('{"name":"eth1","mtu":1}', '{"name":"eth1","mtu":1500}')");
  SetBootStatus(kIface, true);
  EXPECT_EQ(R"({"name":"eth0","mtu":9000})", raw_->Column(kEth0, "UserValue"));
  EXPECT_EQ("<null>", raw_->Column(kEth0, "DesiredValue"));
  EXPECT_EQ(R"({"name":"eth1","mtu":1500})", raw_->Column(kEth1, "UserValue"));
  EXPECT_EQ("<null>", raw_->Column(kEth1, "DesiredValue"));
}

TEST_F(HostBootTest, BootStatusOfOneInstanceLeavesTheOthers) {
  InsertRow(kEth0, "UserValue, DesiredValue", R"('{"name":"eth0","mtu":1}', '{"name":"eth0","mtu":9000}')");
  InsertRow(kEth1, "UserValue, DesiredValue", R"('{"name":"eth1","mtu":1}', '{"name":"eth1","mtu":1500}')");
  SetBootStatus(kEth1, true);
  EXPECT_EQ(R"({"name":"eth0","mtu":9000})", raw_->Column(kEth0, "DesiredValue"));
  EXPECT_EQ(R"({"name":"eth1","mtu":1500})", raw_->Column(kEth1, "UserValue"));
}

TEST_F(HostBootTest, FailedBootChangesNothing) {
  InsertRow(kDns, "UserValue, DesiredValue, Success", R"('{"domain":"a"}', '{"domain":"b"}', 0)");
  std::vector<std::string> before = DumpStore();
  SetBootStatus(kDns, false);
  EXPECT_EQ(before, DumpStore());
}

TEST_F(HostBootTest, BootStatusWithoutStoreCannotConnect) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("no-such-store.db"));
  EXPECT_TRUE(Throws<ConfigStoreException>([] { SetBootStatus(kDns, true); }, 2000,
                                           "Failed to connect to database"));
}

// ---- SetPartialBootStatus

TEST_F(HostBootTest, PartialBootStatusMergesThePartAndKeepsTheRestPending) {
  InsertRow(kDns, "UserValue, DesiredValue", R"('{"domain":"a"}', '{"domain":"b","ttl":5}')");
  SetPartialBootStatus(MakeObject(kDns, R"({"ttl":5})"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"a","ttl":5})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"b","ttl":5})", raw_->Column(kDns, "DesiredValue")));

  // Once all of it is applied nothing is pending any more.
  SetPartialBootStatus(MakeObject(kDns, R"({"domain":"b"})"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"b","ttl":5})", raw_->Column(kDns, "UserValue")));
  EXPECT_EQ("<null>", raw_->Column(kDns, "DesiredValue"));
}

TEST_F(HostBootTest, PartialBootStatusOfNullIsLoggedAndIgnored) {
  std::vector<std::string> before = DumpStore();
  LogCapture log(1);
  SetPartialBootStatus(nullptr);
  EXPECT_TRUE(log.Has(1, "[1041] SetPartialBootStatus: Object handle is null"));
  EXPECT_EQ(before, DumpStore());
}

TEST_F(HostBootTest, PartialBootStatusChecksTheValue) {
  InsertRow(kDns, "UserValue, DesiredValue", R"('{"domain":"a"}', '{"domain":"b","ttl":5}')");
  std::vector<std::string> before = DumpStore();
  try {
    SetPartialBootStatus(MakeObject(kDns, R"({"ttl":"five"})"));
    ADD_FAILURE() << "no exception";
  } catch (const ValidationException& e) {
    EXPECT_EQ(1084, e.GetErrorCode());
    ASSERT_FALSE(e.GetErrors().empty());
    EXPECT_EQ("/ttl", e.GetErrors()[0].location);
  }
  // A vital member is not user configuration.
  EXPECT_THROW(SetPartialBootStatus(MakeObject(kDns, R"({"uptime":5})")), ValidationException);
  EXPECT_EQ(before, DumpStore());
}

TEST_F(HostBootTest, PartialBootStatusWithoutSchemaNamesTheObject) {
  // Objects cannot be built for a key without schema, so one is made first
  // and then looked at under a schema store that does not have it.
  auto object = MakeObject(kDns, R"({"domain":"a"})");
  ScopedEnv otherSchemas("CORV_SCHEMASTORE_DB", env_.Dir().File("empty-schemas.db"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { SetPartialBootStatus(object); }, 1037,
                                           "Schema not found for: comp corv grp net key dns"));
}

// ---- GetDesiredUserConfig

TEST_F(HostBootTest, DesiredConfigIsThePendingValue) {
  InsertRow(kDns, "UserValue, DesiredValue, VitalValue",
            R"('{"domain":"a"}', '{"domain":"b"}', '{"uptime":7}')");
  LogCapture log(4);
  auto desired = GetDesiredUserConfig(kDns, FLAG_USER_ONLY);
  ASSERT_TRUE(desired);
  EXPECT_TRUE(JsonEqual(R"({"domain":"b"})", desired->GetData()));
  EXPECT_TRUE(log.Has(4, "GetDesiredUserConfig invoked"));

  auto withLayers = GetDesiredUserConfig(kDns, FLAG_WITH_VITAL_CACHED);
  ASSERT_TRUE(withLayers);
  EXPECT_TRUE(JsonEqual(R"({"domain":"b","uptime":7})", withLayers->GetData()));
}

TEST_F(HostBootTest, DesiredConfigOfAnUnconfirmedRowIsItsUserValue) {
  InsertRow(kDns, "UserValue, Success", R"('{"domain":"c"}', 0)");
  auto desired = GetDesiredUserConfig(kDns, FLAG_USER_ONLY);
  ASSERT_TRUE(desired);
  EXPECT_TRUE(JsonEqual(R"({"domain":"c"})", desired->GetData()));
}

TEST_F(HostBootTest, DesiredConfigWithoutPendingValueIsNull) {
  InsertRow(kDns, "UserValue", R"('{"domain":"a"}')");
  EXPECT_FALSE(GetDesiredUserConfig(kDns, FLAG_USER_ONLY));
  EXPECT_FALSE(GetDesiredUserConfig(Id("motd", "sys"), FLAG_USER_ONLY));
}

TEST_F(HostBootTest, DesiredConfigChecksTheIdentifier) {
  EXPECT_TRUE(Throws<ValidationException>(
      [] { GetDesiredUserConfig(Id("dns", "net", "x"), FLAG_USER_ONLY); }, 2000,
      "Singleton object cannot contain instanceId"));
  EXPECT_TRUE(Throws<ValidationException>([] { GetDesiredUserConfig(kIface, FLAG_USER_ONLY); },
                                          2000, "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [] { GetDesiredUserConfig(Id("nosuch", "net"), FLAG_USER_ONLY); }, 1037,
      "Schema not found for: comp corv grp net key nosuch"));
}

TEST_F(HostBootTest, DesiredInstancesListThoseWithAPendingValue) {
  InsertRow(kEth0, "UserValue, DesiredValue, VitalValue",
            R"('{"name":"eth0"}', '{"name":"eth0","mtu":9000}', '{"speed":10}')");
  InsertRow(kEth1, "UserValue", R"('{"name":"eth1","mtu":1500}')");
  LogCapture log(4);
  auto desired = GetDesiredUserConfigInstances(kIface, FLAG_USER_ONLY);
  ASSERT_EQ(1u, desired.size());
  EXPECT_EQ(kEth0, desired[0]->GetConfigStoreObjectId());
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":9000})", desired[0]->GetData()));
  EXPECT_TRUE(log.Has(4, "GetDesiredUserConfigInstances invoked"));

  auto withLayers = GetDesiredUserConfigInstances(kIface, FLAG_WITH_VITAL_CACHED);
  ASSERT_EQ(1u, withLayers.size());
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":9000,"speed":10})", withLayers[0]->GetData()));
}

TEST_F(HostBootTest, DesiredInstancesOfASingletonAreRefused) {
  EXPECT_TRUE(Throws<ValidationException>(
      [] { GetDesiredUserConfigInstances(kDns, FLAG_USER_ONLY); }, 2000,
      "API called for singleton object, non-singleton expected"));
}

// ---- GetSchemaVersion

TEST_F(HostBootTest, SchemaVersionComesFromTheSchema) {
  EXPECT_EQ("2.5", GetSchemaVersion(Id("pinned", "ver")));
  EXPECT_EQ("1.0", GetSchemaVersion(kDns));
  // The instance id plays no part.
  EXPECT_EQ("1.0", GetSchemaVersion(kEth0));
}

TEST_F(HostBootTest, SchemaVersionOfAnUnknownKeyIsEmptyAndLogged) {
  LogCapture log(0);
  EXPECT_EQ("", GetSchemaVersion(Id("nosuch", "net")));
  EXPECT_TRUE(log.Has(0, "GetSchemaVersion: Schema object not found"));
}

}  // namespace
