// The JSON Schema validator: each option alone and in the sets the library
// passes, error records (pointers, prefix, texts), the instance rule for
// array schemas, pattern limits and malformed schemas.
#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/Json.h"
#include "jsonschema/JsonValidator.h"
#include "support/ParseJsonText.h"

using namespace CorvConfigStore;

namespace {

using Records = std::vector<std::pair<std::string, std::string>>;

using CorvTest::Parse;

Records ToRecords(const JsonDocument& result) {
  Records records;
  EXPECT_TRUE(result.IsArray());
  if (!result.IsArray()) return records;
  for (const auto& record : result.GetArray()) {
    EXPECT_TRUE(record.IsObject() && record.MemberCount() == 2 && record.HasMember("field") &&
                record["field"].IsString() && record.HasMember("error") &&
                record["error"].IsString())
        << JsonToString(record);
    records.emplace_back(record["field"].GetString(), record["error"].GetString());
  }
  return records;
}

Records CheckDocument(const std::string& schema, const JsonDocument& value,
                      const std::unordered_set<int>& options, const std::string& prefix = "") {
  JsonDocument schemaDocument = Parse(schema);
  JsonDocument result;
  JsonValidator::Validate(schemaDocument, value, result, options, prefix);
  return ToRecords(result);
}

Records Check(const std::string& schema, const std::string& value,
              const std::unordered_set<int>& options, const std::string& prefix = "") {
  return CheckDocument(schema, Parse(value), options, prefix);
}

// Every rule a plain value can meet at once (5 and 9 ask for one layer
// each, so no value meets both).
const std::unordered_set<int> kAll = {0, 1, 3, 4, 7, 8};

}  // namespace

// ---- Option 0: types, structure, combinators ----

TEST(JsonValidatorTypeTest, ReportsTypeOnlyUnderOption0) {
  const char* schema = R"({"type": "object", "properties": {"port": {"type": "integer"}}})";
  EXPECT_EQ(Check(schema, R"({"port": "80"})", {0}),
            (Records{{"/port", "expected type integer, found string"}}));
  EXPECT_EQ(Check(schema, R"({"port": "80"})", {1, 7}), Records{});
  EXPECT_EQ(Check(schema, R"([1])", {0}), (Records{{"/", "expected type object, found array"}}));
}

TEST(JsonValidatorTypeTest, NamesEveryAcceptedTypeAndTheFoundOne) {
  const char* schema = R"({"type": ["integer", "string", "null"]})";
  EXPECT_EQ(Check(schema, "true", {0}),
            (Records{{"/", "expected type integer or string or null, found boolean"}}));
  EXPECT_EQ(Check(schema, "null", {0}), Records{});
  EXPECT_EQ(Check(R"({"type": "string"})", "1.5", {0}),
            (Records{{"/", "expected type string, found number"}}));
  EXPECT_EQ(Check(R"({"type": "boolean"})", "{}", {0}),
            (Records{{"/", "expected type boolean, found object"}}));
}

TEST(JsonValidatorTypeTest, IntegerIsANumberWithoutFraction) {
  const char* schema = R"({"type": "integer"})";
  EXPECT_EQ(Check(schema, "1", {0}), Records{});
  EXPECT_EQ(Check(schema, "-9223372036854775808", {0}), Records{});
  EXPECT_EQ(Check(schema, "18446744073709551615", {0}), Records{});
  EXPECT_EQ(Check(schema, "1.0", {0}), Records{});
  EXPECT_EQ(Check(schema, "1e3", {0}), Records{});
  EXPECT_EQ(Check(schema, "1.5", {0}), (Records{{"/", "expected type integer, found number"}}));
  EXPECT_EQ(Check(schema, "\"1\"", {0}), (Records{{"/", "expected type integer, found string"}}));
  EXPECT_EQ(Check(R"({"type": "number"})", "7", {0}), Records{});
}

TEST(JsonValidatorTypeTest, UnknownTypeNameMatchesNothing) {
  EXPECT_EQ(Check(R"({"type": "strnig"})", "\"a\"", {0}),
            (Records{{"/", "expected type strnig, found string"}}));
}

TEST(JsonValidatorStructureTest, WalksPropertiesPatternPropertiesAdditionalAndItems) {
  const char* schema = R"({
    "properties": {"a": {"type": "string"}},
    "patternProperties": {"^n_": {"type": "integer"}},
    "additionalProperties": {"type": "boolean"},
    "items": {"type": "string"}})";
  EXPECT_EQ(Check(schema, R"({"a": 1, "n_x": "y", "other": 2})", {0}),
            (Records{{"/a", "expected type string, found number"},
                     {"/n_x", "expected type integer, found string"},
                     {"/other", "expected type boolean, found number"}}));
  EXPECT_EQ(Check(R"({"items": {"type": "string"}})", R"(["a", 2, "c", null])", {0}),
            (Records{{"/1", "expected type string, found number"},
                     {"/3", "expected type string, found null"}}));
}

TEST(JsonValidatorStructureTest, MemberMatchedByPropertyAndPatternMeetsBoth) {
  const char* schema =
      R"({"properties": {"size": {"type": "integer"}},
          "patternProperties": {"^s": {"minimum": 10}}})";
  EXPECT_EQ(Check(schema, R"({"size": 2.5})", {0, 1}),
            (Records{{"/size", "expected type integer, found number"},
                     {"/size", "value 2.5 is less than minimum 10"}}));
}

TEST(JsonValidatorStructureTest, ListFormOfItemsIsIgnored) {
  EXPECT_EQ(Check(R"({"items": [{"type": "string"}]})", "[1, 2]", kAll), Records{});
}

TEST(JsonValidatorStructureTest, BooleanSchemas) {
  EXPECT_EQ(Check("true", R"({"a": [1]})", kAll), Records{});
  EXPECT_EQ(Check("false", "1", {0}), (Records{{"/", "no value is allowed here (schema false)"}}));
  EXPECT_EQ(Check(R"({"properties": {"a": true, "b": false}})", R"({"a": 1, "b": 2})", {}),
            (Records{{"/b", "no value is allowed here (schema false)"}}));
  EXPECT_EQ(Check(R"({"items": false})", "[1]", {0}),
            (Records{{"/0", "no value is allowed here (schema false)"}}));
}

