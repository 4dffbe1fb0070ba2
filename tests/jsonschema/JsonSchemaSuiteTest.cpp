// The validator against the official JSON Schema Test Suite (draft 7), one
// test per file of a supported keyword.
//
// The suite runs with options {0, 1, 7}: types and structure, value
// constraints and "required", which together are plain JSON Schema. Option
// 8 (closed objects) is left out because JSON Schema leaves undeclared
// members allowed, and the layer options 3, 4, 5 and 9 read annotations the
// suite never writes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "core/Json.h"
#include "jsonschema/JsonValidator.h"

using namespace CorvConfigStore;

namespace {

// Cases that depend on what the validator does not support, skipped by
// their group or case description. Keep this list short.
const std::vector<std::string> kSkipped = {
    // The list form of "items" (tuple validation).
    "an array of schemas for items",
    "items with boolean schemas",
};

// Where the Debian package json-schema-test-suite puts the draft 7 tests;
// JSON_SCHEMA_TEST_SUITE may name another copy of the tests directory.
std::filesystem::path SuiteDirectory() {
  const char* overridden = std::getenv("JSON_SCHEMA_TEST_SUITE");
  std::filesystem::path tests =
      overridden != nullptr ? overridden : "/usr/share/json-schema-test-suite/tests";
  return tests / "draft7";
}

struct SuiteFile {
  const char* path;  // relative to the draft 7 directory
  bool optional;     // only in some releases of the suite
};

const SuiteFile kFiles[] = {
    {"type.json", false},
    {"properties.json", false},
    {"required.json", false},
    {"additionalProperties.json", false},
    {"patternProperties.json", false},
    {"items.json", false},
    {"minItems.json", false},
    {"maxItems.json", false},
    {"uniqueItems.json", false},
    {"enum.json", false},
    {"const.json", false},
    {"minimum.json", false},
    {"maximum.json", false},
    {"exclusiveMinimum.json", false},
    {"exclusiveMaximum.json", false},
    {"multipleOf.json", false},
    {"minLength.json", false},
    {"maxLength.json", false},
    {"pattern.json", false},
    {"minProperties.json", false},
    {"maxProperties.json", false},
    {"allOf.json", false},
    {"anyOf.json", false},
    {"oneOf.json", false},
    {"not.json", false},
    {"boolean_schema.json", false},
    {"optional/zeroTerminatedFloats.json", false},
    {"optional/bignum.json", false},
    {"optional/format/ipv4.json", false},
    {"optional/format/ipv6.json", false},
    {"optional/format/hostname.json", false},
    {"optional/format/uuid.json", true},
};

void PrintTo(const SuiteFile& file, std::ostream* os) { *os << file.path; }

bool IsUnsupported(const std::string& description) {
  for (const auto& skipped : kSkipped)
    if (description == skipped) return true;
  return false;
}

std::string Member(const JsonValue& object, const char* name) {
  auto found = object.FindMember(name);
  return found != object.MemberEnd() && found->value.IsString() ? found->value.GetString() : "";
}

class JsonSchemaSuiteTest : public ::testing::TestWithParam<SuiteFile> {};

TEST_P(JsonSchemaSuiteTest, EveryCasePasses) {
  std::filesystem::path directory = SuiteDirectory();
  ASSERT_TRUE(std::filesystem::is_directory(directory))
      << directory << " is missing: install the package json-schema-test-suite";
  std::filesystem::path file = directory / GetParam().path;
  if (GetParam().optional && !std::filesystem::exists(file))
    GTEST_SKIP() << file << " is not part of this release of the suite";
  std::ifstream stream(file, std::ios::binary);
  ASSERT_TRUE(stream) << "cannot read " << file;
  std::stringstream text;
  text << stream.rdbuf();
  std::string content = text.str();
  JsonDocument suite;
  std::string error;
  ASSERT_TRUE(ParseJson(content.data(), content.size(), suite, &error)) << file << ": " << error;
  ASSERT_TRUE(suite.IsArray());

  int run = 0;
  for (const auto& group : suite.GetArray()) {
    ASSERT_TRUE(group.IsObject() && group.HasMember("schema") && group.HasMember("tests"));
    std::string groupDescription = Member(group, "description");
    if (IsUnsupported(groupDescription)) continue;
    for (const auto& test : group["tests"].GetArray()) {
      std::string caseDescription = Member(test, "description");
      if (IsUnsupported(caseDescription)) continue;
      JsonDocument result;
      JsonValidator::Validate(group["schema"], test["data"], result, {0, 1, 7}, "");
      ASSERT_TRUE(result.IsArray());
      EXPECT_EQ(result.Empty(), test["valid"].GetBool())
          << GetParam().path << ": " << groupDescription << " / " << caseDescription
          << "\n  errors: " << JsonToString(result);
      ++run;
    }
  }
  EXPECT_GT(run, 0) << "no case of " << file << " ran";
}

std::string TestName(const ::testing::TestParamInfo<SuiteFile>& info) {
  std::string name = info.param.path;
  name = name.substr(0, name.size() - std::string(".json").size());
  for (char& c : name)
    if (!std::isalnum(static_cast<unsigned char>(c))) c = '_';
  return name;
}

INSTANTIATE_TEST_SUITE_P(Draft7, JsonSchemaSuiteTest, ::testing::ValuesIn(kFiles), TestName);

}  // namespace
