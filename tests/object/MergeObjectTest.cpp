// The merge of one configuration object into another: overrides, recursive
// objects, lists merged instance by instance, and nothing ever removed.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "NicsSchema.h"
#include "ObjectTestSupport.h"
#include "object/MergeObject.h"
#include "core/ErrorMessages.h"
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

// Merges update into target with the update's instance-id map and returns
// the target's text.
std::string Merged(const std::string& update, const std::string& target) {
  auto from = Nic(update);
  auto into = Nic(target);
  UpdateConfigInternal(from, into, ImplOf(from).GetIdMap());
  return ImplOf(into).GetSerializedData();
}

}  // namespace

TEST(MergeObjectTest, MembersAbsentFromTheUpdateStay) {
  EXPECT_EQ(Merged(R"({"name":"n","mtu":2})", R"({"name":"n","mtu":1,"desc":"x"})"),
            R"({"name":"n","desc":"x","mtu":2})");
}

TEST(MergeObjectTest, EqualValuesKeepTheirPlace) {
  EXPECT_EQ(Merged(R"({"name":"n","mtu":1})", R"({"mtu":1,"desc":"x","name":"n"})"),
            R"({"mtu":1,"desc":"x","name":"n"})");
}

TEST(MergeObjectTest, ScalarsNullsAndUnnamedArraysAreReplaced) {
  EXPECT_EQ(Merged(R"({"name":"n","desc":null,"tags":["b","c"],"flag":true})",
                   R"({"name":"n","desc":"x","tags":["a"]})"),
            R"({"name":"n","desc":null,"tags":["b","c"],"flag":true})");
}

TEST(MergeObjectTest, ObjectsAreMergedRecursivelyAndCreatedWhenMissing) {
  EXPECT_EQ(Merged(R"({"name":"n","opts":{"speed":2,"inner":{"x":1}}})",
                   R"({"name":"n","opts":{"speed":1,"duplex":"full"}})"),
            R"({"name":"n","opts":{"duplex":"full","speed":2,"inner":{"x":1}}})");
  EXPECT_EQ(Merged(R"({"name":"n","opts":{"speed":2}})", R"({"name":"n"})"),
            R"({"name":"n","opts":{"speed":2}})");
}

TEST(MergeObjectTest, ListsAreMergedInstanceByInstanceAndNeverShrink) {
  EXPECT_EQ(Merged(R"({"name":"n","ips":[{"addr":"b","prefix":3},{"addr":"c","prefix":4}]})",
                   R"({"name":"n","ips":[{"addr":"a","prefix":1},{"addr":"b","prefix":2}]})"),
            R"({"name":"n","ips":[{"addr":"a","prefix":1},{"addr":"b","prefix":3},)"
            R"({"addr":"c","prefix":4}]})");
  EXPECT_EQ(Merged(R"({"name":"n","ips":[]})", R"({"name":"n","ips":[{"addr":"a"}]})"),
            R"({"name":"n","ips":[{"addr":"a"}]})");
}

TEST(MergeObjectTest, MissingInstanceIsCreatedWithTheUpdatesId) {
  EXPECT_EQ(Merged(R"({"name":"n","ips":[{"prefix":9,"addr":"z"}]})", R"({"name":"n"})"),
            R"({"name":"n","ips":[{"addr":"z","prefix":9}]})");
}

TEST(MergeObjectTest, ArrayNotNamedInTheDocumentIsReplacedWhole) {
  auto from = Nic(R"({"ips":[{"addr":"b"}]})");
  auto into = Nic(R"({"ips":[{"addr":"a"}]})");
  auto names = CreateDocumentFromString(R"({"other":"x"})");
  UpdateConfigInternal(from, into, names);
  EXPECT_EQ(into->GetData(), R"({"name":"n","ips":[{"addr":"b"}]})");
  auto again = Nic(R"({"ips":[{"addr":"a"}]})");
  UpdateConfigInternal(from, again, nullptr);
  EXPECT_EQ(again->GetData(), R"({"name":"n","ips":[{"addr":"b"}]})");
}

TEST(MergeObjectTest, TheUpdateIsLeftAsItWas) {
  auto from = Nic(R"({"opts":{"speed":2},"ips":[{"addr":"b"}]})");
  std::string before = ImplOf(from).GetSerializedData();
  auto into = Nic(R"({"opts":{"speed":1},"ips":[{"addr":"a"}]})");
  UpdateConfigInternal(from, into, ImplOf(from).GetIdMap());
  EXPECT_EQ(ImplOf(from).GetSerializedData(), before);
}

TEST(MergeObjectTest, UpdateMustBeAnObject) {
  auto dns = SchemaFrom("dns", CorvTest::DnsSchemaText());
  auto from = ObjectFrom(dns, "[1]");
  auto into = ObjectFrom(dns, "{}");
  EXPECT_TRUE(ThrowsJsonError([&] { UpdateConfigInternal(from, into, nullptr); }, "IsObject()"));
}

TEST(MergeObjectTest, ObjectOverAScalarIsRefused) {
  auto from = Nic(R"({"desc":{"a":1}})");
  auto into = Nic(R"({"desc":"x"})");
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { UpdateConfigInternal(from, into, ImplOf(from).GetIdMap()); }, 2000,
      "Not a singleton SubObject: key desc"));
}

TEST(MergeObjectTest, NullHandlesAreLoggedAndIgnored) {
  CorvTest::LogCapture log(1);
  auto nic = Nic("{}");
  UpdateConfigInternal(nullptr, nic, nullptr);
  UpdateConfigInternal(nic, nullptr, nullptr);
  EXPECT_EQ(log.Lines().size(), 2u);
  EXPECT_TRUE(log.Has(1, std::string("[1041] UpdateConfigInternal: ") + ErrorMessageForId(1041)));
  EXPECT_EQ(nic->GetData(), R"({"name":"n"})");
}

TEST(MergeObjectTest, MergingWithinOneDocument) {
  auto nic = Nic(R"({"opts":{"speed":1,"mtu":9,"inner":{"x":2}},"mtu":1,"a":1,"b":2})");
  UpdateConfigInternal(nic->GetSubObject(SubObjectId("opts")), nic, ImplOf(nic).GetIdMap());
  EXPECT_EQ(nic->GetData(),
            R"({"opts":{"speed":1,"mtu":9,"inner":{"x":2}},"speed":1,"a":1,"b":2,"name":"n",)"
            R"("mtu":9,"inner":{"x":2}})");
  std::string before = nic->GetData();
  UpdateConfigInternal(nic, nic, ImplOf(nic).GetIdMap());
  EXPECT_EQ(nic->GetData(), before);
}