TEST(JsonValidatorCombinatorTest, AnyOfReportsOneErrorOfItsOwn) {
  const char* schema = R"({"anyOf": [{"type": "string", "maxLength": 2}, {"type": "integer"}]})";
  EXPECT_EQ(Check(schema, "\"ab\"", {0, 1}), Records{});
  EXPECT_EQ(Check(schema, "3", {0, 1}), Records{});
  EXPECT_EQ(Check(schema, "\"abc\"", {0, 1}),
            (Records{{"/", "value does not match any schema of anyOf"}}));
  EXPECT_EQ(
      Check(R"({"properties": {"v": {"anyOf": [false, {"enum": [1]}]}}})", R"({"v": 2})", {0, 1}),
      (Records{{"/v", "value does not match any schema of anyOf"}}));
}

TEST(JsonValidatorCombinatorTest, OneOfNeedsExactlyOneBranch) {
  const char* schema = R"({"oneOf": [{"type": "integer"}, {"minimum": 2}, {"type": "string"}]})";
  EXPECT_EQ(Check(schema, "1", {0, 1}), Records{});
  EXPECT_EQ(Check(schema, "1.5", {0, 1}),
            (Records{{"/", "value does not match any schema of oneOf"}}));
  EXPECT_EQ(Check(schema, "3", {0, 1}),
            (Records{{"/", "value matches more than one schema of oneOf (schemas 0 and 1)"}}));
}

TEST(JsonValidatorCombinatorTest, NotAndAllOf) {
  EXPECT_EQ(Check(R"({"not": {"type": "null"}})", "null", {0}),
            (Records{{"/", "value matches the schema of not"}}));
  EXPECT_EQ(Check(R"({"not": {"type": "null"}})", "0", {0}), Records{});
  // allOf hands on what its branches find.
  const char* allOf = R"({"allOf": [{"type": "integer"}, {"minimum": 5}, {"maximum": 9}]})";
  EXPECT_EQ(Check(allOf, "2.5", {0, 1}), (Records{{"/", "expected type integer, found number"},
                                                  {"/", "value 2.5 is less than minimum 5"}}));
}

TEST(JsonValidatorCombinatorTest, NeedOption0) {
  EXPECT_EQ(Check(R"({"anyOf": [false], "not": true, "allOf": [{"type": "string"}]})", "1", {1, 7}),
            Records{});
}

// ---- Option 1: value constraints ----

TEST(JsonValidatorValueTest, EnumAndConstCompareByMeaning) {
  EXPECT_EQ(Check(R"({"enum": [1, "a", {"x": [1, 2], "y": null}]})",
                  R"({"y": null, "x": [1.0, 2]})", {1}),
            Records{});
  EXPECT_EQ(Check(R"({"enum": [1, 2, 3]})", "7", {1}),
            (Records{{"/", "value 7 is not one of the enum values [1,2,3]"}}));
  EXPECT_EQ(Check(R"({"enum": [1, 2, 3]})", "7", {0, 7, 8}), Records{});
  EXPECT_EQ(Check(R"({"const": {"a": 1}})", R"({"a": 1.0})", {1}), Records{});
  EXPECT_EQ(Check(R"({"const": "on"})", "\"off\"", {1}),
            (Records{{"/", "value \"off\" is not the const value \"on\""}}));
  EXPECT_EQ(Check(R"({"const": 1})", "true", {1}),
            (Records{{"/", "value true is not the const value 1"}}));
}

TEST(JsonValidatorValueTest, LongValuesAreCutShortInMessages) {
  std::string longText(100, 'x');
  auto records = Check(R"({"const": "a"})", "\"" + longText + "\"", {1});
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].second,
            "value \"" + std::string(63, 'x') + "... is not the const value \"a\"");
}

TEST(JsonValidatorValueTest, NumericBounds) {
  const char* schema = R"({"minimum": 1, "maximum": 10.5})";
  EXPECT_EQ(Check(schema, "1", {1}), Records{});
  EXPECT_EQ(Check(schema, "10.5", {1}), Records{});
  EXPECT_EQ(Check(schema, "0", {1}), (Records{{"/", "value 0 is less than minimum 1"}}));
  EXPECT_EQ(Check(schema, "11", {1}), (Records{{"/", "value 11 is greater than maximum 10.5"}}));
  const char* exclusive = R"({"exclusiveMinimum": 1, "exclusiveMaximum": 3})";
  EXPECT_EQ(Check(exclusive, "2", {1}), Records{});
  EXPECT_EQ(Check(exclusive, "1", {1}),
            (Records{{"/", "value 1 is not greater than exclusiveMinimum 1"}}));
  EXPECT_EQ(Check(exclusive, "3.0", {1}),
            (Records{{"/", "value 3.0 is not less than exclusiveMaximum 3"}}));
  // Bounds ignore what is not a number.
  EXPECT_EQ(Check(schema, "\"0\"", {1}), Records{});
}

TEST(JsonValidatorValueTest, LargeIntegersCompareExactly) {
  EXPECT_EQ(Check(R"({"maximum": 9007199254740992})", "9007199254740993", {1}),
            (Records{{"/", "value 9007199254740993 is greater than maximum 9007199254740992"}}));
  EXPECT_EQ(Check(R"({"minimum": -1})", "18446744073709551615", {1}), Records{});
  EXPECT_EQ(Check(R"({"maximum": -1})", "18446744073709551615", {1}),
            (Records{{"/", "value 18446744073709551615 is greater than maximum -1"}}));
}

