// ListStoredKeys, ListPendingConfig and GetLayerValues: the overviews of a
// store, over rows written through the store and behind its back.
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/StoreContents.h>

#include "store/StoreFixture.h"

namespace CorvTest {
namespace {

using CorvConfigStore::GetLayerValues;
using CorvConfigStore::LayerValues;
using CorvConfigStore::ListPendingConfig;
using CorvConfigStore::ListStoredKeys;
using CorvConfigStore::PendingConfig;
using CorvConfigStore::PendingState;
using CorvConfigStore::StoredKey;
using CorvConfigStore::ConfigStoreException;
using CorvConfigStore::ValidationException;
using CorvConfigStore::USERDATA_CONTEXT;
using CorvConfigStore::EXTERNAL;

const ConfigStoreObjectId kDns = Id("dns", "net");

std::string Names(const std::vector<StoredKey>& keys) {
  std::string names;
  for (const StoredKey& key : keys)
    names += key.component + "." + key.group + "." + key.key + ":" +
             std::to_string(key.instances) + "/" + std::to_string(key.defaults) + " ";
  return names;
}

std::string Describe(const std::vector<PendingConfig>& list) {
  std::string text;
  for (const PendingConfig& entry : list)
    text += entry.id.toString() + " " + CorvConfigStore::PendingStateName(entry.state) + " [" +
            entry.inForce + "] -> [" + entry.pending + "]\n";
  return text;
}

class StoreContentsTest : public StoreFixture {};

TEST_F(StoreContentsTest, AnEmptyStoreHoldsNothing) {
  EXPECT_TRUE(ListStoredKeys().empty());
  EXPECT_TRUE(ListPendingConfig().empty());
}

TEST_F(StoreContentsTest, KeysHoldingAnyLayerAreListedWithTheirCounts) {
  store_->SetUserData(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  store_->SetUserData(MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1})"),
                      EXTERNAL);
  store_->SetUserData(MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1","mtu":2})"),
                      EXTERNAL);
  // A row holding only a vital layer holds data too.
  store_->SetVitalData(MakeObject(Id("hwinfo", "sys"), R"({"serial":"s1"})"));
  AddDefault(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1500})");
  AddDefault(Id("iface", "net", "lo"), R"({"name":"lo","mtu":65536})");

  EXPECT_EQ(Names(ListStoredKeys()), "corv.net.dns:1/0 corv.net.iface:2/2 corv.sys.hwinfo:1/0 ");
  EXPECT_EQ(Names(ListStoredKeys("corv", "sys")), "corv.sys.hwinfo:1/0 ");
  EXPECT_EQ(Names(ListStoredKeys("corv")), Names(ListStoredKeys()));
  EXPECT_TRUE(ListStoredKeys("other").empty());
}

TEST_F(StoreContentsTest, PendingListsUnconfirmedDesiredAndNextBootEntries) {
  store_->SetUserData(MakeObject(Id("legacy", "sys"), R"({"v":"old"})"), EXTERNAL);
  CorvConfigStore::SetUpgradeCtx(2);
  store_->SetUserData(MakeObject(Id("legacy", "sys"), R"({"v":"new"})"), EXTERNAL);
  CorvConfigStore::SetUpgradeCtx(0);
  store_->SetUserData(MakeObject(kDns, R"({"domain":"now.org"})"), EXTERNAL);
  raw_->Exec("UPDATE Config SET DesiredValue = '{\"domain\":\"later.org\"}' WHERE Name = 'dns'");
  auto nextBoot = store_->GetNextBootStore();
  nextBoot->Set(MakeObject(Id("kernel", "sys"), R"({"cmdline":"quiet"})"));
  nextBoot->Delete(Id("boot", "sys", "b1"));

  EXPECT_EQ(Describe(ListPendingConfig()),
            "comp corv grp net key dns desired [{\"domain\":\"now.org\"}] -> "
            "[{\"domain\":\"later.org\"}]\n"
            "comp corv grp sys key boot id b1 next-boot-delete-instance [] -> []\n"
            "comp corv grp sys key kernel next-boot [] -> [{\"cmdline\":\"quiet\"}]\n"
            "comp corv grp sys key legacy awaiting-confirmation [] -> [{\"v\":\"new\"}]\n");
  EXPECT_EQ(ListPendingConfig("corv", "net").size(), 1u);
  EXPECT_TRUE(ListPendingConfig("corv", "lab").empty());

  // Confirming the boot leaves nothing pending in the rows.
  CorvConfigStore::SetBootStatus(Id("legacy", "sys"), true);
  CorvConfigStore::SetBootStatus(kDns, true);
  EXPECT_EQ(Describe(ListPendingConfig("corv", "net")), "");
  EXPECT_EQ(Describe(ListPendingConfig("corv", "sys")),
            "comp corv grp sys key boot id b1 next-boot-delete-instance [] -> []\n"
            "comp corv grp sys key kernel next-boot [] -> [{\"cmdline\":\"quiet\"}]\n");
}

