// Sub-objects: creation, look-up, instances of lists, removal, handles that
// outlive their parent and handles whose member or instance is gone.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "NicsSchema.h"
#include "ObjectTestSupport.h"
#include "support/LogCapture.h"
#include "object/ObjectAccess.h"

using namespace CorvConfigStore;
using CorvTest::ObjectFrom;
using CorvTest::SchemaFrom;
using CorvTest::Throws;
using CorvTest::ThrowsJsonError;

namespace {

std::shared_ptr<ConfigStoreObject> Nic(const std::string& data) {
  return ObjectFrom(SchemaFrom("nics", CorvTest::NicsSchemaText()), data, "n");
}

std::shared_ptr<FilterSpecObject> Filter(const std::string& key, const std::string& id = "") {
  return std::make_shared<FilterSpecObject>(ConfigStoreObjectId(key, "g", "c", id));
}

std::vector<std::string> InstanceIds(const std::vector<std::shared_ptr<ConfigStoreObject>>& list) {
  std::vector<std::string> ids;
  for (const auto& object : list) ids.push_back(object->GetConfigStoreObjectId().instanceId);
  return ids;
}

}  // namespace

TEST(SubObjectTest, CreateInstancesOfAList) {
  CorvTest::LogCapture log;
  auto nic = Nic("{}");
  auto a = nic->CreateSubObject(SubObjectId("ips", "10.0.0.1"));
  auto b = nic->CreateSubObject(SubObjectId("ips", "10.0.0.2"));
  EXPECT_TRUE(log.Has(4, "CreateSubObject : key ips id 10.0.0.1"));
  EXPECT_EQ(nic->GetData(), R"({"name":"n","ips":[{"addr":"10.0.0.1"},{"addr":"10.0.0.2"}]})");
  EXPECT_EQ(a->GetConfigStoreObjectId(), ConfigStoreObjectId("ips", "g", "c", "10.0.0.1"));
  EXPECT_EQ(ImplOf(a).GetRootId(), nic->GetConfigStoreObjectId());
  b->SetValue("prefix", 16);
  EXPECT_EQ(nic->GetData(),
            R"({"name":"n","ips":[{"addr":"10.0.0.1"},{"addr":"10.0.0.2","prefix":16}]})");
}

TEST(SubObjectTest, CreateRefusals) {
  auto nic = Nic(R"({"opts":{}})");
  nic->CreateSubObject(SubObjectId("ips", "x"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { nic->CreateSubObject(SubObjectId("ips", "x")); },
                                           2000, "Object already exists."));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { nic->CreateSubObject(SubObjectId("ips")); }, 2000,
                                           "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { nic->CreateSubObject(SubObjectId("opts")); }, 2000,
                                           "Object already exists."));
  EXPECT_EQ(nic->GetData(), R"({"opts":{},"name":"n","ips":[{"addr":"x"}]})");
}

TEST(SubObjectTest, CreateSingletonEvenWithAnInstanceId) {
  auto nic = Nic("{}");
  auto opts = nic->CreateSubObject(SubObjectId("opts", "x"));
  EXPECT_EQ(opts->GetConfigStoreObjectId(), ConfigStoreObjectId("opts", "g", "c", "x"));
  opts->SetValue("speed", 10);
  EXPECT_EQ(nic->GetData(), R"({"name":"n","opts":{"speed":10}})");
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { nic->GetSubObject(SubObjectId("opts", "x")); }, 2000,
      "Singleton object should not contain instanceId: key opts id x"));
}

TEST(SubObjectTest, SubObjectsShareTheParentsMetadata) {
  ConfigStoreObjectId id("nics", "g", "c", "n");
  auto nic = std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      id, id, 3UL, CreateDocumentFromString(R"({"opts":{}})"),
      SchemaFrom("nics", CorvTest::NicsSchemaText()), "9.9", "t1", "t2", 12, true, nullptr,
      nullptr));
  auto opts = nic->GetSubObject(SubObjectId("opts"));
  EXPECT_EQ(opts->GetVersion(), "9.9");
  EXPECT_EQ(opts->GetCreationTime(), "t1");
  EXPECT_EQ(opts->GetModifiedTime(), "t2");
  EXPECT_EQ(opts->GetRevision(), 12);
  EXPECT_EQ(ImplOf(opts).GetIndex(), std::optional<unsigned long>(3));
  EXPECT_EQ(ImplOf(opts).GetIdMap(), ImplOf(nic).GetIdMap());
  EXPECT_FALSE(ImplOf(opts).IsDerivedFromSchema());
}

TEST(SubObjectTest, GetSubObjectOfAnAbsentKeyIsEmpty) {
  CorvTest::LogCapture log;
  auto nic = Nic("{}");
  EXPECT_EQ(nic->GetSubObject(SubObjectId("opts")), nullptr);
  EXPECT_TRUE(log.Has(4, "GetSubObject : key opts"));
  EXPECT_TRUE(log.Has(4, "GetSubObject: Could not find key: opts"));
  EXPECT_EQ(nic->GetSubObject(SubObjectId("ips", "a")), nullptr);
}