TEST(JsonValidatorValueTest, MultipleOf) {
  EXPECT_EQ(Check(R"({"multipleOf": 2})", "10", {1}), Records{});
  EXPECT_EQ(Check(R"({"multipleOf": 2})", "-10", {1}), Records{});
  EXPECT_EQ(Check(R"({"multipleOf": 2})", "7", {1}),
            (Records{{"/", "value 7 is not a multiple of 2"}}));
  EXPECT_EQ(Check(R"({"multipleOf": 2})", "10000000001", {1}),
            (Records{{"/", "value 10000000001 is not a multiple of 2"}}));
  EXPECT_EQ(Check(R"({"multipleOf": 0.1})", "0.3", {1}), Records{});
  EXPECT_EQ(Check(R"({"multipleOf": 0.01})", "19.99", {1}), Records{});
  EXPECT_EQ(Check(R"({"multipleOf": 0.01})", "19.995", {1}),
            (Records{{"/", "value 19.995 is not a multiple of 0.01"}}));
  // An overflowing quotient is no multiple.
  EXPECT_EQ(Check(R"({"multipleOf": 1e-300})", "1e300", {1}),
            (Records{{"/", "value 1e300 is not a multiple of 1e-300"}}));
}

TEST(JsonValidatorValueTest, LengthsCountCodePoints) {
  const char* schema = R"({"minLength": 2, "maxLength": 4})";
  EXPECT_EQ(Check(schema, "\"h\xC3\xA9llo\"", {1}),  // five code points, six bytes
            (Records{{"/", "string of 5 characters is longer than maxLength 4"}}));
  EXPECT_EQ(Check(schema, "\"\xF0\x9F\x98\x80\xC3\xA9\"", {1}), Records{});  // two code points
  EXPECT_EQ(Check(schema, "\"a\"", {1}),
            (Records{{"/", "string of 1 characters is shorter than minLength 2"}}));
}

TEST(JsonValidatorValueTest, LengthsOfLongTextsCountCodePointsAtEveryOffset) {
  // Long texts are counted eight bytes at a time: sequences of two and four
  // bytes land at every offset of those eight and across their edges.
  for (size_t lead = 0; lead < 10; ++lead) {
    std::string text = std::string(lead, 'a') + "\xC3\xA9\xC3\xA9\xF0\x9F\x98\x80" +
                       std::string(lead, 'b') + "\xE2\x82\xACz";
    size_t codePoints = lead + 3 + lead + 2;
    EXPECT_EQ(Check(R"({"maxLength": 0})", "\"" + text + "\"", {1}),
              (Records{{"/", "string of " + std::to_string(codePoints) +
                                 " characters is longer than maxLength 0"}}))
        << lead;
  }
}

TEST(JsonValidatorValueTest, ArrayAndObjectSizes) {
  EXPECT_EQ(Check(R"({"minItems": 1, "maxItems": 2})", "[]", {1}),
            (Records{{"/", "array of 0 items is shorter than minItems 1"}}));
  EXPECT_EQ(Check(R"({"minItems": 1, "maxItems": 2})", "[1, 2, 3]", {1}),
            (Records{{"/", "array of 3 items is longer than maxItems 2"}}));
  EXPECT_EQ(Check(R"({"minProperties": 1, "maxProperties": 1})", "{}", {1}),
            (Records{{"/", "object of 0 members has fewer than minProperties 1"}}));
  EXPECT_EQ(Check(R"({"minProperties": 1, "maxProperties": 1})", R"({"a": 1, "b": 2})", {1}),
            (Records{{"/", "object of 2 members has more than maxProperties 1"}}));
}

TEST(JsonValidatorValueTest, UniqueItemsUsesDeepEquality) {
  const char* schema = R"({"uniqueItems": true})";
  EXPECT_EQ(Check(schema, R"([1, true, "1", [1], {"a": 1}, null])", {1}), Records{});
  EXPECT_EQ(Check(schema, R"([{"a": 1, "b": [2]}, 3, {"b": [2.0], "a": 1}, 1, 1.0, 3])", {1}),
            (Records{{"/2", "item 2 equals item 0 (uniqueItems)"},
                     {"/4", "item 4 equals item 3 (uniqueItems)"},
                     {"/5", "item 5 equals item 1 (uniqueItems)"}}));
  EXPECT_EQ(Check(R"({"uniqueItems": false})", "[1, 1]", {1}), Records{});
}

TEST(JsonValidatorValueTest, UniqueItemsOnALongArray) {
  std::string array = "[";
  for (int i = 0; i < 50000; ++i) array += std::to_string(i) + ",";
  array += "17]";
  EXPECT_EQ(Check(R"({"uniqueItems": true})", array, {1}),
            (Records{{"/50000", "item 50000 equals item 17 (uniqueItems)"}}));
}

TEST(JsonValidatorValueTest, PatternSearchesUnanchored) {
  EXPECT_EQ(Check(R"({"pattern": "b+"})", "\"abbc\"", {1}), Records{});
  EXPECT_EQ(Check(R"({"pattern": "^[a-z]+$"})", "\"abc1\"", {1}),
            (Records{{"/", "string \"abc1\" does not match pattern \"^[a-z]+$\""}}));
  // "$" is the very end, as in ECMAScript, not before a final line feed.
  EXPECT_EQ(Check(R"({"pattern": "^a$"})", "\"a\\n\"", {1}),
            (Records{{"/", "string \"a\\n\" does not match pattern \"^a$\""}}));
  EXPECT_EQ(Check(R"({"pattern": "^\\u00e9$"})", "\"\xC3\xA9\"", {1}), Records{});
  EXPECT_EQ(Check(R"({"pattern": "^.$"})", "\"\xC3\xA9\"", {1}), Records{});
}

TEST(JsonValidatorValueTest, CatastrophicPatternStopsAtTheMatchLimit) {
  std::string value = "\"" + std::string(5000, 'a') + "b\"";
  EXPECT_EQ(Check(R"({"pattern": "(a+)+$"})", value, {1}),
            (Records{{"/",
                      "string could not be matched against pattern \"(a+)+$\": "
                      "match limit exceeded"}}));
  // The limit fails the value alone; the next search starts afresh.
  EXPECT_EQ(Check(R"({"pattern": "(a+)+$"})", "\"aaa\"", {1}), Records{});
}

