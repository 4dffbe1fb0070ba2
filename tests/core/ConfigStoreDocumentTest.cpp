// Document helpers: member test, serialisation, schema-aware equality and
// the placement of objects in whole-store documents.
#include <gtest/gtest.h>

#include <string>

#include "core/Json.h"
#include "core/ConfigStoreDocument.h"
#include "support/ParseJsonText.h"

using namespace CorvConfigStore;

namespace {

using CorvTest::Parse;

bool Equal(const std::string& a, const std::string& b, const char* schema = nullptr) {
  JsonDocument left = Parse(a), right = Parse(b);
  if (schema == nullptr) return ConfigStoreDocument::IsEqualValue(left, right);
  JsonDocument schemaDocument = Parse(schema);
  return ConfigStoreDocument::IsEqualValue(left, right, &schemaDocument);
}

// A key with instances named by "name", each holding a list of ports named
// by "id", a list of addresses with generated ids and an ordered list.
const char* kSchema = R"({"type": "array", "items": {"type": "object", "properties": {
    "name": {"type": "string", "instanceId": true},
    "ports": {"type": "array", "items": {"type": "object", "properties": {
        "id": {"type": "string", "instanceId": true}, "speed": {"type": "integer"}}}},
    "addresses": {"type": "array", "items": {"type": "object",
        "properties": {"ip": {"type": "string"}}}},
    "dns": {"type": "array", "items": {"type": "string"}}}}})";

}  // namespace

TEST(ConfigStoreDocumentTest, ValueExistsOnlyForObjectMembers) {
  JsonDocument value = Parse(R"({"a": null})");
  EXPECT_TRUE(ConfigStoreDocument::ValueExists(value, "a"));
  EXPECT_FALSE(ConfigStoreDocument::ValueExists(value, "b"));
  EXPECT_FALSE(ConfigStoreDocument::ValueExists(Parse(R"(["a"])"), "a"));
}

TEST(ConfigStoreDocumentTest, SerializeValueIsCompact) {
  EXPECT_EQ(ConfigStoreDocument::SerializeValue(Parse(R"({ "a" : [1, 2.5, "x"], "b": {} })")),
            R"({"a":[1,2.5,"x"],"b":{}})");
}

TEST(IsEqualValueTest, WithoutSchemaComparesDeeplyIgnoringMemberOrder) {
  EXPECT_TRUE(Equal(R"({"a": 1, "b": {"c": [1, 2], "d": null}})",
                    R"({"b": {"d": null, "c": [1.0, 2]}, "a": 1})"));
  EXPECT_FALSE(Equal(R"({"a": 1})", R"({"a": 1, "b": 2})"));
  EXPECT_FALSE(Equal(R"({"a": 1, "c": 2})", R"({"a": 1, "b": 2})"));
  EXPECT_FALSE(Equal("[1, 2]", "[2, 1]"));
  EXPECT_FALSE(Equal("[1, 2]", "[1, 2, 3]"));
  EXPECT_FALSE(Equal("1", "true"));
  EXPECT_FALSE(Equal("0", "false"));
  EXPECT_FALSE(Equal("null", "{}"));
  EXPECT_FALSE(Equal(R"("a")", R"("a ")"));
  EXPECT_TRUE(Equal("-0.0", "0"));
  EXPECT_FALSE(Equal("9007199254740993", "9007199254740992"));
  EXPECT_FALSE(Equal("-1", "18446744073709551615"));
}

TEST(IsEqualValueTest, LargeObjectsCompareIgnoringMemberOrder) {
  std::string forward = "{", backward = "{";
  for (int i = 0; i < 100; ++i) {
    forward += (i ? "," : "") + std::string("\"k") + std::to_string(i) + "\":" + std::to_string(i);
    backward += (i ? "," : "") + std::string("\"k") + std::to_string(99 - i) +
                "\":" + std::to_string(99 - i);
  }
  EXPECT_TRUE(Equal(forward + "}", backward + "}"));
  EXPECT_FALSE(Equal(forward + "}", backward.substr(0, backward.size() - 1) + "1}"));
}

