// Instance lists against the shipped default configuration: filtering out
// instances equal to a default, adding the defaults a list lacks, and the
// instance equality behind both.
#include <corvconfigstore/Exceptions.h>

#include "document/ImportExportInternal.h"
#include "schema/SchemaStore.h"
#include "support/HostFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

const ConfigStoreObjectId kIface = Id("iface", "net");
const ConfigStoreObjectId kEth0 = Id("iface", "net", "eth0");
const ConfigStoreObjectId kEth1 = Id("iface", "net", "eth1");
const ConfigStoreObjectId kEth2 = Id("iface", "net", "eth2");
const ConfigStoreObjectId kRoutes = Id("routes", "gen");

class DefaultInstancesTest : public HostFixture {
 protected:
  void AddIfaceDefaults() {
    AddDefault(kEth0, R"({"name":"eth0","mtu":1500})");
    AddDefault(kEth1, R"({"name":"eth1","mtu":1500})", R"('{"name":"eth1","speed":10}')");
  }
  void AddRouteDefaults() {
    AddDefault(Id("routes", "gen", "g1"), R"({"dest":"a","cs_generated_id":"g1"})");
    AddDefault(Id("routes", "gen", "g2"), R"({"dest":"b","cs_generated_id":"g2"})");
  }
  // A route with a generated id of our choosing.
  ObjectPtr Route(const char* id, const char* dest) {
    return CreateObject(Id("routes", "gen", id),
                        std::string(R"({"dest":")") + dest + R"(","cs_generated_id":")" + id + "\"}");
  }

  static std::vector<ConfigStoreObjectId> IdsOf(const ObjectList& objects) {
    std::vector<ConfigStoreObjectId> ids;
    for (const auto& object : objects) ids.push_back(object->GetConfigStoreObjectId());
    return ids;
  }

  std::shared_ptr<CorvSchemaStore::SchemaObject> Schema(const ConfigStoreObjectId& id) {
    return CorvSchemaStore::SchemaStore::GetCache()->GetSchema(id.component, id.group, id.key);
  }
};

// ---- FilterDefaultConfigInstances

TEST_F(DefaultInstancesTest, AListEqualToTheDefaultsBecomesEmpty) {
  AddIfaceDefaults();
  LogCapture log(3);
  ObjectList objects{MakeObject(kEth1, R"({"speed":10,"mtu":1500,"name":"eth1"})"),
                     MakeObject(kEth0, R"({"mtu":1500,"name":"eth0"})")};
  FilterDefaultConfigInstances(objects);
  EXPECT_TRUE(objects.empty());
  EXPECT_TRUE(log.Has(3, "FilterDefaultConfigInstances invoked for comp corv grp net key iface"));
}

TEST_F(DefaultInstancesTest, StoredDefaultsReadBackAreFilteredOut) {
  AddIfaceDefaults();
  store_->SetInstances({MakeObject(kEth0, R"({"name":"eth0","mtu":1500})"),
                        MakeObject(kEth1, R"({"name":"eth1","mtu":1500,"speed":10})"),
                        MakeObject(kEth2, R"({"name":"eth2","mtu":1500})")},
                       EXTERNAL);
  ObjectList objects = store_->GetInstances(Filter(kIface));
  ASSERT_EQ(3u, objects.size());
  FilterDefaultConfigInstances(objects);
  EXPECT_EQ(std::vector<ConfigStoreObjectId>{kEth2}, IdsOf(objects));
}

TEST_F(DefaultInstancesTest, ChangedAndNewInstancesStayInOrder) {
  AddIfaceDefaults();
  ObjectList objects{MakeObject(kEth2, R"({"name":"eth2"})"),
                     MakeObject(kEth0, R"({"name":"eth0","mtu":9000})"),
                     MakeObject(kEth1, R"({"name":"eth1","mtu":1500,"speed":10})"),
                     MakeObject(Id("iface", "net", "eth3"), R"({"name":"eth3","mtu":1500})")};
  FilterDefaultConfigInstances(objects);
  EXPECT_EQ((std::vector<ConfigStoreObjectId>{kEth2, kEth0, Id("iface", "net", "eth3")}),
            IdsOf(objects));
}

TEST_F(DefaultInstancesTest, WithoutDefaultsNothingIsFiltered) {
  ObjectList objects{MakeObject(kEth0, R"({"name":"eth0","mtu":1500})")};
  FilterDefaultConfigInstances(objects);
  EXPECT_EQ(std::vector<ConfigStoreObjectId>{kEth0}, IdsOf(objects));
}

TEST_F(DefaultInstancesTest, EachGeneratedIdDefaultAbsorbsOneObject) {
  AddRouteDefaults();
  ObjectList objects{Route("x1", "a"), Route("x2", "a"), Route("x3", "c"), Route("x4", "b")};
  FilterDefaultConfigInstances(objects);
  EXPECT_EQ((std::vector<ConfigStoreObjectId>{Id("routes", "gen", "x2"), Id("routes", "gen", "x3")}),
            IdsOf(objects));
}

