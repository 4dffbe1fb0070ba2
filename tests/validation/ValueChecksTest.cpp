// The throwing value checks of each kind of write: the rules each applies,
// the clean-up before user data is checked, the records they carry and the
// log line of each record.
#include "validation/OptionSets.h"
#include "validation/Validation.h"
#include "ValidationFixture.h"

using namespace CorvConfigStore;
using CorvTest::ExpectValidationException;
using CorvTest::HasRecord;

namespace {

class ValueChecksTest : public CorvTest::ValidationTest {
 protected:
  using Check = void (*)(const SchemaPtr&, const std::shared_ptr<ConfigStoreObject>&);

  // The records the check throws for the value of corv/net/<key>; none when
  // it passes.
  std::vector<ErrorInfo> Faults(Check check, const std::string& key, const std::string& text,
                                const std::string& instance = "") {
    auto object = Object("net", key, text, instance);
    try {
      check(Schema("net", key), object);
    } catch (const ValidationException& e) {
      EXPECT_EQ(e.GetErrorCode(), 1084);
      EXPECT_EQ(std::string(e.what()), CodeText(1084));
      EXPECT_FALSE(e.GetErrors().empty());
      return e.GetErrors();
    }
    return {};
  }
};

// A dns value missing its required "mode".
const char* kMissingRequired = R"({"domain": "lan"})";
// A dns value with a member its schema does not describe.
const char* kUnknownMember = R"({"mode": "static", "color": "red"})";
// A dns value with a vital member.
const char* kVitalMember = R"({"mode": "static", "stats": {"hits": 3}})";
// A dns value with a cached member.
const char* kCachedMember = R"({"mode": "static", "lease": {"left": 3}})";
// A dns value breaking a type and a value constraint.
const char* kBadValues = R"({"mode": "manual", "domain": 7})";

TEST_F(ValueChecksTest, OptionSetsOfTheChecks) {
  EXPECT_EQ(kUserConfigOptions, (std::unordered_set<int>{0, 1, 3, 7, 8}));
  EXPECT_EQ(kSetOptions, (std::unordered_set<int>{0, 1, 7, 8}));
  EXPECT_EQ(kUpdateOptions, (std::unordered_set<int>{0, 1}));
  EXPECT_EQ(kPartialConfigOptions, (std::unordered_set<int>{0, 1, 7, 3}));
  EXPECT_EQ(kVitalOptions, (std::unordered_set<int>{0, 1, 5}));
  EXPECT_EQ(kCachedOptions, (std::unordered_set<int>{0, 1, 9}));
  EXPECT_EQ(kApplyFileOptions, (std::unordered_set<int>{0, 1, 4, 8}));
}

TEST_F(ValueChecksTest, ValidValuesPass) {
  EXPECT_TRUE(Faults(ValidateSet, "dns", R"({"mode": "static", "servers": ["1.1.1.1"]})").empty());
  EXPECT_TRUE(Faults(ValidateUpdate, "dns", R"({"domain": "lan"})").empty());
  EXPECT_TRUE(Faults(ValidatePartialConfig, "dns", R"({"mode": "dhcp"})").empty());
  EXPECT_TRUE(Faults(ValidateUserConfig, "dns", R"({"mode": "dhcp"})").empty());
  EXPECT_TRUE(Faults(ValidateVitalConfig, "health", R"({"state": "ok"})").empty());
  EXPECT_TRUE(Faults(ValidateCachedConfig, "lease", R"({"left": 5})").empty());
  EXPECT_TRUE(
      Faults(ValidateSet, "routes", R"({"name": "r1", "gateway": "10.0.0.1"})", "r1").empty());
}

TEST_F(ValueChecksTest, ValidateSetRulesRequiredClosedNotUserOnly) {
  EXPECT_TRUE(HasRecord(Faults(ValidateSet, "dns", kMissingRequired), "/", "mode"));
  EXPECT_TRUE(HasRecord(Faults(ValidateSet, "dns", kUnknownMember), "/color", "color"));
  EXPECT_TRUE(Faults(ValidateSet, "dns", kVitalMember).empty());
  auto faults = Faults(ValidateSet, "dns", kBadValues);
  EXPECT_TRUE(HasRecord(faults, "/mode", "manual"));
  EXPECT_TRUE(HasRecord(faults, "/domain", "string"));
  EXPECT_EQ(faults.size(), 2u);
}

TEST_F(ValueChecksTest, ValidateUpdateChecksOnlyTypesAndValues) {
  EXPECT_TRUE(Faults(ValidateUpdate, "dns", kMissingRequired).empty());
  EXPECT_TRUE(Faults(ValidateUpdate, "dns", kUnknownMember).empty());
  EXPECT_TRUE(Faults(ValidateUpdate, "dns", kVitalMember).empty());
  auto faults = Faults(ValidateUpdate, "dns", kBadValues);
  EXPECT_TRUE(HasRecord(faults, "/mode", "manual"));
  EXPECT_TRUE(HasRecord(faults, "/domain", "string"));
  EXPECT_TRUE(HasRecord(Faults(ValidateUpdate, "dns", R"({"domain": "a-very-long-name"})"),
                        "/domain", "maxLength"));
}

TEST_F(ValueChecksTest, ValidatePartialConfigRulesRequiredAndUserOnly) {
  EXPECT_TRUE(HasRecord(Faults(ValidatePartialConfig, "dns", kMissingRequired), "/", "mode"));
  EXPECT_FALSE(Faults(ValidatePartialConfig, "dns", kVitalMember).empty());
  EXPECT_FALSE(Faults(ValidatePartialConfig, "dns", kCachedMember).empty());
  EXPECT_TRUE(Faults(ValidatePartialConfig, "dns", kUnknownMember).empty());
}

TEST_F(ValueChecksTest, ValidateUserConfigRulesEverythingOfUserData) {
  auto vital = Faults(ValidateUserConfig, "dns", kVitalMember);
  ASSERT_EQ(vital.size(), 1u);
  EXPECT_NE(vital[0].message.find("stats"), std::string::npos);
  EXPECT_FALSE(Faults(ValidateUserConfig, "dns", kCachedMember).empty());
  EXPECT_FALSE(Faults(ValidateUserConfig, "dns", R"({"mode": "static", "owner": "me"})").empty());
  EXPECT_TRUE(HasRecord(Faults(ValidateUserConfig, "dns", kMissingRequired), "/", "mode"));
  EXPECT_TRUE(HasRecord(Faults(ValidateUserConfig, "dns", kUnknownMember), "/color", "color"));
}

TEST_F(ValueChecksTest, ValidateVitalConfigAcceptsOnlyVitalMembers) {
  // Required members are not checked in a layer of its own.
  EXPECT_TRUE(Faults(ValidateVitalConfig, "health", "{}").empty());
  EXPECT_TRUE(Faults(ValidateVitalConfig, "dns", R"({"stats": {"hits": 3}})").empty());
  EXPECT_TRUE(HasRecord(Faults(ValidateVitalConfig, "dns", R"({"domain": "lan"})"), "/domain",
                        "not vital"));
  EXPECT_FALSE(Faults(ValidateVitalConfig, "dns", R"({"lease": {"left": 1}})").empty());
  // The instance id belongs to every layer.
  EXPECT_TRUE(Faults(ValidateVitalConfig, "routes", R"({"name": "r1", "metric": 2})", "r1").empty());
  EXPECT_TRUE(
      HasRecord(Faults(ValidateVitalConfig, "health", R"({"state": 1})"), "/state", "string"));
}

TEST_F(ValueChecksTest, ValidateCachedConfigAcceptsOnlyCachedMembers) {
  EXPECT_TRUE(Faults(ValidateCachedConfig, "lease", "{}").empty());
  EXPECT_TRUE(Faults(ValidateCachedConfig, "dns", R"({"lease": {"left": 3}})").empty());
  EXPECT_TRUE(HasRecord(Faults(ValidateCachedConfig, "dns", R"({"domain": "lan"})"), "/domain",
                        "not cached"));
  EXPECT_FALSE(Faults(ValidateCachedConfig, "dns", R"({"stats": {"hits": 1}})").empty());
}

TEST_F(ValueChecksTest, UserDataChecksRemoveEmptyValuesFirst) {
  for (Check check : {ValidateSet, ValidateUpdate, ValidatePartialConfig, ValidateUserConfig}) {
    auto object = Object("net", "dns", R"({"mode": "static", "resolver": {}})");
    EXPECT_NO_THROW(check(Schema("net", "dns"), object));
    EXPECT_EQ(object->GetData(), R"({"mode":"static"})");
  }
  auto route = Object("net", "routes", R"({"name": "r1", "gateway": "g", "hops": [{}]})", "r1");
  EXPECT_NO_THROW(ValidateSet(Schema("net", "routes"), route));
  EXPECT_EQ(route->GetData(), R"({"name":"r1","gateway":"g"})");
}

TEST_F(ValueChecksTest, LayerChecksValidateTheValueAsGiven) {
  for (Check check : {ValidateVitalConfig, ValidateCachedConfig}) {
    auto object = Object("net", "dns", R"({"resolver": {}})");
    EXPECT_NO_THROW(check(Schema("net", "dns"), object));
    EXPECT_EQ(object->GetData(), R"({"resolver":{}})");
  }
}

TEST_F(ValueChecksTest, AValueThatIsNotAnObjectIsOneFault) {
  std::string text = CodeText(1030, "Expected JSON of type object.");
  for (Check check : {ValidateSet, ValidateUpdate, ValidatePartialConfig, ValidateUserConfig,
                      ValidateVitalConfig, ValidateCachedConfig}) {
    auto faults = Faults(check, "dns", R"(["static"])");
    ASSERT_EQ(faults.size(), 1u);
    EXPECT_EQ(faults[0].location, "/");
    EXPECT_EQ(faults[0].message, text);
  }
}

TEST_F(ValueChecksTest, TheExceptionCarriesEveryRecordInOrderAndEachIsLogged) {
  CorvTest::LogCapture log(2);
  auto object = Object("net", "dns", kBadValues);
  auto e = ExpectValidationException([&] { ValidateSet(Schema("net", "dns"), object); }, 1084,
                                     CodeText(1084));
  ASSERT_EQ(e.GetErrors().size(), 2u);
  for (const ErrorInfo& error : e.GetErrors())
    EXPECT_TRUE(log.Has(0, "[1083] " + error.location + ": " + error.message))
        << error.location << ": " << error.message;
  // The records keep the validator's order, which follows the value.
  EXPECT_EQ(e.GetErrors()[0].location, "/mode");
  EXPECT_EQ(e.GetErrors()[1].location, "/domain");
}

TEST_F(ValueChecksTest, InstancesAreCheckedAgainstTheItemsSchema) {
  auto faults = Faults(ValidateSet, "routes", R"({"name": "r1", "hops": [{"via": 3}]})", "r1");
  EXPECT_TRUE(HasRecord(faults, "/", "gateway"));
  EXPECT_TRUE(HasRecord(faults, "/hops/0/via", "string"));
}

}  // namespace