TEST(IsEqualValueTest, InstancesCompareAsSetsKeyedById) {
  // The key schema given two instances describes them through "items".
  EXPECT_TRUE(Equal(R"({"name": "a", "ports": [{"id": "p1", "speed": 1}, {"id": "p2"}]})",
                    R"({"ports": [{"id": "p2"}, {"speed": 1, "id": "p1"}], "name": "a"})",
                    kSchema));
  EXPECT_FALSE(Equal(R"({"name": "a", "ports": [{"id": "p1", "speed": 1}, {"id": "p2"}]})",
                     R"({"name": "a", "ports": [{"id": "p2", "speed": 1}, {"id": "p1"}]})",
                     kSchema));
  EXPECT_FALSE(Equal(R"({"name": "a", "ports": [{"id": "p1"}, {"id": "p2"}]})",
                     R"({"name": "a", "ports": [{"id": "p1"}, {"id": "p3"}]})", kSchema));
  EXPECT_FALSE(Equal(R"({"name": "a", "ports": [{"id": "p1"}]})",
                     R"({"name": "a", "ports": [{"id": "p1"}, {"id": "p2"}]})", kSchema));
  // The key's own instances, given as arrays.
  EXPECT_TRUE(Equal(R"([{"name": "a"}, {"name": "b", "dns": ["x"]}])",
                    R"([{"name": "b", "dns": ["x"]}, {"name": "a"}])", kSchema));
}

TEST(IsEqualValueTest, GeneratedIdsKeyInstancesOfItemsNamingNone) {
  EXPECT_TRUE(Equal(R"({"addresses": [{"cs_generated_id": "g1", "ip": "1"},
                                      {"cs_generated_id": "g2", "ip": "2"}]})",
                    R"({"addresses": [{"cs_generated_id": "g2", "ip": "2"},
                                      {"cs_generated_id": "g1", "ip": "1"}]})",
                    kSchema));
  EXPECT_FALSE(Equal(R"({"addresses": [{"cs_generated_id": "g1", "ip": "1"}]})",
                     R"({"addresses": [{"cs_generated_id": "g1", "ip": "2"}]})", kSchema));
}

TEST(IsEqualValueTest, InstancesWithoutUsableIdsCompareInOrder) {
  // A missing id, a repeated id or an id that is no text: in order.
  EXPECT_TRUE(Equal(R"({"ports": [{"speed": 1}, {"id": "p"}]})",
                    R"({"ports": [{"speed": 1}, {"id": "p"}]})", kSchema));
  EXPECT_FALSE(Equal(R"({"ports": [{"speed": 1}, {"id": "p"}]})",
                     R"({"ports": [{"id": "p"}, {"speed": 1}]})", kSchema));
  EXPECT_FALSE(Equal(R"({"ports": [{"id": "p", "speed": 1}, {"id": "p"}]})",
                     R"({"ports": [{"id": "p"}, {"id": "p", "speed": 1}]})", kSchema));
  EXPECT_FALSE(Equal(R"({"ports": [{"id": 1}, {"id": 2}]})", R"({"ports": [{"id": 2}, {"id": 1}]})",
                     kSchema));
}

TEST(IsEqualValueTest, OtherArraysCompareInOrder) {
  EXPECT_TRUE(Equal(R"({"dns": ["a", "b"]})", R"({"dns": ["a", "b"]})", kSchema));
  EXPECT_FALSE(Equal(R"({"dns": ["a", "b"]})", R"({"dns": ["b", "a"]})", kSchema));
  // Without a schema even arrays of instances are ordered.
  EXPECT_FALSE(Equal(R"({"ports": [{"id": "p1"}, {"id": "p2"}]})",
                     R"({"ports": [{"id": "p2"}, {"id": "p1"}]})"));
}

TEST(IsEqualValueTest, SchemaThatIsNoObjectMeansPlainEquality) {
  EXPECT_TRUE(Equal(R"({"a": [1]})", R"({"a": [1]})", "true"));
  EXPECT_FALSE(Equal(R"({"a": [1, 2]})", R"({"a": [2, 1]})", "[]"));
}
