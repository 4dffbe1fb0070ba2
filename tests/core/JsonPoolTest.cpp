// Values that live in another document's pool: ParseJsonOn parses onto a
// given allocator, MoveOntoPoolOf moves a value into a document of its own
// that keeps the lending document; and JsonToString, whose thread keeps its
// buffer between calls.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "core/Json.h"

using namespace CorvConfigStore;

namespace {

std::shared_ptr<JsonDocument> Parsed(const std::string& text) {
  auto document = NewJsonDocument(ParsedDocumentBytes(text.size()));
  EXPECT_TRUE(ParseJson(text.data(), text.size(), *document, nullptr)) << text;
  return document;
}

TEST(ParseJsonOnTest, ParsesOntoTheGivenAllocator) {
  auto base = Parsed(R"({"a":1})");
  const std::string text = R"({"name":"eth0","mtu":1500,"tags":["x","y"]})";
  JsonValue value;
  std::string error;
  ASSERT_TRUE(ParseJsonOn(text.data(), text.size(), base->GetAllocator(), value, &error));
  EXPECT_EQ(error, "");
  EXPECT_EQ(JsonToString(value), text);
  // Its strings and members are the base's: they move in without a copy and
  // stay valid as long as the base.
  base->AddMember(JsonValue("port", base->GetAllocator()), value, base->GetAllocator());
  EXPECT_TRUE(value.IsNull());
  EXPECT_EQ(JsonToString(*base), R"({"a":1,"port":{"name":"eth0","mtu":1500,"tags":["x","y"]}})");
}

TEST(ParseJsonOnTest, RefusesWhatParseJsonRefusesWithTheSameReason) {
  auto base = Parsed("{}");
  for (const std::string text : {"{\"a\":", "[1,2]x", "\"\\udc00\"", "{\"a\":1}{}", ""}) {
    JsonDocument document;
    std::string parseError;
    EXPECT_FALSE(ParseJson(text.data(), text.size(), document, &parseError)) << text;
    JsonValue value(7);
    std::string error;
    EXPECT_FALSE(ParseJsonOn(text.data(), text.size(), base->GetAllocator(), value, &error)) << text;
    EXPECT_EQ(error, parseError) << text;
    EXPECT_TRUE(value.IsNull()) << text;
  }
}

TEST(MoveOntoPoolOfTest, TheValueMovesAndItsLenderStaysAlive) {
  auto file = Parsed(R"({"ports":[{"name":"eth0","speed":"10G"},{"name":"eth1"}]})");
  JsonValue& first = (*file)["ports"][0];
  std::shared_ptr<JsonDocument> port = MoveOntoPoolOf(file, first);
  EXPECT_TRUE((*file)["ports"][0].IsNull());
  EXPECT_EQ(JsonToString((*file)["ports"][1]), R"({"name":"eth1"})");
  // The caller lets go of the file's document: the port's keeps it.
  std::weak_ptr<JsonDocument> lender = file;
  file.reset();
  ASSERT_FALSE(lender.expired());
  EXPECT_EQ(JsonToString(*port), R"({"name":"eth0","speed":"10G"})");
  // What the port allocates comes from the lender's pool.
  port->AddMember(JsonValue("mtu", port->GetAllocator()), JsonValue(9000), port->GetAllocator());
  EXPECT_EQ(&port->GetAllocator(), &lender.lock()->GetAllocator());
  EXPECT_EQ(JsonToString(*port), R"({"name":"eth0","speed":"10G","mtu":9000})");
  port.reset();
  EXPECT_TRUE(lender.expired());
}

TEST(JsonToStringTest, EachCallWritesOnlyItsOwnValue) {
  EXPECT_EQ(JsonToString(*Parsed(R"({"a":[1,2,{"b":null}]})")), R"({"a":[1,2,{"b":null}]})");
  EXPECT_EQ(JsonToString(*Parsed("true")), "true");
  // A text larger than the buffer a thread keeps, then small ones again.
  const std::string big = "\"" + std::string(100 * 1024, 'x') + "\"";
  EXPECT_EQ(JsonToString(*Parsed(big)), big);
  EXPECT_EQ(JsonToString(*Parsed("[]")), "[]");
  EXPECT_EQ(JsonToString(*Parsed(R"({"c":"d"})")), R"({"c":"d"})");
}

}  // namespace
