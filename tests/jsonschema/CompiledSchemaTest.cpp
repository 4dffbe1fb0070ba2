// Compiled schemas: one compiled schema validates any number of values, on
// any number of threads, with exactly the records the same schema gives
// when used once; a keyword named twice counts where it is first named;
// every combinator is checked wherever it stands, and every value
// constraint as the only keyword of its node.
#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <thread>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/Json.h"
#include "jsonschema/CompiledSchema.h"
#include "jsonschema/JsonValidator.h"
#include "support/ParseJsonText.h"

using namespace CorvConfigStore;

namespace {

using Records = std::vector<std::pair<std::string, std::string>>;

using CorvTest::Parse;

Records FromList(const JsonValidator::ErrorList& errors) {
  Records records;
  for (const auto& record : errors) records.emplace_back(record.field, record.error);
  return records;
}

Records FromDocument(const JsonDocument& result) {
  Records records;
  for (const auto& record : result.GetArray())
    records.emplace_back(record["field"].GetString(), record["error"].GetString());
  return records;
}

Records CheckCompiled(const JsonValidator::CompiledSchema& schema, const JsonValue& value,
                      const std::unordered_set<int>& options, const std::string& prefix = "") {
  JsonValidator::ErrorList errors;
  JsonValidator::Validate(schema, value, errors, options, prefix);
  return FromList(errors);
}

// A key schema that uses every keyword the validator reads.
const char* kSchema = R"({"type": "array", "vital": true, "items": {
  "type": "object", "required": ["name", "mtu"], "additionalProperties": false,
  "properties": {
    "name": {"type": "string", "instanceId": true, "pattern": "^eth[0-9]+$"},
    "mtu": {"type": "integer", "minimum": 68, "maximum": 9216, "multipleOf": 2},
    "mode": {"enum": ["auto", "manual"]},
    "kind": {"const": "nic"},
    "label": {"type": ["string", "null"], "minLength": 2, "maxLength": 8, "readOnly": true},
    "address": {"type": "string", "format": "ipv4"},
    "tags": {"type": "array", "minItems": 1, "maxItems": 3, "uniqueItems": true,
             "items": {"type": "string"}},
    "limits": {"type": "object", "minProperties": 1, "maxProperties": 2, "cached": true,
               "patternProperties": {"^max": {"type": "integer", "exclusiveMinimum": 0}}},
    "speed": {"anyOf": [{"type": "integer"}, {"enum": ["fast"]}]},
    "duplex": {"oneOf": [{"const": "full"}, {"type": "string", "maxLength": 4}]},
    "vlan": {"allOf": [{"type": "integer"}, {"exclusiveMaximum": 4095}],
             "not": {"const": 1}},
    "owner": {"type": "string", "solutionUser": true}}}})";

// Values that pass and values that break each rule, at several depths.
const char* kValues[] = {
    R"({"name": "eth0", "mtu": 1500})",
    R"({"name": "wlan0", "mtu": 67, "mode": "off", "kind": "wifi", "label": "x",
        "address": "10.0.0.256", "tags": ["a", "a", 1, "b"], "speed": "slow",
        "duplex": "full", "vlan": 1, "limits": {}, "color": "red"})",
    R"({"mtu": 1501.5, "label": null, "tags": [], "limits": {"maxA": 0, "maxB": 1, "c": 2},
        "owner": "me", "vlan": 4095})",
    R"([{"name": "eth1", "mtu": 9000}, {"name": "eth2"}, 7])",
    R"("not an object")",
};

const std::unordered_set<int> kOptionSets[] = {
    {0, 1, 7, 8}, {0, 1, 3, 7, 8}, {0, 1}, {0, 1, 3, 7}, {0, 1, 5}, {0, 1, 9}, {0, 1, 4, 8}};

