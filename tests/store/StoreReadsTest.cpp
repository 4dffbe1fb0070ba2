// Reads through the store handle: objects, defaults, instances, instance
// ids, revisions, and validation without a write.
#include "StoreFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

using StoreReadsTest = StoreFixture;

void SetInterfaces(ConfigStore& store, const std::vector<std::string>& names) {
  ObjectList objects;
  for (const auto& name : names)
    objects.push_back(MakeObject(Id("iface", "net", name.c_str()),
                                 R"({"name":")" + name + R"(","mtu":1500})"));
  store.SetInstances(objects, EXTERNAL);
}

TEST_F(StoreReadsTest, GetOfAnAbsentObjectIsNull) {
  LogCapture log;
  EXPECT_FALSE(store_->Get(Id("dns", "net")));
  EXPECT_TRUE(log.Has(4, "Get : comp corv grp net key dns, context: 1"));
}

TEST_F(StoreReadsTest, GetMergesTheLayersOfTheRow) {
  store_->Set(MakeObject(Id("dns", "net"),
                         R"({"domain":"example.org","uptime":5,"lastSync":"noon"})"),
              EXTERNAL);
  ObjectPtr object = store_->Get(Id("dns", "net"));
  ASSERT_TRUE(object);
  EXPECT_TRUE(JsonEqual(R"({"domain":"example.org","uptime":5,"lastSync":"noon"})",
                        object->GetData()));
  EXPECT_EQ(1, object->GetRevision());
  EXPECT_FALSE(object->GetCreationTime().empty());
}

TEST_F(StoreReadsTest, GetChecksTheIdentifier) {
  EXPECT_TRUE(Throws<ValidationException>([this] { store_->Get(Id("dns", "net", "x")); }, 2000,
                                          "Singleton object cannot contain instanceId"));
  EXPECT_TRUE(Throws<ValidationException>([this] { store_->Get(Id("iface", "net")); }, 2000,
                                          "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(Throws<ConfigStoreException>([this] { store_->Get(Id("nope", "net")); }, 1037,
                                           "Schema not found for: comp corv grp net key nope"));
}

TEST_F(StoreReadsTest, RevisionOfAnAbsentRowIsMinusOne) {
  LogCapture log;
  EXPECT_EQ(-1, store_->GetRevision(Id("motd", "sys")));
  EXPECT_TRUE(log.Has(4, "GetRevision : comp corv grp sys key motd, context: 1"));
}

TEST_F(StoreReadsTest, RevisionGrowsWithEveryWrite) {
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"a"})"), EXTERNAL);
  EXPECT_EQ(1, store_->GetRevision(Id("motd", "sys")));
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"b"})"), EXTERNAL);
  EXPECT_EQ(2, store_->GetRevision(Id("motd", "sys")));
  SetInterfaces(*store_, {"eth0"});
  EXPECT_EQ(1, store_->GetRevision(Id("iface", "net", "eth0")));
  EXPECT_TRUE(Throws<ValidationException>([this] { store_->GetRevision(Id("iface", "net")); },
                                          2000,
                                          "Non-Singleton object should contain instanceId"));
}

TEST_F(StoreReadsTest, InstanceIdsListEveryStoredInstance) {
  LogCapture log;
  EXPECT_TRUE(store_->GetInstanceIds(Id("iface", "net")).empty());
  SetInterfaces(*store_, {"eth1", "eth0", "eth2"});
  std::vector<std::string> ids = store_->GetInstanceIds(Id("iface", "net"));
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ((std::vector<std::string>{"eth0", "eth1", "eth2"}), ids);
  EXPECT_TRUE(log.Has(4, "GetInstanceIds : comp corv grp net key iface, context: 1"));
  // Instances of another group are not listed.
  store_->SetInstances({MakeObject(Id("iface", "lab", "x"), R"({"name":"x"})")}, EXTERNAL);
  EXPECT_EQ(3u, store_->GetInstanceIds(Id("iface", "net")).size());
}

TEST_F(StoreReadsTest, InstanceIdsOfASingletonAreRefused) {
  EXPECT_TRUE(Throws<ValidationException>([this] { store_->GetInstanceIds(Id("dns", "net")); },
                                          2000,
                                          "API called for singleton object, non-singleton "
                                          "expected"));
}

TEST_F(StoreReadsTest, InstancesRevisionListsAllOrOne) {
  SetInterfaces(*store_, {"eth0", "eth1"});
  store_->SetUserData(MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1","mtu":1})"),
                      EXTERNAL);
  std::vector<RevisionInfo> all = store_->GetInstancesRevision(Id("iface", "net"));
  ASSERT_EQ(2u, all.size());
  std::sort(all.begin(), all.end(),
            [](const RevisionInfo& a, const RevisionInfo& b) { return a.instanceId < b.instanceId; });
  EXPECT_EQ("eth0", all[0].instanceId);
  EXPECT_EQ(1, all[0].revision);
  EXPECT_EQ("eth1", all[1].instanceId);
  EXPECT_EQ(2, all[1].revision);

  std::vector<RevisionInfo> one = store_->GetInstancesRevision(Id("iface", "net", "eth1"));
  ASSERT_EQ(1u, one.size());
  EXPECT_EQ("eth1", one[0].instanceId);
  EXPECT_EQ(2, one[0].revision);
  EXPECT_TRUE(store_->GetInstancesRevision(Id("iface", "net", "eth7")).empty());
  EXPECT_TRUE(Throws<ValidationException>(
      [this] { store_->GetInstancesRevision(Id("dns", "net")); }, 2000,
      "API called for singleton object, non-singleton expected"));
}