TEST_F(StoreContentsTest, LayersOfASingletonSideBySide) {
  store_->Set(MakeObject(kDns, R"({"ttl":5})"), CorvConfigStore::INTERNAL);
  store_->SetUserData(MakeObject(kDns, R"({"domain":"user.org"})"), EXTERNAL);
  store_->SetVitalData(MakeObject(kDns, R"({"uptime":7})"));
  store_->SetCachedData(MakeObject(kDns, R"({"lastSync":"noon"})"));
  raw_->Exec("UPDATE Config SET DesiredValue = '{\"domain\":\"next.org\"}' WHERE Name = 'dns'");
  AddDefault(kDns, R"({"domain":"shipped.org"})");

  std::vector<LayerValues> layers = GetLayerValues(kDns);
  ASSERT_EQ(layers.size(), 1u);
  const LayerValues& dns = layers[0];
  EXPECT_EQ(dns.instanceId, "");
  EXPECT_TRUE(dns.stored);
  EXPECT_TRUE(dns.confirmed);
  EXPECT_EQ(dns.user, R"({"domain":"user.org"})");
  EXPECT_EQ(dns.autoConfigured, R"({"ttl":5})");
  EXPECT_EQ(dns.vital, R"({"uptime":7})");
  EXPECT_EQ(dns.cached, R"({"lastSync":"noon"})");
  EXPECT_EQ(dns.desired, R"({"domain":"next.org"})");
  EXPECT_TRUE(JsonEqual(R"({"ttl":5,"domain":"user.org"})", dns.configured));
  EXPECT_EQ(dns.shippedDefault, R"({"domain":"shipped.org"})");
  EXPECT_EQ(dns.nextBootAction, "");
  EXPECT_EQ(dns.nextBoot, "");
  EXPECT_EQ(dns.inForce, R"({"domain":"user.org"})");
  EXPECT_EQ(dns.atNextBoot, R"({"domain":"next.org"})");
}