TEST(CompiledSchemaTest, GivesTheRecordsOfTheSchemaUsedOnceOnEveryCall) {
  JsonDocument schema = Parse(kSchema);
  JsonValidator::CompiledSchema compiled(schema);
  int withRecords = 0;
  for (const char* text : kValues) {
    JsonDocument value = Parse(text);
    for (const auto& options : kOptionSets) {
      JsonDocument once;
      JsonValidator::Validate(schema, value, once, options, "/corv/net/nics");
      Records expected = FromDocument(once);
      withRecords += !expected.empty();
      EXPECT_EQ(CheckCompiled(compiled, value, options, "/corv/net/nics"), expected) << text;
      // The second call finds the same, in the same order.
      EXPECT_EQ(CheckCompiled(compiled, value, options, "/corv/net/nics"), expected) << text;
    }
  }
  // The values break rules under most option sets.
  EXPECT_GT(withRecords, 20);
}

TEST(CompiledSchemaTest, ReportsWhatEachRuleFinds) {
  JsonDocument schema = Parse(kSchema);
  JsonValidator::CompiledSchema compiled(schema);
  JsonDocument value = Parse(kValues[1]);
  EXPECT_EQ(CheckCompiled(compiled, value, {0, 1, 7, 8}),
            (Records{{"/name", "string \"wlan0\" does not match pattern \"^eth[0-9]+$\""},
                     {"/mtu", "value 67 is less than minimum 68"},
                     {"/mtu", "value 67 is not a multiple of 2"},
                     {"/mode", "value \"off\" is not one of the enum values [\"auto\",\"manual\"]"},
                     {"/kind", "value \"wifi\" is not the const value \"nic\""},
                     {"/label", "string of 1 characters is shorter than minLength 2"},
                     {"/address", "string \"10.0.0.256\" does not match format ipv4"},
                     {"/tags", "array of 4 items is longer than maxItems 3"},
                     {"/tags/1", "item 1 equals item 0 (uniqueItems)"},
                     {"/tags/2", "expected type string, found number"},
                     {"/speed", "value does not match any schema of anyOf"},
                     {"/duplex", "value matches more than one schema of oneOf (schemas 0 and 1)"},
                     {"/vlan", "value matches the schema of not"},
                     {"/limits", "object of 0 members has fewer than minProperties 1"},
                     {"/color", "member \"color\" is not allowed by additionalProperties false"}}));
}

TEST(CompiledSchemaTest, AppendsToTheCallersRecords) {
  JsonDocument schema = Parse(R"({"type": "string"})");
  JsonDocument value = Parse("1");
  JsonValidator::CompiledSchema compiled(schema);
  JsonValidator::ErrorList errors{{"/earlier", "kept"}};
  JsonValidator::Validate(compiled, value, errors, {0}, "");
  EXPECT_EQ(FromList(errors),
            (Records{{"/earlier", "kept"}, {"/", "expected type string, found number"}}));
}

TEST(CompiledSchemaTest, KeywordNamedTwiceCountsWhereFirstNamed) {
  // The parser keeps both members; the first decides, malformed or not.
  JsonDocument schema = Parse(R"({"maximum": 3, "maximum": 100, "minimum": "x", "minimum": 5,
                                  "type": "integer", "type": "string"})");
  JsonValidator::CompiledSchema compiled(schema);
  JsonDocument four = Parse("4");
  EXPECT_EQ(CheckCompiled(compiled, four, {0, 1}),
            (Records{{"/", "value 4 is greater than maximum 3"}}));
  JsonDocument one = Parse("1");
  EXPECT_EQ(CheckCompiled(compiled, one, {0, 1}), Records{});
  JsonDocument text = Parse("\"a\"");
  EXPECT_EQ(CheckCompiled(compiled, text, {0, 1}),
            (Records{{"/", "expected type integer, found string"}}));
}