TEST_F(StoreReadsTest, GetInstancesWithANullFilterIsEmpty) {
  LogCapture log;
  EXPECT_TRUE(store_->GetInstances(nullptr).empty());
  EXPECT_TRUE(log.Has(1, "[1041] GetInstances: Object handle is null"));
  EXPECT_TRUE(store_->GetDefaultConfigInstances(nullptr).empty());
  EXPECT_TRUE(log.Has(1, "[1041] GetDefaultConfigInstances: Object handle is null"));
}

TEST_F(StoreReadsTest, GetInstancesFollowsTheFilter) {
  store_->SetInstances(
      {MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1500})"),
       MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1","mtu":9000})"),
       MakeObject(Id("iface", "net", "eth2"), R"({"name":"eth2","mtu":9000})")},
      EXTERNAL);
  LogCapture log;
  EXPECT_EQ(3u, store_->GetInstances(Filter(Id("iface", "net"))).size());
  EXPECT_TRUE(log.Has(4, "GetInstances : comp corv grp net key iface, context: 1"));

  auto jumbo = Filter(Id("iface", "net"));
  jumbo->SetValue("mtu", 9000);
  ObjectList found = store_->GetInstances(jumbo);
  std::vector<std::string> names;
  for (const auto& object : found) names.push_back(object->GetConfigStoreObjectId().instanceId);
  std::sort(names.begin(), names.end());
  EXPECT_EQ((std::vector<std::string>{"eth1", "eth2"}), names);

  ObjectList one = store_->GetInstances(Filter(Id("iface", "net", "eth0")));
  ASSERT_EQ(1u, one.size());
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500})", one[0]->GetData()));

  EXPECT_TRUE(Throws<ValidationException>([this] { store_->GetInstances(Filter(Id("dns", "net"))); },
                                          2000,
                                          "API called for singleton object, non-singleton "
                                          "expected"));
}

TEST_F(StoreReadsTest, DefaultConfigIsReadFromTheShippedDefaults) {
  LogCapture log;
  EXPECT_FALSE(store_->GetDefaultConfig(Id("dns", "net")));
  EXPECT_TRUE(log.Has(0, "Object not found: comp corv grp net key dns"));
  EXPECT_TRUE(log.Has(4, "GetDefaultConfig : comp corv grp net key dns, context: 1"));

  AddDefault(Id("dns", "net"), R"({"domain":"local"})", R"('{"uptime":0}')");
  ObjectPtr object = store_->GetDefaultConfig(Id("dns", "net"));
  ASSERT_TRUE(object);
  EXPECT_TRUE(JsonEqual(R"({"domain":"local","uptime":0})", object->GetData()));
  // The live store is untouched.
  EXPECT_FALSE(store_->Get(Id("dns", "net")));
  EXPECT_TRUE(Throws<ValidationException>(
      [this] { store_->GetDefaultConfig(Id("dns", "net", "x")); }, 2000,
      "Singleton object cannot contain instanceId"));
}

TEST_F(StoreReadsTest, DefaultConfigInstancesAreReadFromTheShippedDefaults) {
  AddDefault(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1500})");
  AddDefault(Id("iface", "net", "eth1"), R"({"name":"eth1","mtu":9000})");
  LogCapture log;
  EXPECT_EQ(2u, store_->GetDefaultConfigInstances(Filter(Id("iface", "net"))).size());
  EXPECT_TRUE(log.Has(4, "GetDefaultConfigInstances : comp corv grp net key iface, context: 1"));
  ObjectList one = store_->GetDefaultConfigInstances(Filter(Id("iface", "net", "eth1")));
  ASSERT_EQ(1u, one.size());
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","mtu":9000})", one[0]->GetData()));
  EXPECT_TRUE(Throws<ValidationException>(
      [this] { store_->GetDefaultConfigInstances(Filter(Id("dns", "net"))); }, 2000,
      "API called for singleton object, non-singleton expected"));
}

TEST_F(StoreReadsTest, ValidateOfANullObjectIsEmpty) {
  LogCapture log;
  EXPECT_TRUE(store_->Validate(nullptr).empty());
  EXPECT_TRUE(log.Has(1, "[1041] Validate: Object handle is null"));
}

TEST_F(StoreReadsTest, ValidateReportsEveryErrorAndWritesNothing) {
  LogCapture log;
  EXPECT_TRUE(store_->Validate(MakeObject(Id("dns", "net"), R"({"domain":"a"})")).empty());
  EXPECT_TRUE(log.Has(3, "Validate : comp corv grp net key dns, context: 1"));

  std::vector<ErrorInfo> errors =
      store_->Validate(MakeObject(Id("dns", "net"), R"({"domain":5,"ttl":-1})"));
  ASSERT_EQ(2u, errors.size());
  std::vector<std::string> locations{errors[0].location, errors[1].location};
  std::sort(locations.begin(), locations.end());
  EXPECT_EQ((std::vector<std::string>{"/domain", "/ttl"}), locations);
  EXPECT_EQ("<no row>", raw_->Column(Id("dns", "net"), "UserValue"));
}

TEST_F(StoreReadsTest, ValidateReportsAnIdentityThatDoesNotFit) {
  // Validation does not check the identifier first: a singleton with an
  // instance id is one record, and its value is not looked at.
  auto object = std::make_shared<ConfigStoreObject>(Id("dns", "net", "x"));
  std::vector<ErrorInfo> errors = store_->Validate(object);
  ASSERT_EQ(1u, errors.size());
  EXPECT_EQ("/", errors[0].location);
  EXPECT_EQ("Singleton configuration used as a non-singleton: /corv/net/dns",
            errors[0].message);
}

}  // namespace
