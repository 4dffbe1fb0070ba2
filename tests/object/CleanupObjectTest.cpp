// Empty-value clean-up of user configuration before it is written.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "NicsSchema.h"
#include "ObjectTestSupport.h"
#include "core/Throw.h"
#include "object/CleanupObject.h"
#include "support/LogCapture.h"
#include "object/ObjectAccess.h"

using namespace CorvConfigStore;
using CorvTest::ObjectFrom;
using CorvTest::SchemaFrom;
using CorvTest::Throws;
using CorvTest::ThrowsJsonError;

namespace {

std::shared_ptr<CorvSchemaStore::SchemaObject> Nics() {
  return SchemaFrom("nics", CorvTest::NicsSchemaText());
}

// The object after clean-up, as stored (generated ids kept).
std::string Cleaned(const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
                    const std::string& data, const std::string& instanceId = "n") {
  auto object = ObjectFrom(schema, data, instanceId);
  CleanupObject(object, schema);
  return ImplOf(object).GetSerializedData();
}

}  // namespace

TEST(CleanupObjectTest, ErasesEmptyObjectsKeepingOrder) {
  CorvTest::LogCapture log;
  EXPECT_EQ(Cleaned(Nics(), R"({"mtu":1,"opts":{},"desc":"d"})"),
            R"({"mtu":1,"desc":"d","name":"n"})");
  EXPECT_TRUE(
      log.Has(2, "Checking for empty objects and arrays in comp c grp g key nics id n object"));
  EXPECT_TRUE(log.Has(2, "Erasing empty object prop opts"));
}

TEST(CleanupObjectTest, ObjectEmptiedByItsOwnCleanupIsErased) {
  CorvTest::LogCapture log;
  EXPECT_EQ(Cleaned(Nics(), R"({"opts":{"inner":{}}})"), R"({"name":"n"})");
  EXPECT_TRUE(log.Has(2, "Erasing empty object prop inner"));
  EXPECT_TRUE(log.Has(2, "Erasing empty object prop opts"));
  EXPECT_EQ(Cleaned(Nics(), R"({"opts":{"inner":{},"speed":1}})"),
            R"({"opts":{"speed":1},"name":"n"})");
}

TEST(CleanupObjectTest, ErasesEmptyListsAndInstances) {
  CorvTest::LogCapture log;
  EXPECT_EQ(Cleaned(Nics(), R"({"ips":[],"routes":[{"cs_generated_id":"g1"},{"via":"x"}]})"),
            R"({"routes":[{"via":"x"}],"name":"n"})");
  EXPECT_TRUE(log.Has(2, "Erasing empty array prop ips"));
  EXPECT_TRUE(
      log.Has(2, "Erasing cs_generated_id since it is the only remaining property in the object"));
  EXPECT_TRUE(log.Has(2, "Erasing empty instance of array prop routes"));
}

TEST(CleanupObjectTest, ListOfGeneratedIdOnlyInstancesIsErased) {
  CorvTest::LogCapture log;
  EXPECT_EQ(Cleaned(Nics(), R"({"routes":[{"cs_generated_id":"a"},{"cs_generated_id":"b"}]})"),
            R"({"name":"n"})");
  EXPECT_TRUE(log.Has(2, "Erasing empty array prop routes"));
}

TEST(CleanupObjectTest, InstanceHoldingItsIdIsKept) {
  EXPECT_EQ(Cleaned(Nics(), R"({"ips":[{"addr":"a"},{"addr":"b","prefix":8}]})"),
            R"({"ips":[{"addr":"a"},{"addr":"b","prefix":8}],"name":"n"})");
}

TEST(CleanupObjectTest, VitalCachedAndSolutionUserMembersAreNeverErased) {
  EXPECT_EQ(Cleaned(Nics(), R"({"vitalObj":{},"cachedObj":{},"solObj":{},"vitalList":[]})"),
            R"({"vitalObj":{},"cachedObj":{},"solObj":{},"vitalList":[],"name":"n"})");
}

TEST(CleanupObjectTest, UndescribedAndMismatchedMembersAreLeftAlone) {
  EXPECT_EQ(
      Cleaned(Nics(), R"({"extra":{},"more":[],"opts":5,"ips":{},"routes":[1,{}],"tags":[]})"),
      R"({"extra":{},"more":[],"opts":5,"ips":{},"routes":[1],"tags":[],"name":"n"})");
}

TEST(CleanupObjectTest, TopLevelHoldingOnlyAGeneratedIdIsEmptied) {
  auto schema = SchemaFrom("dns", CorvTest::DnsSchemaText());
  EXPECT_EQ(Cleaned(schema, R"({"cs_generated_id":"g"})", ""), "{}");
  EXPECT_EQ(Cleaned(schema, R"({"cs_generated_id":"g","servers":[]})", ""),
            R"({"cs_generated_id":"g","servers":[]})");
}