// The walk skips the combinators of a node that has none, so each kind
// must count on its own: alone in a node, as an empty list, and within the
// branches, properties and items of other nodes.
TEST(CompiledSchemaTest, EveryCombinatorIsCheckedWhereverItStands) {
  JsonDocument schema = Parse(R"({"properties": {
      "any": {"anyOf": [{"type": "integer"}]}, "noAny": {"anyOf": []},
      "one": {"oneOf": [{"type": "integer"}]}, "noOne": {"oneOf": []},
      "not": {"not": {"type": "string"}},
      "all": {"allOf": [{"type": "integer"}]}, "noAll": {"allOf": []},
      "list": {"items": {"not": {"type": "string"}}},
      "nested": {"allOf": [{"anyOf": [{"oneOf": [{"not": {"type": "string"}}]}]}]},
      "deep": {"allOf": [{"properties": {"x": {"oneOf": [{"type": "integer"}]}}}]}}})");
  JsonValidator::CompiledSchema compiled(schema);
  JsonDocument bad = Parse(R"({"any": "a", "noAny": 1, "one": "a", "noOne": 1, "not": "a",
      "all": "a", "noAll": "a", "list": [1, "a"], "nested": "a", "deep": {"x": "a"}})");
  EXPECT_EQ(CheckCompiled(compiled, bad, {0}),
            (Records{{"/any", "value does not match any schema of anyOf"},
                     {"/noAny", "value does not match any schema of anyOf"},
                     {"/one", "value does not match any schema of oneOf"},
                     {"/noOne", "value does not match any schema of oneOf"},
                     {"/not", "value matches the schema of not"},
                     {"/all", "expected type integer, found string"},
                     {"/list/1", "value matches the schema of not"},
                     {"/nested", "value does not match any schema of anyOf"},
                     {"/deep/x", "value does not match any schema of oneOf"}}));
  JsonDocument good = Parse(R"({"any": 1, "one": 1, "not": 1, "all": 1, "noAll": "a",
      "list": [1, 2], "nested": 1, "deep": {"x": 1}})");
  EXPECT_EQ(CheckCompiled(compiled, good, {0}), Records{});
}

// The walk skips the value constraints of a node that has none, so each
// keyword must count as the only one of its node.
TEST(CompiledSchemaTest, EveryValueConstraintIsCheckedAlone) {
  struct Case {
    const char* schema;
    const char* value;
    Records expected;
  };
  const Case cases[] = {
      {R"({"enum": [1]})", "2", {{"/", "value 2 is not one of the enum values [1]"}}},
      {R"({"const": 1})", "2", {{"/", "value 2 is not the const value 1"}}},
      {R"({"minimum": 5})", "2", {{"/", "value 2 is less than minimum 5"}}},
      {R"({"maximum": 1})", "2", {{"/", "value 2 is greater than maximum 1"}}},
      {R"({"exclusiveMinimum": 2})", "2",
       {{"/", "value 2 is not greater than exclusiveMinimum 2"}}},
      {R"({"exclusiveMaximum": 2})", "2", {{"/", "value 2 is not less than exclusiveMaximum 2"}}},
      {R"({"multipleOf": 3})", "2", {{"/", "value 2 is not a multiple of 3"}}},
      {R"({"minLength": 3})", R"("ab")",
       {{"/", "string of 2 characters is shorter than minLength 3"}}},
      {R"({"maxLength": 1})", R"("ab")",
       {{"/", "string of 2 characters is longer than maxLength 1"}}},
      {R"({"pattern": "^x"})", R"("ab")", {{"/", R"(string "ab" does not match pattern "^x")"}}},
      {R"({"format": "ipv4"})", R"("ab")", {{"/", R"(string "ab" does not match format ipv4)"}}},
      {R"({"minItems": 3})", "[1, 1]", {{"/", "array of 2 items is shorter than minItems 3"}}},
      {R"({"maxItems": 1})", "[1, 1]", {{"/", "array of 2 items is longer than maxItems 1"}}},
      {R"({"uniqueItems": true})", "[1, 1]", {{"/1", "item 1 equals item 0 (uniqueItems)"}}},
      {R"({"minProperties": 3})", R"({"a": 1, "b": 1})",
       {{"/", "object of 2 members has fewer than minProperties 3"}}},
      {R"({"maxProperties": 1})", R"({"a": 1, "b": 1})",
       {{"/", "object of 2 members has more than maxProperties 1"}}},
      // Neither a type nor a format without a check constrains the value.
      {R"({"type": "string", "format": "colour"})", R"("ab")", {}},
  };
  for (const Case& test : cases) {
    JsonDocument schema = Parse(test.schema);
    JsonValidator::CompiledSchema compiled(schema);
    JsonDocument value = Parse(test.value);
    EXPECT_EQ(CheckCompiled(compiled, value, {1}), test.expected) << test.schema;
  }
}

