// Checking and copying JSON text without building it: CheckJson and
// CopyJsonWithoutGeneratedIds accept and refuse what ParseJson does, with
// the same reasons, and tell what they were asked of the value; the copy is
// the text WriteWithoutGeneratedIds writes of the parsed value.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/Json.h"
#include "core/JsonDoc.h"

using namespace CorvConfigStore;

namespace {

// What ParseJson makes of text, in the terms CheckJson answers in.
struct Parsed {
  bool accepted;
  std::string error;
  bool isObject;
  bool holdsExpected;
};

Parsed Parse(const std::string& text, const std::string& member, const std::string& expected) {
  JsonDocument document;
  Parsed parsed{};
  parsed.accepted = ParseJson(text.data(), text.size(), document, &parsed.error);
  parsed.isObject = document.IsObject();
  if (parsed.isObject) {
    auto found = document.FindMember(JsonValue(rapidjson::StringRef(member.data(), member.size())));
    parsed.holdsExpected = found != document.MemberEnd() && found->value.IsString() &&
                           std::string(found->value.GetString(), found->value.GetStringLength()) ==
                               expected;
  }
  return parsed;
}

// Checks and copies text, and reports where either differs from a parse.
void ExpectSameAsParse(const std::string& text, const std::string& member = "id",
                       const std::string& expected = "a") {
  const Parsed parsed = Parse(text, member, expected);
  JsonOutline outline;
  outline.member = member;
  outline.expected = expected;
  std::string error;
  EXPECT_EQ(CheckJson(text.data(), text.size(), outline, &error), parsed.accepted) << text;
  EXPECT_EQ(error, parsed.error) << text;
  EXPECT_EQ(outline.isObject, parsed.isObject) << text;
  EXPECT_EQ(outline.holdsExpected, parsed.holdsExpected) << text;

  JsonOutline copied;
  copied.member = member;
  copied.expected = expected;
  std::string copyError;
  rapidjson::StringBuffer copy;
  JsonWriter writer(copy);
  EXPECT_EQ(CopyJsonWithoutGeneratedIds(text.data(), text.size(), copied, writer, &copyError),
            parsed.accepted)
      << text;
  EXPECT_EQ(copyError, parsed.error) << text;
  EXPECT_EQ(copied.isObject, parsed.isObject) << text;
  EXPECT_EQ(copied.holdsExpected, parsed.holdsExpected) << text;
  if (!parsed.accepted) return;
  JsonDocument document;
  ASSERT_TRUE(ParseJson(text.data(), text.size(), document, nullptr));
  rapidjson::StringBuffer written;
  JsonWriter fromDocument(written);
  WriteWithoutGeneratedIds(document, fromDocument);
  EXPECT_EQ(std::string(copy.GetString(), copy.GetSize()),
            std::string(written.GetString(), written.GetSize()))
      << text;
}

}  // namespace

TEST(CheckJsonTest, AcceptsAndRefusesAsParseJsonWithTheSameReason) {
  std::vector<std::string> texts = {
      "{}", " \t\r\n{\"a\": [1, 2.5, \"x\"]}\n ", "42", "[]", "\"s\"", "null", "true",
      "{} {}", "{}x", "[1] ,", "", "   ", "{\"a\":}", "nul", "{\"a\":1", "}",
      "[184467440737095516e300]", "{\"k\":\"\xff\"}", "{\"\xc3\":1}", "[\"\\udc00\"]",
      std::string("{}\0{}", 5), std::string("[\"a\0b\"]", 7),
      R"({"na\"me":"line\nbreak \u00e9 \ud83d\ude00","short":"abc"})"};
  texts.push_back(std::string(kMaxJsonDepth, '[') + std::string(kMaxJsonDepth, ']'));
  texts.push_back(std::string(kMaxJsonDepth + 1, '[') + std::string(kMaxJsonDepth + 1, ']'));
  texts.push_back("[\"" + std::string(200000, 'x') + "\"]");
  for (const std::string& text : texts) ExpectSameAsParse(text);

  // Arbitrary bytes, as the parser's own test draws them.
  unsigned seed = 4321;
  for (int round = 0; round < 2000; ++round) {
    std::string bytes;
    const size_t length = seed % 40;
    for (size_t i = 0; i < length; ++i) {
      seed = seed * 1103515245u + 12345u;
      const char alphabet[] = "{}[]\":,0123456789.eE-+tfnrulasx \\\0\xff";
      bytes += alphabet[(seed >> 16) % (sizeof alphabet)];
    }
    ExpectSameAsParse(bytes, "a", "");
  }
}

