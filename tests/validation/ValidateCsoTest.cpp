// ValidateCSO: the collecting check of complete configurations. Identity
// faults stop it; the value is checked with the rules of its layer, and
// nothing is logged per record.
#include "validation/Validation.h"
#include "ValidationFixture.h"

using namespace CorvConfigStore;
using CorvTest::HasRecord;

namespace {

class ValidateCsoTest : public CorvTest::ValidationTest {
 protected:
  std::vector<ErrorInfo> Check(const std::string& key, const std::string& text,
                               const std::string& instance = "") {
    std::vector<ErrorInfo> errors;
    EXPECT_NO_THROW(ValidateCSO(Schema("net", key), Object("net", key, text, instance), errors));
    return errors;
  }
};

TEST_F(ValidateCsoTest, NoSchemaIsOneRecordNamingThePath) {
  std::vector<ErrorInfo> errors;
  auto object = Object(ConfigStoreObjectId("nokey", "net", "corv"), R"({"a": 1})", nullptr);
  ValidateCSO(nullptr, object, errors);
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_EQ(errors[0].message, CodeText(1037, "/corv/net/nokey"));
}

TEST_F(ValidateCsoTest, SingletonWithAnInstanceIdStopsBeforeTheValue) {
  // The value would also break the schema; only the identity is reported.
  auto errors = Check("dns", R"({"domain": 7})", "x");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_EQ(errors[0].message, CodeText(1049, "/corv/net/dns"));
}

TEST_F(ValidateCsoTest, NonSingletonWithoutAnInstanceIdStopsBeforeTheValue) {
  auto errors = Check("routes", R"({"gateway": 7})");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_EQ(errors[0].message, CodeText(1048, "/corv/net/routes"));
}

TEST_F(ValidateCsoTest, UserConfigurationRulesRequiredAndClosedObjects) {
  EXPECT_TRUE(Check("dns", R"({"mode": "static"})").empty());
  EXPECT_TRUE(HasRecord(Check("dns", R"({"domain": "lan"})"), "/", "mode"));
  EXPECT_TRUE(HasRecord(Check("dns", R"({"mode": "static", "color": 1})"), "/color", "color"));
  // Members of other layers may accompany user data in a complete
  // configuration.
  EXPECT_TRUE(Check("dns", R"({"mode": "static", "stats": {"hits": 1}})").empty());
  EXPECT_TRUE(HasRecord(Check("routes", R"({"name": "r1"})", "r1"), "/", "gateway"));
}

TEST_F(ValidateCsoTest, VitalConfigurationUsesTheVitalRules) {
  // Required members are not checked for a vital configuration.
  EXPECT_TRUE(Check("health", "{}").empty());
  EXPECT_TRUE(HasRecord(Check("health", R"({"state": 1})"), "/state", "string"));
}

TEST_F(ValidateCsoTest, CachedConfigurationUsesTheCachedRules) {
  EXPECT_TRUE(Check("lease", "{}").empty());
  EXPECT_TRUE(HasRecord(Check("lease", R"({"left": "soon"})"), "/left", "integer"));
}

TEST_F(ValidateCsoTest, ANonBooleanLayerFlagIsAJsonError) {
  const char* text = R"({"type": "object", "vital": 1})";
  JsonDocument schema;
  ASSERT_TRUE(ParseJson(text, std::strlen(text), schema, nullptr));
  auto flagged = std::make_shared<CorvSchemaStore::SchemaObject>("corv", "net", "odd", schema);
  std::vector<ErrorInfo> errors;
  auto object = Object(ConfigStoreObjectId("odd", "net", "corv"), "{}", flagged);
  try {
    ValidateCSO(flagged, object, errors);
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1082);
  }
}

TEST_F(ValidateCsoTest, AValueThatIsNotAnObjectIsOneFault) {
  auto errors = Check("dns", "[1, 2]");
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].location, "/");
  EXPECT_EQ(errors[0].message, CodeText(1030, "Expected JSON of type object."));
}

TEST_F(ValidateCsoTest, RecordsAreAppendedToTheCallersListWithoutLogging) {
  CorvTest::LogCapture log;
  std::vector<ErrorInfo> errors{ErrorInfo("/earlier", "kept")};
  ValidateCSO(Schema("net", "dns"), Object("net", "dns", R"({"mode": "manual", "domain": 7})"),
              errors);
  ASSERT_EQ(errors.size(), 3u);
  EXPECT_EQ(errors[0].location, "/earlier");
  EXPECT_EQ(errors[1].location, "/mode");
  EXPECT_EQ(errors[2].location, "/domain");
  EXPECT_FALSE(log.Contains("[1083]"));
}

TEST_F(ValidateCsoTest, ASchemaObjectGivesTheSameRecordsOnEveryCheck) {
  // The first check compiles the schema object's schema; later checks reuse
  // it and must find exactly the same.
  auto schema = Schema("net", "dns");
  auto object = Object(ConfigStoreObjectId("dns", "net", "corv"),
                       R"({"domain": "example.lan.", "servers": [1], "color": 1})", schema);
  for (int i = 0; i < 3; ++i) {
    std::vector<ErrorInfo> errors;
    ValidateCSO(schema, object, errors);
    ASSERT_EQ(errors.size(), 4u) << i;
    EXPECT_EQ(errors[0].location, "/");
    EXPECT_EQ(errors[0].message, "missing required member \"mode\"");
    EXPECT_EQ(errors[1].location, "/domain");
    EXPECT_EQ(errors[1].message, "string of 12 characters is longer than maxLength 10");
    EXPECT_EQ(errors[2].location, "/servers/0");
    EXPECT_EQ(errors[2].message, "expected type string, found number");
    EXPECT_EQ(errors[3].location, "/color");
    EXPECT_EQ(errors[3].message, "unknown member \"color\"");
  }
}

}  // namespace