TEST_F(DefaultInstancesTest, NullEntriesAreDroppedAndLogged) {
  AddIfaceDefaults();
  LogCapture log(1);
  ObjectList objects{nullptr, MakeObject(kEth2, R"({"name":"eth2"})"), nullptr};
  FilterDefaultConfigInstances(objects);
  EXPECT_EQ(std::vector<ConfigStoreObjectId>{kEth2}, IdsOf(objects));
  EXPECT_TRUE(log.Has(1, "[1041] FilterDefaultConfigInstances: Object handle is null"));
}

TEST_F(DefaultInstancesTest, AnEmptyListIsRefused) {
  const std::string message = "The list of configuration objects is empty";
  ObjectList empty;
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { FilterDefaultConfigInstances(empty); }, 1061,
                                               message));
  ObjectList nulls{nullptr, nullptr};
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { FilterDefaultConfigInstances(nulls); }, 1061,
                                               message));
  // The caller's list is left as it was.
  EXPECT_EQ(2u, nulls.size());
}

TEST_F(DefaultInstancesTest, ASingletonIsRefused) {
  ObjectList objects{MakeObject(Id("dns", "net"), R"({"domain":"a"})")};
  EXPECT_TRUE(Throws<ValidationException>([&] { FilterDefaultConfigInstances(objects); }, 2000,
                                          "API called for singleton object, non-singleton expected"));
  EXPECT_EQ(1u, objects.size());
}

// ---- AddDefaultConfigInstances

TEST_F(DefaultInstancesTest, AnEmptyListGetsExactlyTheDefaults) {
  AddIfaceDefaults();
  LogCapture log(3);
  ObjectList objects;
  AddDefaultConfigInstances(kIface, objects);
  EXPECT_EQ((std::vector<ConfigStoreObjectId>{kEth0, kEth1}), IdsOf(objects));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","mtu":1500,"speed":10})", objects[1]->GetData()));
  EXPECT_TRUE(log.Has(3, "AddDefaultConfigInstances invoked for comp corv grp net key iface"));
}

TEST_F(DefaultInstancesTest, OnlyMissingDefaultsAreAppended) {
  AddIfaceDefaults();
  ObjectList objects{MakeObject(kEth2, R"({"name":"eth2"})"),
                     MakeObject(kEth0, R"({"name":"eth0","mtu":9000})")};
  AddDefaultConfigInstances(kIface, objects);
  EXPECT_EQ((std::vector<ConfigStoreObjectId>{kEth2, kEth0, kEth1}), IdsOf(objects));
  // The listed instance is not replaced by its default.
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":9000})", objects[1]->GetData()));
}

TEST_F(DefaultInstancesTest, WithoutDefaultsTheListStays) {
  ObjectList objects{MakeObject(kEth2, R"({"name":"eth2"})")};
  AddDefaultConfigInstances(kIface, objects);
  EXPECT_EQ(std::vector<ConfigStoreObjectId>{kEth2}, IdsOf(objects));
}

TEST_F(DefaultInstancesTest, AnInstanceIdentityAddsOnlyItsDefault) {
  AddIfaceDefaults();
  ObjectList objects;
  AddDefaultConfigInstances(kEth1, objects);
  EXPECT_EQ(std::vector<ConfigStoreObjectId>{kEth1}, IdsOf(objects));
}

TEST_F(DefaultInstancesTest, AddingToASingletonOrUnknownKeyIsRefused) {
  ObjectList objects;
  EXPECT_TRUE(Throws<ValidationException>(
      [&] { AddDefaultConfigInstances(Id("dns", "net"), objects); }, 2000,
      "API called for singleton object, non-singleton expected"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { AddDefaultConfigInstances(Id("nosuch", "net"), objects); }, 1037,
      "Schema not found for: comp corv grp net key nosuch"));
  EXPECT_TRUE(objects.empty());
}

// ---- Instance equality

TEST_F(DefaultInstancesTest, InstancesAreEqualByIdentityAndValue) {
  auto schema = Schema(kIface);
  auto a = MakeObject(kEth0, R"({"name":"eth0","mtu":1500,"enabled":true})");
  EXPECT_TRUE(IsEqualInstance(a, MakeObject(kEth0, R"({"enabled":true,"mtu":1500,"name":"eth0"})"),
                              schema));
  EXPECT_TRUE(IsEqualInstance(a, MakeObject(kEth0, R"({"name":"eth0","mtu":1500.0,"enabled":true})"),
                              schema));
  EXPECT_FALSE(IsEqualInstance(a, MakeObject(kEth0, R"({"name":"eth0","mtu":1500})"), schema));
  EXPECT_FALSE(IsEqualInstance(a, MakeObject(kEth1, R"({"name":"eth1","mtu":1500,"enabled":true})"),
                               schema));
  EXPECT_FALSE(IsEqualInstance(
      a, MakeObject(Id("iface", "lab", "eth0"), R"({"name":"eth0","mtu":1500})"), schema));
  EXPECT_FALSE(IsEqualInstance(a, nullptr, schema));
  EXPECT_FALSE(IsEqualInstance(nullptr, a, schema));
}

TEST_F(DefaultInstancesTest, GeneratedIdsPlayNoPartInEquality) {
  auto schema = Schema(kRoutes);
  EXPECT_TRUE(IsEqualInstance(Route("x1", "a"), Route("x2", "a"), schema));
  EXPECT_FALSE(IsEqualInstance(Route("x1", "a"), Route("x1", "b"), schema));
}

}  // namespace