TEST(SubObjectTest, GetSubObjectOfAList) {
  auto nic = Nic(R"({"ips":[{"addr":"a","prefix":8},{"addr":"b"}]})");
  auto b = nic->GetSubObject(SubObjectId("ips", "b"));
  ASSERT_TRUE(b);
  EXPECT_EQ(b->GetData(), R"({"addr":"b"})");
  EXPECT_EQ(nic->GetSubObject(SubObjectId("ips", "c")), nullptr);
  EXPECT_EQ(nic->GetSubObject(SubObjectId("ips", "A")), nullptr);
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { nic->GetSubObject(SubObjectId("ips")); }, 2000,
                                   "Non-Singleton object should contain instanceId: key ips"));
}

TEST(SubObjectTest, GetSingletonThatIsNotAnObject) {
  auto nic = Nic(R"({"desc":"text","opts":[]})");
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { nic->GetSubObject(SubObjectId("desc")); },
                                               2000, "Not a singleton SubObject: key desc"));
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { nic->GetSubObject(SubObjectId("opts", "x")); },
                                               2000, "Not a singleton SubObject: key opts id x"));
}

TEST(SubObjectTest, InstanceSearchNeedsStringIds) {
  auto nic = Nic(R"({"ips":[{"addr":1}],"routes":[5]})");
  EXPECT_TRUE(ThrowsJsonError([&] { nic->GetSubObject(SubObjectId("ips", "1")); }, "IsString()"));
  EXPECT_TRUE(
      ThrowsJsonError([&] { nic->GetSubObject(SubObjectId("routes", "r")); }, "IsObject()"));
  auto lacking = Nic(R"({"ips":[{"prefix":1}]})");
  EXPECT_TRUE(ThrowsJsonError([&] { lacking->GetSubObject(SubObjectId("ips", "1")); }, "false"));
  auto notList = Nic(R"({"ips":{"addr":"a"}})");
  EXPECT_TRUE(
      ThrowsJsonError([&] { notList->GetSubObject(SubObjectId("ips", "a")); }, "IsArray()"));
  EXPECT_TRUE(
      ThrowsJsonError([&] { notList->CreateSubObject(SubObjectId("ips", "b")); }, "IsArray()"));
}

TEST(SubObjectTest, GetSubObjectInstances) {
  CorvTest::LogCapture log;
  auto nic = Nic(R"({"ips":[{"addr":"a"},{"addr":"b"},{"addr":"c"}]})");
  EXPECT_EQ(InstanceIds(nic->GetSubObjectInstances(Filter("ips"))),
            (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(log.Has(4, "GetSubObjectInstances : key ips"));
  auto one = nic->GetSubObjectInstances(Filter("ips", "b"));
  ASSERT_EQ(one.size(), 1u);
  EXPECT_EQ(one[0]->GetData(), R"({"addr":"b"})");
  EXPECT_EQ(one[0]->GetPath(nullptr), "/c/g/nics/ips/1");
  EXPECT_TRUE(nic->GetSubObjectInstances(Filter("ips", "zz")).empty());
}

TEST(SubObjectTest, GetSubObjectInstancesEdgeCases) {
  CorvTest::LogCapture log;
  auto nic = Nic(R"({"opts":{},"routes":{}})");
  EXPECT_TRUE(nic->GetSubObjectInstances(nullptr).empty());
  EXPECT_TRUE(log.Has(0, "GetSubObjectInstances called with no filter spec object"));
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { nic->GetSubObjectInstances(Filter("opts")); },
                                               1046, "Not a non-singleton object:  opts"));
  EXPECT_TRUE(nic->GetSubObjectInstances(Filter("ips")).empty());
  EXPECT_TRUE(log.Has(4, "GetSubObjectInstances: Could not find key: ips"));
  EXPECT_TRUE(ThrowsJsonError([&] { nic->GetSubObjectInstances(Filter("routes")); }, "IsArray()"));
  auto dns = ObjectFrom(SchemaFrom("dns", CorvTest::DnsSchemaText()), R"({"servers":[]})");
  EXPECT_TRUE(
      Throws<InvalidArgumentException>([&] { dns->GetSubObjectInstances(Filter("servers")); }, 1046,
                                       "Not a non-singleton object:  servers"));
}

TEST(SubObjectTest, DeleteSubObject) {
  CorvTest::LogCapture log;
  auto nic = Nic(R"({"opts":{"speed":1},"mtu":5,"ips":[{"addr":"a"},{"addr":"b"},{"addr":"c"}]})");
  nic->DeleteSubObject(SubObjectId("ips", "a"));
  EXPECT_TRUE(log.Has(4, "DeleteSubObject : key ips id a"));
  EXPECT_EQ(nic->GetData(),
            R"({"opts":{"speed":1},"mtu":5,"ips":[{"addr":"b"},{"addr":"c"}],"name":"n"})");
  nic->DeleteSubObject(SubObjectId("ips", "zz"));
  nic->DeleteSubObject(SubObjectId("opts"));
  EXPECT_EQ(nic->GetData(), R"({"name":"n","mtu":5,"ips":[{"addr":"b"},{"addr":"c"}]})");
  nic->DeleteSubObject(SubObjectId("opts"));
  EXPECT_TRUE(log.Has(1, "DeleteSubObject: Could not find key: opts"));
}

