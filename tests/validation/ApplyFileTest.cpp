// ValidateApplyFile, used the way a program outside the library uses it:
// through its public header alone, with rapidjson values.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/ValidateApplyFile.h>
#include <gtest/gtest.h>

#include <string>

#include "support/LogCapture.h"

using namespace CorvConfigStore;

namespace {

const char* kSchema = R"({"type": "object", "required": ["name"], "properties": {
  "name": {"type": "string"},
  "serial": {"type": "string", "readOnly": true},
  "ports": {"type": "array", "items": {"type": "object", "properties": {
    "id": {"type": "integer", "readOnly": true},
    "speed": {"type": "integer", "minimum": 1}}}}}})";

class ApplyFileTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_FALSE(schema_.Parse(kSchema).HasParseError()); }

  // The records of the exception the document raises; none when it passes.
  std::vector<ErrorInfo> Check(const char* text) {
    rapidjson::Document document;
    EXPECT_FALSE(document.Parse(text).HasParseError());
    try {
      ValidateApplyFile(document, schema_);
    } catch (const ValidationException& e) {
      EXPECT_EQ(e.GetErrorCode(), 1091);
      EXPECT_EQ(std::string(e.what()), "Apply file failed schema validation");
      EXPECT_FALSE(e.GetErrors().empty());
      return e.GetErrors();
    }
    return {};
  }

  rapidjson::Document schema_;
};

TEST_F(ApplyFileTest, AValidDocumentPasses) {
  EXPECT_TRUE(Check(R"({"name": "a", "ports": [{"speed": 10}]})").empty());
}

TEST_F(ApplyFileTest, RequiredMembersMayBeLeftOut) { EXPECT_TRUE(Check("{}").empty()); }

TEST_F(ApplyFileTest, ReadOnlyMembersAreRefusedAtAnyDepth) {
  auto errors = Check(R"({"name": "a", "serial": "x", "ports": [{"id": 1, "speed": 10}]})");
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].location, "/serial");
  EXPECT_NE(errors[0].message.find("read-only"), std::string::npos);
  EXPECT_EQ(errors[1].location, "/ports/0/id");
}

TEST_F(ApplyFileTest, UnknownMembersAndBadValuesAreRefused) {
  auto errors = Check(R"({"name": "a", "color": 1, "ports": [{"speed": 0}]})");
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].location, "/color");
  EXPECT_EQ(errors[1].location, "/ports/0/speed");
}

TEST_F(ApplyFileTest, EveryRecordIsLogged) {
  CorvTest::LogCapture log;
  auto errors = Check(R"({"serial": "x", "name": 5})");
  ASSERT_EQ(errors.size(), 2u);
  for (const ErrorInfo& error : errors)
    EXPECT_TRUE(log.Has(0, "[1083] " + error.location + ": " + error.message));
}

TEST_F(ApplyFileTest, MisusedValuesRaiseTheLibrarysJsonError) {
  // The public header installs the library's assertion hook for the
  // caller's own rapidjson code as well.
  rapidjson::Document document;
  document.Parse(R"({"name": 5})");
  try {
    static_cast<void>(document["name"].GetString());
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1082);
    EXPECT_EQ(std::string(e.what()).rfind("JSON error:", 0), 0u);
  }
}

}  // namespace