TEST(CompiledSchemaTest, PropertyNamedTwiceCountsWhereFirstNamed) {
  JsonDocument schema = Parse(R"({"properties": {"port": {"type": "integer"}, "mtu": {},
                                                 "port": {"type": "string"}}})");
  JsonValidator::CompiledSchema compiled(schema);
  EXPECT_EQ(compiled.Root().FindProperty("port")->json,
            &schema["properties"].MemberBegin()->value);
  JsonDocument number = Parse(R"({"port": 1})");
  EXPECT_EQ(CheckCompiled(compiled, number, {0}), Records{});
  JsonDocument text = Parse(R"({"port": "x"})");
  EXPECT_EQ(CheckCompiled(compiled, text, {0}),
            (Records{{"/port", "expected type integer, found string"}}));
}

TEST(CompiledSchemaTest, PropertiesSharingLengthAndFirstBytesAreToldApart) {
  // Pairs alike in length and in their first eight bytes, or in all bytes
  // up to a zero byte, and names shorter than eight bytes.
  const char* const names[] = {"interface0001", "interface0002", "a\\u0000b", "a\\u0000c",
                               "ab",            "ba",            "",          "mtu"};
  std::string text = R"({"properties": {)";
  for (const char* name : names)
    text += std::string(text.back() == '{' ? "" : ",") + "\"" + name + "\": {}";
  JsonDocument schema = Parse(text + "}}");
  JsonValidator::CompiledSchema compiled(schema);
  const JsonValue& properties = schema["properties"];
  for (auto property = properties.MemberBegin(); property != properties.MemberEnd(); ++property) {
    std::string_view name(property->name.GetString(), property->name.GetStringLength());
    const JsonValidator::SchemaNode* found = compiled.Root().FindProperty(name);
    ASSERT_NE(found, nullptr) << name;
    EXPECT_EQ(found->json, &property->value) << name;
  }
  const std::string_view absent[] = {"interface0003", "interface000",          "a", "mtv", "b",
                                     "ab ",           std::string_view("a\0d", 3)};
  for (std::string_view name : absent)
    EXPECT_EQ(compiled.Root().FindProperty(name), nullptr) << name;
}

TEST(CompiledSchemaTest, PropertyDifferingInAnyOneByteIsNotFound) {
  for (size_t length = 1; length <= 12; ++length) {
    const std::string name(length, 'a');
    JsonDocument schema = Parse(R"({"properties": {")" + name + R"(": {}}})");
    JsonValidator::CompiledSchema compiled(schema);
    EXPECT_NE(compiled.Root().FindProperty(name), nullptr) << name;
    for (size_t at = 0; at < length; ++at) {
      std::string other = name;
      other[at] = 'b';
      EXPECT_EQ(compiled.Root().FindProperty(other), nullptr) << other;
    }
  }
}

TEST(CompiledSchemaTest, OneCompiledSchemaServesSeveralThreads) {
  JsonDocument schema = Parse(kSchema);
  JsonValidator::CompiledSchema compiled(schema);
  JsonDocument good = Parse(kValues[0]);
  JsonDocument bad = Parse(kValues[1]);
  Records expected = CheckCompiled(compiled, bad, {0, 1, 7, 8});
  ASSERT_FALSE(expected.empty());
  std::vector<int> failures(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < 200; ++i) {
        if (!CheckCompiled(compiled, good, {0, 1, 7, 8}).empty()) ++failures[t];
        if (CheckCompiled(compiled, bad, {0, 1, 7, 8}) != expected) ++failures[t];
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