TEST(SubObjectTest, DeleteSubObjectInstances) {
  CorvTest::LogCapture log;
  auto nic = Nic(R"({"ips":[{"addr":"a"},{"addr":"b"},{"addr":"c"}]})");
  nic->DeleteSubObjectInstances(nullptr);
  EXPECT_TRUE(log.Has(0, "DeleteSubObjectInstances called with no filter spec object"));
  nic->DeleteSubObjectInstances(Filter("ips", "b"));
  EXPECT_EQ(nic->GetData(), R"({"ips":[{"addr":"a"},{"addr":"c"}],"name":"n"})");
  nic->DeleteSubObjectInstances(Filter("ips"));
  EXPECT_EQ(nic->GetData(), R"({"ips":[],"name":"n"})");
  EXPECT_TRUE(
      Throws<InvalidArgumentException>([&] { nic->DeleteSubObjectInstances(Filter("opts")); }, 1046,
                                       "Not a non-singleton object:  opts"));
}

TEST(SubObjectTest, ValueSetThroughASubObjectShowsInTheParent) {
  auto nic = Nic(R"({"opts":{"inner":{}}})");
  auto inner = nic->GetSubObject(SubObjectId("opts"))->GetSubObject(SubObjectId("inner"));
  ASSERT_TRUE(inner);
  inner->SetValue("x", 3);
  EXPECT_EQ(nic->GetData(), R"({"opts":{"inner":{"x":3}},"name":"n"})");
  EXPECT_EQ(ImplOf(inner).GetDoc()->GetPath().size(), 2u);
}

TEST(SubObjectTest, SubObjectHandlesOutliveTheirParent) {
  auto nic = Nic("{}");
  auto ip = nic->CreateSubObject(SubObjectId("ips", "a"));
  auto opts = nic->CreateSubObject(SubObjectId("opts"));
  nic.reset();
  ip->SetValue("prefix", 24);
  opts->SetValue("speed", 1000);
  auto inner = opts->CreateSubObject(SubObjectId("inner"));
  inner->SetValue("x", 1);
  EXPECT_EQ(
      JsonToString(*ImplOf(ip).GetDoc()->GetDocument()),
      R"({"name":"n","ips":[{"addr":"a","prefix":24}],"opts":{"speed":1000,"inner":{"x":1}}})");
}

TEST(SubObjectTest, InstanceDeletedThroughTheParentRaisesOnNextAccess) {
  CorvTest::LogCapture log;
  auto nic = Nic(R"({"ips":[{"addr":"a"},{"addr":"b"}],"opts":{}})");
  auto a = nic->GetSubObject(SubObjectId("ips", "a"));
  auto b = nic->GetSubObject(SubObjectId("ips", "b"));
  auto opts = nic->GetSubObject(SubObjectId("opts"));
  nic->DeleteSubObject(SubObjectId("ips", "a"));
  int prefix = 0;
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { a->GetValue("prefix", &prefix); }, 2000,
                                           "Subobject instance does not exists."));
  EXPECT_TRUE(log.Has(0, "Cannot find subobject instance addr=a"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { a->SetValue("prefix", 1); }, 2000,
                                           "Subobject instance does not exists."));
  // The other instance moved up and is still found by its id.
  b->SetValue("prefix", 8);
  EXPECT_EQ(nic->GetData(), R"({"ips":[{"addr":"b","prefix":8}],"opts":{},"name":"n"})");
  nic->DeleteSubObject(SubObjectId("opts"));
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { opts->IsEmpty(); }, 2000, "Subobject does not exists."));
  nic->DeleteSubObjectInstances(Filter("ips"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { b->GetData(); }, 2000,
                                           "Subobject instance does not exists."));
  nic->Remove("ips");
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { b->GetData(); }, 2000, "Subobject does not exists."));
}

TEST(SubObjectTest, ListsInsideASingletonUseTheSharedMap) {
  auto map = CreateDocumentFromString(R"({"ips":"addr"})");
  ConfigStoreObjectId id("top", "g", "c");
  auto top = std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, CreateDocumentFromString(R"({"s":{}})"), nullptr, "1", "", "", -1,
      false, map, nullptr));
  auto s = top->GetSubObject(SubObjectId("s"));
  s->CreateSubObject(SubObjectId("ips", "x"))->SetValue("p", 1);
  EXPECT_EQ(top->GetData(), R"({"s":{"ips":[{"addr":"x","p":1}]}})");
  EXPECT_EQ(InstanceIds(s->GetSubObjectInstances(Filter("ips"))), std::vector<std::string>{"x"});
}