TEST(JsonValidatorValueTest, InvalidPatternIsAnError) {
  EXPECT_EQ(Check(R"({"pattern": "(ab"})", "\"ab\"", {1}),
            (Records{{"/", "invalid pattern \"(ab\": missing closing parenthesis at offset 3"}}));
  // The same pattern again comes from the cache with the same answer.
  EXPECT_EQ(Check(R"({"properties": {"x": {"pattern": "(ab"}}})", R"({"x": "ab"})", {1}),
            (Records{{"/x", "invalid pattern \"(ab\": missing closing parenthesis at offset 3"}}));
}

TEST(JsonValidatorValueTest, InvalidPatternPropertiesPatternIsReportedOncePerObject) {
  const char* schema =
      R"({"patternProperties": {"[": {"type": "integer"}, "^b": {"type": "integer"}},
                          "additionalProperties": false})";
  EXPECT_EQ(Check(schema, R"({"a": 1, "b": "x", "c": 3})", {0}),
            (Records{{"/",
                      "invalid patternProperties pattern \"[\": missing terminating ] for "
                      "character class at offset 1"},
                     {"/b", "expected type integer, found string"}}));
}

TEST(JsonValidatorValueTest, InvalidUtf8IsSearchedWithoutHarm) {
  // Parsed text is always UTF-8, but a string set through the typed setters
  // holds whatever bytes it was given.
  auto text = [](const char* bytes) {
    JsonDocument value;
    value.SetString(bytes, value.GetAllocator());
    return value;
  };
  EXPECT_EQ(CheckDocument(R"({"pattern": "^a"})", text("a\xFF\xFE"), {1}), Records{});
  EXPECT_EQ(CheckDocument(R"({"pattern": "^b"})", text("\xFF"), {1}),
            (Records{{"/", "string \"\xFF\" does not match pattern \"^b\""}}));
}

TEST(JsonValidatorValueTest, PatternsAreSafeFromSeveralThreads) {
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &failures] {
      for (int i = 0; i < 200; ++i) {
        std::string pattern = "^v" + std::to_string(i % 20) + "$";
        std::string schema = R"({"pattern": ")" + pattern + R"("})";
        Records matching = Check(schema, "\"v" + std::to_string(i % 20) + "\"", {1});
        Records other = Check(schema, "\"w\"", {1});
        if (!matching.empty() || other.size() != 1) ++failures[t];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

TEST(JsonValidatorFormatTest, Ipv4) {
  const char* schema = R"({"format": "ipv4"})";
  for (const char* good : {"0.0.0.0", "192.168.0.1", "255.255.255.255"})
    EXPECT_EQ(Check(schema, std::string("\"") + good + "\"", {1}), Records{}) << good;
  for (const char* bad : {"256.1.1.1", "1.2.3", "1.2.3.4.5", "01.2.3.4", "1.2.3.4 ", "a.b.c.d",
                          "1..3.4", "0x7f000001", ""})
    EXPECT_EQ(Check(schema, std::string("\"") + bad + "\"", {1}),
              (Records{{"/", std::string("string \"") + bad + "\" does not match format ipv4"}}))
        << bad;
}

TEST(JsonValidatorFormatTest, Ipv6) {
  const char* schema = R"({"format": "ipv6"})";
  for (const char* good : {"::", "::1", "fe80::1", "2001:db8:0:0:0:0:2:1", "::ffff:192.0.2.1"})
    EXPECT_EQ(Check(schema, std::string("\"") + good + "\"", {1}), Records{}) << good;
  for (const char* bad :
       {"12345::", "1:2:3:4:5:6:7:8:9", "::laptop", "fe80::1%eth0", "[::1]", "1.2.3.4", ""})
    EXPECT_EQ(Check(schema, std::string("\"") + bad + "\"", {1}),
              (Records{{"/", std::string("string \"") + bad + "\" does not match format ipv6"}}))
        << bad;
  EXPECT_EQ(Check(schema, "\"::1\\u0000\"", {1}).size(), 1u);
}

TEST(JsonValidatorFormatTest, Hostname) {
  const char* schema = R"({"format": "hostname"})";
  for (const char* good : {"localhost", "www.example.com", "xn--4gbwdl.xn--wgbh1c", "1host", "a-b"})
    EXPECT_EQ(Check(schema, std::string("\"") + good + "\"", {1}), Records{}) << good;
  std::string longLabel(64, 'a');
  for (std::string bad : {std::string("-a"), std::string("a-"), std::string("a_b"),
                          std::string("a..b"), std::string("a."), std::string(""), longLabel})
    EXPECT_EQ(Check(schema, "\"" + bad + "\"", {1}).size(), 1u) << bad;
  std::string longName;
  for (int i = 0; i < 51; ++i) longName += "abcd.";
  longName += "ab";  // 257 characters
  EXPECT_EQ(Check(schema, "\"" + longName + "\"", {1}).size(), 1u);
}

TEST(JsonValidatorFormatTest, MacAndUuid) {
  const char* mac = R"({"format": "mac"})";
  EXPECT_EQ(Check(mac, "\"00:1a:2B:3c:4D:5e\"", {1}), Records{});
  EXPECT_EQ(Check(mac, "\"00-1a-2b-3c-4d-5e\"", {1}), Records{});
  for (const char* bad :
       {"00:1a:2b:3c:4d", "00:1a:2b-3c:4d:5e", "001a.2b3c.4d5e", "00:1a:2b:3c:4d:5g"})
    EXPECT_EQ(Check(mac, std::string("\"") + bad + "\"", {1}),
              (Records{{"/", std::string("string \"") + bad + "\" does not match format mac"}}));
  const char* uuid = R"({"format": "uuid"})";
  EXPECT_EQ(Check(uuid, "\"123e4567-E89B-12d3-a456-426614174000\"", {1}), Records{});
  for (const char* bad :
       {"123e4567e89b12d3a456426614174000", "{123e4567-e89b-12d3-a456-426614174000}",
        "123e4567-e89b-12d3-a456-42661417400g"})
    EXPECT_EQ(Check(uuid, std::string("\"") + bad + "\"", {1}),
              (Records{{"/", std::string("string \"") + bad + "\" does not match format uuid"}}));
}

TEST(JsonValidatorFormatTest, UnknownFormatsAndNonStringsPass) {
  EXPECT_EQ(Check(R"({"format": "date-time"})", "\"whenever\"", {1}), Records{});
  EXPECT_EQ(Check(R"({"format": "ipv4"})", "12", {1}), Records{});
}

// ---- Option 7: required ----

TEST(JsonValidatorRequiredTest, OnlyUnderOption7AndAtAnyDepth) {
  const char* schema = R"({"required": ["name", "port"],
      "properties": {"opts": {"type": "object", "required": ["mode"]}}})";
  const char* value = R"({"port": 1, "opts": {}})";
  EXPECT_EQ(Check(schema, value, {7}), (Records{{"/", "missing required member \"name\""},
                                                {"/opts", "missing required member \"mode\""}}));
  EXPECT_EQ(Check(schema, value, {0, 1}), Records{});
}

// ---- additionalProperties and option 8: closed objects ----

TEST(JsonValidatorClosedTest, AdditionalPropertiesFalseAppliesWithoutOptions) {
  const char* schema = R"({"properties": {"a": {}}, "additionalProperties": false})";
  EXPECT_EQ(Check(schema, R"({"a": 1, "b": 2})", {}),
            (Records{{"/b", "member \"b\" is not allowed by additionalProperties false"}}));
  EXPECT_EQ(Check(schema, R"({"a": 1, "cs_generated_id": "x"})", {}), Records{});
}

TEST(JsonValidatorClosedTest, Option8RefusesUndeclaredMembers) {
  const char* schema = R"({"properties": {"a": {"type": "object", "properties": {"b": {}}}},
                          "patternProperties": {"^x-": {}}})";
  const char* value = R"({"a": {"b": 1, "c": 2}, "x-1": 3, "d": 4})";
  EXPECT_EQ(Check(schema, value, {8}),
            (Records{{"/a/c", "unknown member \"c\""}, {"/d", "unknown member \"d\""}}));
  EXPECT_EQ(Check(schema, value, {0, 1, 7}), Records{});
}

