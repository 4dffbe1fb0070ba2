// Export of stored configurations as documents, and the placement of a map
// of objects into a document.
#include <corvconfigstore/Exceptions.h>

#include <map>

#include "document/ImportExportInternal.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/ConfigStoreDocument.h"
#include "support/HostFixture.h"
#include "object/ObjectAccess.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

const ConfigStoreObjectId kDns = Id("dns", "net");
const ConfigStoreObjectId kIface = Id("iface", "net");
const ConfigStoreObjectId kEth0 = Id("iface", "net", "eth0");
const ConfigStoreObjectId kEth1 = Id("iface", "net", "eth1");
const ConfigStoreObjectId kRoutes = Id("routes", "gen");

class ExportTest : public HostFixture {
 protected:
  std::vector<std::shared_ptr<FilterSpecObject>> Filters(
      std::initializer_list<ConfigStoreObjectId> ids) {
    std::vector<std::shared_ptr<FilterSpecObject>> filters;
    for (const auto& id : ids) filters.push_back(Filter(id));
    return filters;
  }

  // The document's value of one key.
  static std::string KeyValueOf(const std::string& document, const char* component,
                                const char* group, const char* key) {
    JsonDocument parsed;
    parsed.Parse(document.c_str());
    if (!parsed.IsObject() || !parsed.HasMember(component) || !parsed[component].HasMember(group) ||
        !parsed[component][group].HasMember(key))
      return "<absent>";
    return JsonToString(parsed[component][group][key]);
  }

  // The instances of a key's array by instance id property, as texts.
  static std::map<std::string, std::string> InstancesOf(const std::string& document,
                                                        const char* key, const char* idProperty) {
    JsonDocument parsed;
    parsed.Parse(document.c_str());
    std::map<std::string, std::string> instances;
    for (const JsonValue& instance : parsed["corv"]["net"][key].GetArray())
      instances[instance[idProperty].GetString()] = JsonToString(instance);
    return instances;
  }
};

TEST_F(ExportTest, NoFiltersExportNothingWithoutTouchingTheStore) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("no-such-store.db"));
  LogCapture log(3);
  EXPECT_EQ("{}", Export({}));
  EXPECT_TRUE(log.Has(3, "Export invoked"));
}

TEST_F(ExportTest, ASingletonIsExportedWithItsLayersMerged) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org","uptime":3,"lastSync":"t"})"), EXTERNAL);
  std::string document = Export(Filters({kDns}));
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"dns":{"uptime":3,"lastSync":"t","domain":"a.org"}}}})",
                        document))
      << document;
}

TEST_F(ExportTest, InstancesAreExportedAsAnArray) {
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0","mtu":1500,"speed":10})"),
                        MakeObject(kEth1, R"({"name":"eth1"})")},
                       EXTERNAL);
  std::string document = Export(Filters({kIface}));
  std::map<std::string, std::string> instances = InstancesOf(document, "iface", "name");
  ASSERT_EQ(2u, instances.size()) << document;
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500,"speed":10})", instances["eth0"]));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1"})", instances["eth1"]));
}

TEST_F(ExportTest, AKeyWithoutInstancesIsExportedAsNull) {
  EXPECT_EQ(R"({"corv":{"net":{"iface":null}}})", Export(Filters({kIface})));
}

TEST_F(ExportTest, ASingletonWithoutRowIsExportedAsNull) {
  EXPECT_EQ(R"({"corv":{"net":{"dns":null}}})", Export(Filters({kDns})));
}

TEST_F(ExportTest, GeneratedIdsAreNotExported) {
  store_->SetInstances({CreateObject(kRoutes, R"({"dest":"a"})"),
                        CreateObject(kRoutes, R"({"dest":"b"})")},
                       EXTERNAL);
  ASSERT_EQ(2u, raw_->Identifiers("routes", "gen").size());
  std::string document = Export(Filters({kRoutes}));
  EXPECT_EQ(std::string::npos, document.find("cs_generated_id")) << document;
  std::string routes = KeyValueOf(document, "corv", "gen", "routes");
  EXPECT_TRUE(routes == R"([{"dest":"a"},{"dest":"b"}])" || routes == R"([{"dest":"b"},{"dest":"a"}])")
      << routes;
}

TEST_F(ExportTest, AFilterSelectsInstances) {
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0","mtu":1500})"),
                        MakeObject(kEth1, R"({"name":"eth1","mtu":9000})")},
                       EXTERNAL);
  std::string byId = Export(Filters({kEth1}));
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"iface":[{"name":"eth1","mtu":9000}]}}})", byId));

  auto byValue = Filter(kIface);
  byValue->SetValue("mtu", 1500);
  std::string selected = Export({byValue});
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"iface":[{"name":"eth0","mtu":1500}]}}})", selected));
}

TEST_F(ExportTest, SeveralKeysShareTheirComponentAndGroup) {
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"hi"})"), EXTERNAL);
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0"})")}, EXTERNAL);
  std::string document =
      Export(Filters({kDns, Id("motd", "sys"), kIface, kDns, Id("iface", "lab")}));
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"dns":{"domain":"a"},"iface":[{"name":"eth0"}]},
                                    "sys":{"motd":{"text":"hi"}},"lab":{"iface":null}}})",
                        document))
      << document;
}

TEST_F(ExportTest, AKeyWithoutSchemaIsRefused) {
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { Export(Filters({kDns, Id("nosuch", "net")})); },
                                           1037,
                                           "Schema not found for: comp corv grp net key nosuch"));
}

TEST_F(ExportTest, ANullFilterIsLoggedAndSkipped) {
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  LogCapture log(1);
  EXPECT_EQ(R"({"corv":{"net":{"dns":{"domain":"a"}}}})", Export({nullptr, Filter(kDns)}));
  EXPECT_TRUE(log.Has(1, "[1041] Export: Object handle is null"));
  EXPECT_EQ("{}", Export({nullptr}));
}

TEST_F(ExportTest, ExportWithoutStoreCannotConnect) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("no-such-store.db"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { Export(Filters({kDns})); }, 2000,
                                           "Failed to connect to database"));
}

// ---- ExportInternal

TEST_F(ExportTest, ExportInternalPlacesEveryEntry) {
  auto route = CreateObject(kRoutes, R"({"dest":"a"})");
  const std::string routeId = route->GetConfigStoreObjectId().instanceId;
  CsoIdObjectMap map{{kDns, MakeObject(kDns, R"({"domain":"a"})")},
                     {kIface, nullptr},
                     {route->GetConfigStoreObjectId(), route}};

  JsonDocument kept;
  kept.SetObject();
  ExportInternal(kept, map, false);
  EXPECT_TRUE(JsonEqual(R"({"corv":{"net":{"dns":{"domain":"a"},"iface":null},
                          "gen":{"routes":[{"dest":"a","cs_generated_id":")" +
                            routeId + R"("}]}}})",
                        JsonToString(kept)));

  JsonDocument cleared;
  cleared.SetObject();
  ExportInternal(cleared, map, true);
  EXPECT_TRUE(JsonEqual(
      R"({"corv":{"net":{"dns":{"domain":"a"},"iface":null},"gen":{"routes":[{"dest":"a"}]}}})",
      JsonToString(cleared)));
  // The objects themselves keep their generated ids.
  EXPECT_NE(std::string::npos, ImplOf(route).GetSerializedData().find(routeId));
}

}  // namespace