TEST(CleanupObjectTest, NonUserKindsAreSkipped) {
  const char* const properties = R"("properties":{"o":{"type":"object"}})";
  for (const char* flag : {"vital", "cached", "internal"}) {
    CorvTest::LogCapture log;
    auto schema = SchemaFrom(
        "k", std::string(R"({"type":"object",")") + flag + R"(":true,)" + properties + "}");
    EXPECT_EQ(Cleaned(schema, R"({"o":{}})", ""), R"({"o":{}})") << flag;
    EXPECT_TRUE(log.Has(2, "Skipping empty object check since non-user config: comp c grp g key k"))
        << flag;
    EXPECT_FALSE(log.Contains("Checking for empty objects")) << flag;
  }
}

TEST(CleanupObjectTest, SystemInstancesAreNotUserConfiguration) {
  auto schema = SchemaFrom("k", R"({"type":"object","systemInstances":["sys"],)"
                                R"("properties":{"o":{"type":"object"}}})");
  ASSERT_EQ(schema->GetKind(), 5);
  CorvTest::LogCapture log;
  EXPECT_EQ(Cleaned(schema, R"({"o":{}})", "sys"), R"({"o":{}})");
  EXPECT_TRUE(
      log.Has(2, "Skipping empty object check since non-user config: comp c grp g key k id sys"));
  EXPECT_EQ(Cleaned(schema, R"({"o":{}})", "user1"), "{}");
}

TEST(CleanupObjectTest, FlagThatIsNotABooleanRaisesJsonError) {
  auto schema = SchemaFrom("k", R"({"type":"object","properties":{"o":{"type":"object",)"
                                R"("cached":"yes","properties":{}}}})");
  EXPECT_TRUE(ThrowsJsonError([&] { Cleaned(schema, R"({"o":{}})", ""); }, "IsBool()"));
}

// The flags are found in one pass but read in a fixed order, each at the
// first member of its name: a malformed flag raises 1082 only when reading
// the flags one by one would reach it.
TEST(CleanupObjectTest, FlagsAreReadInOrderEachAtItsFirstMember) {
  auto withFlags = [](const std::string& flags) {
    return SchemaFrom("k", R"({"type":"object","properties":{"o":{"type":"object",)" + flags +
                               R"(,"properties":{}}}})");
  };
  EXPECT_EQ(Cleaned(withFlags(R"("cached":"yes","solutionUser":true)"), R"({"o":{}})", ""),
            R"({"o":{}})");
  EXPECT_EQ(Cleaned(withFlags(R"("cached":"yes","vital":true,"solutionUser":false)"),
                    R"({"o":{}})", ""),
            R"({"o":{}})");
  EXPECT_TRUE(ThrowsJsonError(
      [&] { Cleaned(withFlags(R"("vital":true,"solutionUser":"yes")"), R"({"o":{}})", ""); },
      "IsBool()"));
  EXPECT_TRUE(ThrowsJsonError(
      [&] { Cleaned(withFlags(R"("solutionUser":false,"vital":1)"), R"({"o":{}})", ""); },
      "IsBool()"));
  EXPECT_EQ(Cleaned(withFlags(R"("vital":false,"vital":"yes","cached":false)"), R"({"o":{}})", ""),
            "{}");
  EXPECT_TRUE(ThrowsJsonError(
      [&] { Cleaned(withFlags(R"("vital":"yes","vital":false)"), R"({"o":{}})", ""); },
      "IsBool()"));
  EXPECT_EQ(Cleaned(withFlags(R"("vital":true,"vital":false)"), R"({"o":{}})", ""),
            R"({"o":{}})");
}

// Only a "type" that is the text "object" or "array" (its first member of
// that name) makes a member one to clean.
TEST(CleanupObjectTest, OnlyATypeTextDecidesWhatIsCleaned) {
  auto withType = [](const std::string& type) {
    return SchemaFrom("k", R"({"type":"object","properties":{)"
                           R"("o":{)" + type + R"(,"properties":{}},)"
                           R"("l":{"type":"array","items":{)" + type + R"(}}}})");
  };
  EXPECT_EQ(Cleaned(withType(R"("type":"object")"), R"({"o":{},"l":[{}]})", ""), "{}");
  EXPECT_EQ(Cleaned(withType(R"("type":"object","type":"array")"), R"({"o":{},"l":[{}]})", ""),
            "{}");
  for (const char* type : {R"("type":["object"])", R"("type":"objects")", R"("type":"obj")",
                           R"("type":"array","type":"object")"})
    EXPECT_EQ(Cleaned(withType(type), R"({"o":{},"l":[{}]})", ""), R"({"o":{},"l":[{}]})")
        << type;
}

// "properties", "type" and "items" are found by their whole names only, not
// by a member whose name has their length or begins like them.
TEST(CleanupObjectTest, SchemaKeywordsAreFoundByTheirWholeNames) {
  auto schema = SchemaFrom("k", R"({"type":"object","propertiez":{"x":{"type":"object"}},)"
                                R"("properties":{"o":{"typo":"array","type":"object"},)"
                                R"("l":{"type":"array","itemz":{"type":"string"},)"
                                R"("items":{"types":"string","type":"object"}},)"
                                R"("m":{"type":"array","itemss":{"type":"object"}}}})");
  EXPECT_EQ(Cleaned(schema, R"({"o":{},"l":[{}],"m":[{}],"x":{}})", ""), R"({"m":[{}],"x":{}})");
}

TEST(CleanupObjectTest, SchemaWithoutPropertiesErasesNothing) {
  auto schema = SchemaFrom("k", R"({"type":"object"})");
  EXPECT_EQ(Cleaned(schema, R"({"o":{},"a":[]})", ""), R"({"o":{},"a":[]})");
}

TEST(CleanupObjectTest, NullObjectAndMissingSchema) {
  CorvTest::LogCapture log(1);
  CleanupObject(nullptr, Nics());
  EXPECT_TRUE(log.Has(1, std::string("[1041] CleanupObject: ") + ErrorMessageForId(1041)));
  auto nic = ObjectFrom(Nics(), "{}", "n");
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { CleanupObject(nic, nullptr); }, 1037,
                                   Format(ErrorMessageForId(1037), "comp c grp g key nics id n")));
}

TEST(CleanupObjectTest, NonObjectValueRaisesJsonError) {
  auto schema = SchemaFrom("dns", CorvTest::DnsSchemaText());
  auto dns = ObjectFrom(schema, "[1]", "");
  EXPECT_TRUE(ThrowsJsonError([&] { CleanupObject(dns, schema); }, "IsObject()"));
}