TEST_F(StoreContentsTest, LayersOfEveryInstanceIncludeDefaultsAndNextBootEntries) {
  store_->SetUserData(MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1})"),
                      EXTERNAL);
  AddDefault(Id("iface", "net", "lo"), R"({"name":"lo","mtu":65536})");
  std::vector<LayerValues> iface = GetLayerValues(Id("iface", "net"));
  ASSERT_EQ(iface.size(), 2u);
  EXPECT_EQ(iface[0].instanceId, "eth0");
  EXPECT_TRUE(iface[0].stored);
  EXPECT_EQ(iface[0].user, R"({"name":"eth0","mtu":1})");
  EXPECT_EQ(iface[0].atNextBoot, iface[0].inForce);
  EXPECT_EQ(iface[1].instanceId, "lo");
  EXPECT_FALSE(iface[1].stored);
  EXPECT_EQ(iface[1].user, "");
  EXPECT_EQ(iface[1].shippedDefault, R"({"name":"lo","mtu":65536})");

  std::vector<LayerValues> one = GetLayerValues(Id("iface", "net", "lo"));
  ASSERT_EQ(one.size(), 1u);
  EXPECT_EQ(one[0].instanceId, "lo");

  auto nextBoot = store_->GetNextBootStore();
  nextBoot->Set(MakeObject(Id("boot", "sys", "b1"), R"({"name":"b1","args":"x"})"));
  nextBoot->Delete(Id("boot", "sys", "b2"));
  std::vector<LayerValues> boot = GetLayerValues(Id("boot", "sys"));
  ASSERT_EQ(boot.size(), 2u);
  EXPECT_EQ(boot[0].nextBootAction, "SET");
  EXPECT_EQ(boot[0].nextBoot, R"({"name":"b1","args":"x"})");
  EXPECT_EQ(boot[0].atNextBoot, boot[0].nextBoot);
  EXPECT_EQ(boot[1].nextBootAction, "DELETE_INSTANCE");
  EXPECT_EQ(boot[1].nextBoot, "");
  EXPECT_EQ(boot[1].atNextBoot, "");
}

TEST_F(StoreContentsTest, AnUnconfirmedUserValueIsNotInForce) {
  CorvConfigStore::SetUpgradeCtx(2);
  store_->SetUserData(MakeObject(Id("legacy", "sys"), R"({"v":"new"})"), EXTERNAL);
  CorvConfigStore::SetUpgradeCtx(0);
  std::vector<LayerValues> legacy = GetLayerValues(Id("legacy", "sys"));
  ASSERT_EQ(legacy.size(), 1u);
  EXPECT_FALSE(legacy[0].confirmed);
  EXPECT_EQ(legacy[0].inForce, "");
  EXPECT_EQ(legacy[0].configured, "");
  EXPECT_EQ(legacy[0].atNextBoot, R"({"v":"new"})");
}

TEST_F(StoreContentsTest, GeneratedIdsAreLeftOutOfEveryText) {
  store_->SetUserData(MakeObject(Id("dns", "net"), R"({"hosts":[{"ip":"1.2.3.4"}]})"),
                      EXTERNAL);
  std::vector<LayerValues> dns = GetLayerValues(kDns);
  ASSERT_EQ(dns.size(), 1u);
  EXPECT_EQ(dns[0].user.find("cs_generated_id"), std::string::npos) << dns[0].user;
}

TEST_F(StoreContentsTest, UnknownKeysAndMisnamedInstancesAreRefused) {
  EXPECT_TRUE(Throws<ConfigStoreException>([] { GetLayerValues(Id("nope", "net")); }, 1037,
                                           "Schema not found for: comp corv grp net key nope"));
  EXPECT_TRUE(Throws<ValidationException>([] { GetLayerValues(Id("dns", "net", "x")); }, 2000,
                                          "Singleton object cannot contain instanceId"));
}

TEST_F(StoreContentsTest, AStoreThatIsNotADatabaseIsAConnectFailureWithItsCause) {
  std::string path = env_.Dir().Write("junk.db", "this is no database, only some text");
  ScopedEnv store("CORV_CONFIGSTORE_DB", path);
  for (const std::function<void()>& read : std::vector<std::function<void()>>{
           [] { ListStoredKeys(); }, [] { ListPendingConfig(); },
           [] { GetLayerValues(kDns); }}) {
    try {
      read();
      ADD_FAILURE() << "read a store that is not a database";
    } catch (const ConfigStoreException& e) {
      EXPECT_EQ(e.GetErrorCode(), 2000);
      EXPECT_STREQ(e.what(), "Failed to connect to database");
      EXPECT_EQ(e.GetDetails(), std::vector<std::string>{path + ": file is not a database"});
    }
  }
}

}  // namespace
}  // namespace CorvTest
