// GetPath: JSON Pointers of objects, sub-objects and their properties.
#include <corvconfigstore/ConfigStoreObject.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "NicsSchema.h"
#include "ObjectTestSupport.h"

using namespace CorvConfigStore;
using CorvTest::ObjectFrom;
using CorvTest::SchemaFrom;

namespace {

std::shared_ptr<ConfigStoreObject> Nic(const std::string& data,
                                       std::optional<unsigned long> index = std::nullopt) {
  return ObjectFrom(SchemaFrom("nics", CorvTest::NicsSchemaText()), data, "n", index);
}

}  // namespace

TEST(ObjectPathTest, TopLevelObject) {
  auto nic = Nic("{}");
  EXPECT_EQ(nic->GetPath(nullptr), "/c/g/nics");
  EXPECT_EQ(nic->GetPath("mtu"), "/c/g/nics/mtu");
  auto indexed = Nic("{}", 3);
  EXPECT_EQ(indexed->GetPath("mtu"), "/c/g/nics/3/mtu");
}

TEST(ObjectPathTest, InstanceAtArrayPositionTwo) {
  auto nic = Nic(R"({"ips":[{"addr":"a"},{"addr":"b"},{"addr":"c"}]})");
  auto c = nic->GetSubObject(SubObjectId("ips", "c"));
  EXPECT_EQ(c->GetPath("prefix"), "/c/g/nics/ips/2/prefix");
  EXPECT_EQ(c->GetPath(nullptr), "/c/g/nics/ips/2");
}

TEST(ObjectPathTest, SubObjectOfAnIndexedObject) {
  auto nic = Nic(R"({"opts":{"inner":{}}})", 1);
  auto inner = nic->GetSubObject(SubObjectId("opts"))->GetSubObject(SubObjectId("inner"));
  EXPECT_EQ(inner->GetPath("x"), "/c/g/nics/1/opts/inner/x");
}

TEST(ObjectPathTest, CreatedInstanceHasNoPositionUntilLookedUpAgain) {
  auto nic = Nic(R"({"ips":[{"addr":"a"}]})");
  auto created = nic->CreateSubObject(SubObjectId("ips", "b"));
  EXPECT_EQ(created->GetPath("prefix"), "/c/g/nics/ips/prefix");
  EXPECT_EQ(nic->GetSubObject(SubObjectId("ips", "b"))->GetPath("prefix"),
            "/c/g/nics/ips/1/prefix");
}

TEST(ObjectPathTest, TokensAreEscaped) {
  auto schema = SchemaFrom("k~/x", R"({"type":"object"})");
  ConfigStoreObjectId id("k~/x", "g/1", "c~", "");
  auto object = std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, CreateDocumentFromString(R"({"a/b":{}})"), schema, "", "", "", -1, true,
      nullptr, nullptr));
  EXPECT_EQ(object->GetPath("p~q/r"), "/c~0/g~11/k~0~1x/p~0q~1r");
  EXPECT_EQ(object->GetSubObject(SubObjectId("a/b"))->GetPath(""), "/c~0/g~11/k~0~1x/a~1b/");
}

TEST(ObjectPathTest, PositionsAreWrittenAs32BitUnsigned) {
  auto nic = Nic("{}", 4294967296UL + 5);
  EXPECT_EQ(nic->GetPath(nullptr), "/c/g/nics/5");
}

TEST(ObjectPathTest, PathAfterSetDataHasNoSteps) {
  auto nic = Nic(R"({"opts":{}})");
  auto opts = nic->GetSubObject(SubObjectId("opts"));
  opts->SetData(R"({"speed":1})");
  EXPECT_EQ(opts->GetPath("speed"), "/c/g/nics/speed");
  EXPECT_EQ(nic->GetData(), R"({"opts":{},"name":"n"})");
}