TEST(JsonValidatorClosedTest, GeneratedIdIsAlwaysAllowed) {
  EXPECT_EQ(Check(R"({"properties": {"a": {}}})", R"({"a": 1, "cs_generated_id": "x"})", {8}),
            Records{});
  EXPECT_EQ(Check(R"({"type": "object"})", R"({"cs_generated_id": "x", "b": 1})", {8}),
            (Records{{"/b", "unknown member \"b\""}}));
}

TEST(JsonValidatorClosedTest, AdditionalPropertiesSchemaOrTrueOpensTheObject) {
  EXPECT_EQ(Check(R"({"additionalProperties": true})", R"({"a": 1})", {8}), Records{});
  EXPECT_EQ(
      Check(R"({"additionalProperties": {"type": "integer"}})", R"({"a": 1, "b": "x"})", {0, 8}),
      (Records{{"/b", "expected type integer, found string"}}));
}

TEST(JsonValidatorClosedTest, MembersDeclaredByCombinatorBranchesCount) {
  const char* schema = R"({"type": "object", "oneOf": [
      {"properties": {"a": {"type": "integer"}}, "required": ["a"]},
      {"properties": {"b": {"type": "string"}}, "required": ["b"]}]})";
  EXPECT_EQ(Check(schema, R"({"a": 1})", {0, 1, 7, 8}), Records{});
  EXPECT_EQ(Check(schema, R"({"b": "x"})", {0, 1, 7, 8}), Records{});
  EXPECT_EQ(Check(schema, R"({"a": 1, "c": 2})", {0, 1, 7, 8}),
            (Records{{"/c", "unknown member \"c\""}}));
}

TEST(JsonValidatorClosedTest, ValueThatIsNoObjectByTypeIsNotClosedAgain) {
  EXPECT_EQ(Check(R"({"type": "string"})", R"({"a": 1})", {0, 8}),
            (Records{{"/", "expected type string, found object"}}));
}

// ---- Layer options 3, 4, 5, 9 ----

namespace {

// A key with instances: an id, a user member, a vital object, a cached
// leaf, a host-set leaf, a read-only leaf, and a plain container holding a
// vital leaf.
const char* kLayeredSchema = R"({
  "type": "array",
  "items": {
    "type": "object",
    "properties": {
      "name": {"type": "string", "instanceId": true},
      "mtu": {"type": "integer"},
      "hw": {"type": "object", "vital": true,
             "properties": {"mac": {"type": "string"}, "bus": {"type": "string"}}},
      "speed": {"type": "integer", "cached": true},
      "owner": {"type": "string", "solutionUser": true},
      "serial": {"type": "string", "readOnly": true},
      "slot": {"type": "object",
               "properties": {"index": {"type": "integer", "vital": true},
                              "label": {"type": "string"}}},
      "tags": {"type": "array", "items": {"type": "string"}},
      "ports": {"type": "array",
                "items": {"type": "object",
                          "properties": {"id": {"type": "integer", "vital": true},
                                         "state": {"type": "string", "cached": true}}}}
    },
    "required": ["name"]
  }
})";

}  // namespace

TEST(JsonValidatorLayerTest, Option3RefusesVitalCachedAndHostMembers) {
  const char* value = R"({"name": "n1", "mtu": 1500, "hw": {"mac": "m"}, "speed": 10,
                          "owner": "svc", "slot": {"index": 2, "label": "l"}})";
  EXPECT_EQ(
      Check(kLayeredSchema, value, {3}),
      (Records{
          {"/hw", "member \"hw\" is vital configuration, not user configuration"},
          {"/speed", "member \"speed\" is cached configuration, not user configuration"},
          {"/owner", "member \"owner\" is solutionUser configuration, not user configuration"},
          {"/slot/index", "member \"index\" is vital configuration, not user configuration"}}));
  EXPECT_EQ(Check(kLayeredSchema, R"({"name": "n1", "mtu": 1, "slot": {"label": "l"}})", {3}),
            Records{});
}

TEST(JsonValidatorLayerTest, Option3WithAVitalRootRefusesEveryMemberButTheId) {
  const char* schema = R"({"type": "object", "vital": true, "properties": {
      "id": {"type": "string", "instanceId": true}, "a": {"type": "object"}}})";
  EXPECT_EQ(Check(schema, R"({"id": "x", "a": {"b": 1}})", {3}),
            (Records{{"/a", "member \"a\" is vital configuration, not user configuration"}}));
}

