// validateObject: the exported check of one object against the schema the
// store holds for its key.
#include "validation/Validation.h"
#include "ValidationFixture.h"

using namespace CorvConfigStore;
using CorvTest::HasRecord;

namespace {

class ValidateObjectTest : public CorvTest::StoreValidationTest {
 protected:
  std::shared_ptr<ConfigStoreObject> Unknown(const std::string& instance = "") {
    return Object(ConfigStoreObjectId("nokey", "net", "corv", instance), R"({"a": 1})", nullptr);
  }
};

TEST_F(ValidateObjectTest, AValidObjectPasses) {
  CorvTest::LogCapture log;
  std::vector<ErrorInfo> errors;
  EXPECT_TRUE(validateObject(Object("net", "dns", R"({"mode": "static"})"), ACTION_SET, errors, ""));
  EXPECT_TRUE(errors.empty());
  EXPECT_TRUE(log.Has(2, "validate completed successfully"));
}

TEST_F(ValidateObjectTest, MissingSchemaIsReportedForEveryAction) {
  for (ACTION action : {ACTION_GET, ACTION_SET, ACTION_UPDATE, ACTION_DELETE}) {
    CorvTest::LogCapture log;
    std::vector<ErrorInfo> errors;
    EXPECT_FALSE(validateObject(Unknown(), action, errors, "ignored"));
    ASSERT_EQ(errors.size(), 1u);
    // The location leaves the group out.
    EXPECT_EQ(errors[0].location, "corv/nokey");
    EXPECT_EQ(errors[0].message, "Schema not found.");
    EXPECT_TRUE(log.Has(0, "[1037] comp corv grp net key nokey"));
    EXPECT_FALSE(log.Contains("validate completed"));
  }
}

TEST_F(ValidateObjectTest, MissingSchemaLogNamesTheInstance) {
  CorvTest::LogCapture log;
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(validateObject(Unknown("i1"), ACTION_SET, errors, ""));
  EXPECT_TRUE(log.Has(0, "[1037] comp corv grp net key nokey id i1"));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "corv/nokey");
}

TEST_F(ValidateObjectTest, ReadsAndDeletesSkipTheValue) {
  for (ACTION action : {ACTION_GET, ACTION_DELETE}) {
    CorvTest::LogCapture log;
    std::vector<ErrorInfo> errors;
    EXPECT_TRUE(validateObject(Object("net", "dns", R"({"domain": 7})"), action, errors, ""));
    EXPECT_TRUE(errors.empty());
    EXPECT_TRUE(log.Has(2, "validate completed successfully"));
  }
}

TEST_F(ValidateObjectTest, WritesReportEveryFaultAndLogThem) {
  for (ACTION action : {ACTION_SET, ACTION_UPDATE}) {
    CorvTest::LogCapture log;
    std::vector<ErrorInfo> errors;
    EXPECT_FALSE(validateObject(Object("net", "dns", R"({"domain": 7, "stats": {"hits": 1}})"),
                                action, errors, ""));
    // Required, type and user-only rules all apply.
    EXPECT_TRUE(HasRecord(errors, "/", "mode"));
    EXPECT_TRUE(HasRecord(errors, "/domain", "string"));
    EXPECT_TRUE(HasRecord(errors, "/stats", "stats"));
    for (const ErrorInfo& error : errors)
      EXPECT_TRUE(log.Has(0, "[1083] " + error.location + ": " + error.message));
    EXPECT_TRUE(log.Has(0, "validate completed with errors"));
    EXPECT_FALSE(log.Contains("validate completed successfully"));
  }
}

TEST_F(ValidateObjectTest, UnknownMembersAreFaults) {
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(validateObject(Object("net", "dns", R"({"mode": "static", "color": 1})"),
                              ACTION_SET, errors, ""));
  EXPECT_TRUE(HasRecord(errors, "/color", "color"));
}

TEST_F(ValidateObjectTest, AnyValueTypeGoesToTheValidator) {
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(validateObject(Object("net", "dns", "[1]"), ACTION_SET, errors, ""));
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_NE(errors[0].message, CodeText(1030, "Expected JSON of type object."));
}

TEST_F(ValidateObjectTest, RecordsAreAppendedToTheCallersList) {
  std::vector<ErrorInfo> errors{ErrorInfo("/earlier", "kept")};
  EXPECT_FALSE(validateObject(Object("net", "dns", R"({"domain": "lan"})"), ACTION_SET, errors, ""));
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].location, "/earlier");
}

TEST_F(ValidateObjectTest, ANullObjectIsLoggedAndInvalid) {
  CorvTest::LogCapture log;
  std::vector<ErrorInfo> errors;
  EXPECT_FALSE(validateObject(nullptr, ACTION_SET, errors, ""));
  EXPECT_TRUE(errors.empty());
  EXPECT_TRUE(log.Contains("[1041] validateObject"));
}

}  // namespace