TEST(CheckJsonTest, TellsWhetherTheValueIsAnObject) {
  for (const char* text : {"{}", " {\"a\":[{}]}", "[{}]", "1", "\"{}\"", "null"})
    ExpectSameAsParse(text);
  JsonOutline outline;
  std::string error;
  ASSERT_TRUE(CheckJson("[{}]", 4, outline, &error));
  EXPECT_FALSE(outline.isObject);
  ASSERT_TRUE(CheckJson(" {} ", 4, outline, &error));
  EXPECT_TRUE(outline.isObject);
}

// Only the object's own first member of the name counts, and only when it
// is the very string asked for.
TEST(CheckJsonTest, FindsTheFirstMemberOfTheNameAtTheTopOnly) {
  const std::vector<std::string> texts = {
      R"({"id":"a"})",
      R"({"x":1,"id":"a","y":[2]})",
      R"({"id":"b"})",
      R"({"id":"ab"})",
      R"({"id":"A"})",
      R"({"id":1})",
      R"({"id":null})",
      R"({"id":["a"]})",
      R"({"id":{"id":"a"}})",
      R"({"sub":{"id":"a"}})",
      R"({"list":[{"id":"a"}],"other":"a"})",
      R"({"id":"b","id":"a"})",
      R"({"id":"a","id":"b"})",
      R"({"i\u0064":"\u0061"})",
      R"({"idx":"a","i":"a"})",
      R"(["id","a"])",
      R"({"x":"a"})",
  };
  for (const std::string& text : texts) ExpectSameAsParse(text);
  JsonOutline outline;
  outline.member = "id";
  outline.expected = "a";
  std::string error;
  ASSERT_TRUE(CheckJson(texts[1].data(), texts[1].size(), outline, &error));
  EXPECT_TRUE(outline.holdsExpected);
  ASSERT_TRUE(CheckJson(texts[9].data(), texts[9].size(), outline, &error));
  EXPECT_FALSE(outline.holdsExpected);
  // The empty string is a string like any other.
  outline.expected = "";
  ASSERT_TRUE(CheckJson(R"({"id":""})", 9, outline, &error));
  EXPECT_TRUE(outline.holdsExpected);
}

TEST(CheckJsonTest, RefusedTextTellsNothing) {
  JsonOutline outline;
  outline.member = "id";
  outline.expected = "a";
  std::string error;
  const std::string text = R"({"id":"a"} x)";
  EXPECT_FALSE(CheckJson(text.data(), text.size(), outline, &error));
  EXPECT_EQ(error, "The document root must not be followed by other values. at offset 11");
  EXPECT_FALSE(outline.isObject);
  EXPECT_FALSE(outline.holdsExpected);
  // Without a place for the reason the answer is the same.
  EXPECT_FALSE(CheckJson(text.data(), text.size(), outline, nullptr));
}

// The first generated id of each object goes, with its whole value, at any
// depth; a second one of the same object stays.
TEST(CopyJsonWithoutGeneratedIdsTest, DropsTheFirstGeneratedIdOfEachObject) {
  const std::vector<std::pair<std::string, std::string>> cases = {
      {R"({"a":1,"cs_generated_id":"g","b":2})", R"({"a":1,"b":2})"},
      {R"({"cs_generated_id":{"x":[1,{"cs_generated_id":1}]},"b":[]})", R"({"b":[]})"},
      {R"({"cs_generated_id":[[],{}],"cs_generated_id":"second"})",
       R"({"cs_generated_id":"second"})"},
      {R"({"l":[{"cs_generated_id":"g1","x":1},{"y":{"cs_generated_id":null}}]})",
       R"({"l":[{"x":1},{"y":{}}]})"},
      {R"(["cs_generated_id",{"cs_generated_id":true}])", R"(["cs_generated_id",{}])"},
      {R"( { "s" : "line\nbreak \u00e9" , "n" : [ -1 , 1.50 , 1e2 , 18446744073709551615 ] } )",
       "{\"s\":\"line\\nbreak \xc3\xa9\",\"n\":[-1,1.5,100.0,18446744073709551615]}"},
  };
  for (const auto& [text, expected] : cases) {
    ExpectSameAsParse(text);
    JsonOutline outline;
    rapidjson::StringBuffer copy;
    JsonWriter writer(copy);
    ASSERT_TRUE(CopyJsonWithoutGeneratedIds(text.data(), text.size(), outline, writer, nullptr))
        << text;
    EXPECT_EQ(std::string(copy.GetString(), copy.GetSize()), expected);
  }
  std::string deep;
  for (int i = 0; i < kMaxJsonDepth - 1; ++i) deep += R"({"cs_generated_id":1,"k":)";
  deep += "[]" + std::string(kMaxJsonDepth - 1, '}');
  ExpectSameAsParse(deep);
}