TEST(JsonValidatorLayerTest, Option4RefusesReadOnlyMembersOnce) {
  EXPECT_EQ(Check(kLayeredSchema, R"({"name": "n", "serial": "s", "mtu": 1})", {4}),
            (Records{{"/serial", "member \"serial\" is read-only"}}));
  const char* nested = R"({"properties": {"a": {"readOnly": true, "properties": {
      "b": {"readOnly": true}}}}})";
  EXPECT_EQ(Check(nested, R"({"a": {"b": 1}})", {4}),
            (Records{{"/a", "member \"a\" is read-only"}}));
  EXPECT_EQ(Check(nested, R"({"a": {"b": 1}})", {0, 1, 3, 5, 7, 8, 9}).size(), 2u);
}

TEST(JsonValidatorLayerTest, Option5AcceptsOnlyVitalMembersAndTheId) {
  // Vital leaves inside a plain container pass; the id passes; a vital
  // object covers whatever it holds.
  EXPECT_EQ(Check(kLayeredSchema,
                  R"({"name": "n", "hw": {"mac": "m", "bus": "b"}, "slot": {"index": 1},
                      "ports": [{"id": 1}, {"id": 2}], "empty": {}, "tags": []})",
                  {5}),
            Records{});
  EXPECT_EQ(Check(kLayeredSchema,
                  R"({"name": "n", "mtu": 1, "slot": {"index": 1, "label": "x"}, "speed": 3,
                      "tags": ["a", "b"], "ports": [{"id": 1, "state": "up"}], "free": {"k": 1}})",
                  {5}),
            (Records{{"/mtu", "member \"mtu\" is not vital configuration"},
                     {"/slot/label", "member \"label\" is not vital configuration"},
                     {"/speed", "member \"speed\" is not vital configuration"},
                     {"/tags", "member \"tags\" is not vital configuration"},
                     {"/ports/0/state", "member \"state\" is not vital configuration"},
                     {"/free/k", "member \"k\" is not vital configuration"}}));
}

TEST(JsonValidatorLayerTest, Option5WithAVitalRootAcceptsEverything) {
  const char* schema = R"({"type": "object", "vital": true, "properties": {"a": {}}})";
  EXPECT_EQ(Check(schema, R"({"a": 1, "b": [1, {"c": 2}]})", {5}), Records{});
  EXPECT_EQ(Check(schema, R"({"a": 1})", {9}),
            (Records{{"/a", "member \"a\" is not cached configuration"}}));
}

TEST(JsonValidatorLayerTest, Option9AcceptsOnlyCachedMembersAndTheId) {
  EXPECT_EQ(
      Check(kLayeredSchema,
            R"({"name": "n", "speed": 1, "ports": [{"state": "up"}], "cs_generated_id": "g"})",
            {9}),
      Records{});
  EXPECT_EQ(Check(kLayeredSchema, R"({"name": "n", "speed": 1, "hw": {"mac": "m"}})", {9}),
            (Records{{"/hw/mac", "member \"mac\" is not cached configuration"}}));
}

TEST(JsonValidatorLayerTest, VitalItemsCoverTheirElements) {
  const char* schema = R"({"properties": {"list": {"type": "array", "items": {"vital": true}}}})";
  EXPECT_EQ(Check(schema, R"({"list": [1, [2], {"a": 3}]})", {5}), Records{});
  EXPECT_EQ(Check(R"({"properties": {"list": {"type": "array"}}})", R"({"list": [[1]]})", {5}),
            (Records{{"/list", "member \"list\" is not vital configuration"}}));
}

TEST(JsonValidatorLayerTest, RootScalarOutsideTheLayer) {
  EXPECT_EQ(Check("{}", "3", {5}), (Records{{"/", "value is not vital configuration"}}));
  EXPECT_EQ(Check(R"({"vital": true})", "3", {5}), Records{});
}

// ---- The option sets of the library ----

TEST(JsonValidatorOptionSetTest, EachSetAppliesItsRules) {
  // One instance breaking a rule of every kind: a type, a bound, a missing
  // required id, an unknown member, a vital, a cached, a read-only member.
  const char* value = R"({"mtu": "big", "speed": -1, "hw": {"mac": "m"}, "serial": "s",
                          "bogus": 1})";
  const Records type = {{"/mtu", "expected type integer, found string"}};
  const Records required = {{"/", "missing required member \"name\""}};
  const Records unknown = {{"/bogus", "unknown member \"bogus\""}};
  auto join = [](std::initializer_list<Records> parts) {
    Records all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
  };
  std::string schema = kLayeredSchema;
  // The cached member gets a bound so that option 1 shows.
  schema.replace(schema.find(R"("cached": true})"), 15, R"("cached": true, "minimum": 0})");
  const Records bound = {{"/speed", "value -1 is less than minimum 0"}};
  const Records notUser = {
      {"/speed", "member \"speed\" is cached configuration, not user configuration"},
      {"/hw", "member \"hw\" is vital configuration, not user configuration"}};

  EXPECT_EQ(Check(schema, value, {0, 1, 3, 7, 8}), join({required, type, bound, unknown, notUser}));
  EXPECT_EQ(Check(schema, value, {0, 1, 7, 8}), join({required, type, bound, unknown}));
  EXPECT_EQ(Check(schema, value, {0, 1}), join({type, bound}));
  EXPECT_EQ(Check(schema, value, {0, 1, 7, 3}), join({required, type, bound, notUser}));
  EXPECT_EQ(Check(schema, value, {0, 1, 5}),
            join({type,
                  bound,
                  {{"/mtu", "member \"mtu\" is not vital configuration"},
                   {"/speed", "member \"speed\" is not vital configuration"},
                   {"/serial", "member \"serial\" is not vital configuration"},
                   {"/bogus", "member \"bogus\" is not vital configuration"}}}));
  EXPECT_EQ(Check(schema, value, {0, 1, 9}),
            join({type,
                  bound,
                  {{"/mtu", "member \"mtu\" is not cached configuration"},
                   {"/hw/mac", "member \"mac\" is not cached configuration"},
                   {"/serial", "member \"serial\" is not cached configuration"},
                   {"/bogus", "member \"bogus\" is not cached configuration"}}}));
  EXPECT_EQ(Check(schema, value, {0, 1, 4, 8}),
            join({type, bound, unknown, {{"/serial", "member \"serial\" is read-only"}}}));
}

// ---- Records: pointers, prefix, several errors ----

TEST(JsonValidatorRecordTest, FieldIsAnEscapedPointerBehindThePrefix) {
  const char* schema =
      R"({"properties": {"a/b": {"properties": {"c~d": {"items": {"type": "string"}}}}}})";
  const char* value = R"({"a/b": {"c~d": ["x", 1]}})";
  EXPECT_EQ(Check(schema, value, {0}),
            (Records{{"/a~1b/c~0d/1", "expected type string, found number"}}));
  EXPECT_EQ(Check(schema, value, {0}, "/corv/net/dns"),
            (Records{{"/corv/net/dns/a~1b/c~0d/1", "expected type string, found number"}}));
  EXPECT_EQ(Check(schema, value, {0}, "/corv/"),
            (Records{{"/corv/a~1b/c~0d/1", "expected type string, found number"}}));
  EXPECT_EQ(Check(schema, value, {0}, "/"),
            (Records{{"/a~1b/c~0d/1", "expected type string, found number"}}));
}

TEST(JsonValidatorRecordTest, TheValueItselfIsSlashOrThePrefix) {
  EXPECT_EQ(Check(R"({"type": "object"})", "1", {0}),
            (Records{{"/", "expected type object, found number"}}));
  EXPECT_EQ(Check(R"({"type": "object"})", "1", {0}, "/corv/net/dns"),
            (Records{{"/corv/net/dns", "expected type object, found number"}}));
}

TEST(JsonValidatorRecordTest, CollectsEveryErrorInWalkOrder) {
  const char* schema = R"({"type": "object", "required": ["id"],
      "properties": {"servers": {"type": "array", "maxItems": 1, "items": {"type": "string"}},
                     "port": {"type": "integer", "maximum": 10}}})";
  EXPECT_EQ(Check(schema, R"({"servers": [1, "a", true], "port": 99.5})", {0, 1, 7}),
            (Records{{"/", "missing required member \"id\""},
                     {"/servers", "array of 3 items is longer than maxItems 1"},
                     {"/servers/0", "expected type string, found number"},
                     {"/servers/2", "expected type string, found boolean"},
                     {"/port", "expected type integer, found number"},
                     {"/port", "value 99.5 is greater than maximum 10"}}));
}

TEST(JsonValidatorRecordTest, ResultIsReplacedByTheRecords) {
  JsonDocument schema = Parse(R"({"type": "string"})");
  JsonDocument value = Parse("1");
  JsonDocument result = Parse(R"({"old": true})");
  JsonValidator::Validate(schema, value, result, {0}, "");
  EXPECT_EQ(JsonToString(result),
            R"([{"field":"/","error":"expected type string, found number"}])");
  JsonDocument good = Parse("\"s\"");
  JsonValidator::Validate(schema, good, result, {0}, "");
  EXPECT_EQ(JsonToString(result), "[]");
}

// ---- Array schemas given an object ----

TEST(JsonValidatorInstanceTest, ArraySchemaValidatesAnObjectAsOneInstance) {
  const char* schema = R"({"type": "array", "items": {"type": "object",
      "properties": {"name": {"type": "string", "instanceId": true}, "mtu": {"type": "integer"}},
      "required": ["name"]}})";
  EXPECT_EQ(Check(schema, R"({"name": "a", "mtu": 1})", {0, 1, 7, 8}), Records{});
  EXPECT_EQ(Check(schema, R"({"mtu": "x", "more": 1})", {0, 1, 7, 8}),
            (Records{{"/", "missing required member \"name\""},
                     {"/mtu", "expected type integer, found string"},
                     {"/more", "unknown member \"more\""}}));
  // An array value is still an array of instances.
  EXPECT_EQ(Check(schema, R"([{"name": "a"}, {"mtu": 1}])", {0, 7}),
            (Records{{"/1", "missing required member \"name\""}}));
}

TEST(JsonValidatorInstanceTest, OnlyTheValueItselfCountsAsAnInstance) {
  const char* schema =
      R"({"properties": {"list": {"type": "array", "items": {"type": "object"}}}})";
  EXPECT_EQ(Check(schema, R"({"list": {"a": 1}})", {0}),
            (Records{{"/list", "expected type array, found object"}}));
}

// ---- Malformed schemas and deep values ----

TEST(JsonValidatorRobustnessTest, MalformedKeywordsAreIgnored) {
  const char* schema = R"({"type": 5, "minimum": "x", "maximum": null, "exclusiveMinimum": [],
      "multipleOf": 0, "minLength": -1, "maxLength": 1.5, "pattern": 7, "format": 1,
      "enum": 3, "required": "a", "properties": [], "patternProperties": 2,
      "additionalProperties": "no", "items": 3, "minItems": "1", "uniqueItems": "yes",
      "minProperties": {}, "allOf": {}, "anyOf": 1, "oneOf": "x", "not": 3,
      "vital": "yes", "readOnly": 1, "instanceId": "no"})";
  for (const char* value : {"1", "\"abc\"", "[1, 1]", R"({"a": {"b": [1]}})", "null"})
    EXPECT_EQ(Check(schema, value, {0, 1, 3, 4, 7}), Records{}) << value;
  // Nothing declares the member, so a closed object refuses it.
  EXPECT_EQ(Check(schema, R"({"a": 1})", {8}), (Records{{"/a", "unknown member \"a\""}}));
  EXPECT_EQ(Check(R"({"multipleOf": -2})", "3", {1}), Records{});
  EXPECT_EQ(Check(R"({"required": ["a", 1, null]})", "{}", {7}),
            (Records{{"/", "missing required member \"a\""}}));
  EXPECT_EQ(Check(R"({"type": ["string", 1]})", "true", {0}),
            (Records{{"/", "expected type string, found boolean"}}));
}

TEST(JsonValidatorRobustnessTest, SchemaThatIsNoObjectChecksNothing) {
  for (const char* schema : {"1", "\"s\"", "null", "[]"})
    EXPECT_EQ(Check(schema, R"({"a": [1]})", kAll), Records{}) << schema;
}

TEST(JsonValidatorRobustnessTest, DeepValuesAreWalked) {
  std::string value, close;
  for (int i = 0; i < 250; ++i) {
    value += R"({"a":)";
    close += "}";
  }
  value += "1" + close;
  auto records = Check("{}", value, {0, 1, 5, 7, 8});
  std::string field;
  for (int i = 0; i < 250; ++i) field += "/a";
  EXPECT_EQ(records, (Records{{"/a", "unknown member \"a\""},
                              {field, "member \"a\" is not vital configuration"}}));
}

// ---- Repeated member names: reported whatever the schema and options ----

TEST(JsonValidatorRepeatedNamesTest, ReportsEachRepeatedNameOnceWhereItRepeats) {
  const std::string text = R"({"a": 1, "b": {"x": 1, "y": 2, "x": 3, "x": 4},
      "list": [{"id": "p", "id": "q"}, {"id": "r"}], "a": 2, "c~/": 0, "c~/": 1})";
  const Records expected = {{"/b/x", "the object holds more than one member of this name"},
                            {"/list/0/id", "the object holds more than one member of this name"},
                            {"/a", "the object holds more than one member of this name"},
                            {"/c~0~1", "the object holds more than one member of this name"}};
  // The record at the object's own repetition comes first, then those
  // within its members, in their order.
  const Records ordered = {expected[2], expected[3], expected[0], expected[1]};
  EXPECT_EQ(Check("{}", text, {}), ordered);
  EXPECT_EQ(Check("true", text, kAll, "/corv/net"),
            (Records{{"/corv/net/a", ordered[0].second},
                     {"/corv/net/c~0~1", ordered[1].second},
                     {"/corv/net/b/x", ordered[2].second},
                     {"/corv/net/list/0/id", ordered[3].second}}));
  EXPECT_EQ(Check("{}", R"({"a": 1, "b": [{"a": 1}, {"b": 2}], "A": 3})", {}), Records{});
}

// A path keeps its first steps in itself and grows a list for deeper ones:
// pointers on either side of that room, far below it, and back above it
// after the walk returns are all rendered whole.
TEST(JsonValidatorRepeatedNamesTest, PointersOfAnyDepthAreRenderedWhole) {
  const std::string repeated = "the object holds more than one member of this name";
  // Each level repeats "r" and holds the next as the second item of the
  // list "n~/", two steps further down: 20 levels reach 40 steps.
  std::string deep, close, pointer = "/corv/deep";
  Records expected;
  for (int level = 0; level < 20; ++level) {
    deep += R"({"r": 0, "r": 1, "n~/": [0, )";
    close += "]}";
    expected.push_back({pointer + "/r", repeated});
    pointer += "/n~0~1/1";
  }
  const std::string text = R"({"deep": )" + deep + "{}" + close + R"(, "z": {"q": 1, "q": 2}})";
  expected.push_back({"/corv/z/q", repeated});
  // The record sixteen steps down, the last within the path's own room.
  EXPECT_EQ(expected[7].first,
            "/corv/deep/n~0~1/1/n~0~1/1/n~0~1/1/n~0~1/1/n~0~1/1/n~0~1/1/n~0~1/1/r");
  EXPECT_EQ(Check("{}", text, {}, "/corv"), expected);
}

// Names are told apart by their length and some of their bytes first: two
// names of any length that differ in any one byte are never taken as one.
TEST(JsonValidatorRepeatedNamesTest, NamesDifferingInAnyOneByteAreNotRepeats) {
  const std::string repeated = "the object holds more than one member of this name";
  for (size_t length = 1; length <= 12; ++length) {
    const std::string name(length, 'a');
    EXPECT_EQ(Check("{}", "{\"" + name + "\": 0, \"" + name + "\": 1}", {}),
              (Records{{"/" + name, repeated}}));
    for (size_t at = 0; at < length; ++at) {
      std::string other = name;
      other[at] = 'b';
      EXPECT_EQ(Check("{}", "{\"" + name + "\": 0, \"" + other + "\": 1}", {}), Records{})
          << other;
    }
  }
}

// In objects of up to sixteen members, a repetition is found whichever two
// places the name stands at, and distinct names are never taken as one.
TEST(JsonValidatorRepeatedNamesTest, SmallObjectsFindARepetitionAtAnyTwoPlaces) {
  const int members = 16;
  auto object = [](int first, int second) {
    std::string text = "{";
    for (int i = 0; i < members; ++i)
      text += std::string(i == 0 ? "" : ",") + "\"key" + std::to_string(i == second ? first : i) +
              "\":" + std::to_string(i);
    return text + "}";
  };
  EXPECT_EQ(Check("{}", object(0, -1), {}), Records{});
  for (int first = 0; first < members; ++first)
    for (int second = first + 1; second < members; ++second)
      EXPECT_EQ(Check("{}", object(first, second), {}),
                (Records{{"/key" + std::to_string(first),
                          "the object holds more than one member of this name"}}))
          << first << " " << second;
}

// Objects of more than sixteen members are checked by sorting their names:
// the same records, in the order of the repetitions, whatever the size.
TEST(JsonValidatorRepeatedNamesTest, LargeObjectsGiveTheSameRecords) {
  for (int members : {3, 16, 17, 40, 5000}) {
    std::string text = "{";
    for (int i = 0; i < members; ++i)
      text += "\"m" + std::to_string(i) + "\":" + std::to_string(i) + ",";
    text += R"("m2":0,"m1":0,"m2":0,"last":0})";
    EXPECT_EQ(Check("{}", text, {}),
              (Records{{"/m2", "the object holds more than one member of this name"},
                       {"/m1", "the object holds more than one member of this name"}}))
        << members;
  }
}
