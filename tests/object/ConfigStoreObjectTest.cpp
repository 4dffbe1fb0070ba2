// Configuration objects: construction from a schema or the schema store,
// metadata, the default fall-back, instance ids, texts and SetValueEx.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "NicsSchema.h"
#include "ObjectTestSupport.h"
#include "core/Throw.h"
#include "object/SchemaDerived.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"
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

std::shared_ptr<CorvSchemaStore::SchemaObject> Dns() {
  return SchemaFrom("dns", CorvTest::DnsSchemaText());
}

}  // namespace

TEST(ConfigStoreObjectTest, TakesMapDefaultsAndVersionFromTheSchema) {
  auto object = ObjectFrom(Nics(), "{}", "eth0");
  auto& impl = ImplOf(object);
  EXPECT_EQ(impl.GetIdMapStr(),
            R"({"nics":"name","ips":"addr","routes":"cs_generated_id","vitalList":"a"})");
  ASSERT_TRUE(impl.GetDefaults());
  EXPECT_EQ(JsonToString(*impl.GetDefaults()->GetJsonValuePtr()),
            R"({"mtu":1500,"tags":["lan"],"opts":{"speed":100},"ips":{"prefix":24}})");
  EXPECT_EQ(object->GetVersion(), "2.1");
  EXPECT_EQ(object->GetRevision(), -1);
  EXPECT_EQ(object->GetCreationTime(), "");
  EXPECT_EQ(object->GetModifiedTime(), "");
  EXPECT_TRUE(impl.IsDerivedFromSchema());
  EXPECT_EQ(impl.GetRootId(), object->GetConfigStoreObjectId());
  EXPECT_FALSE(impl.GetIndex().has_value());
  // The object of a key with instances carries its own instance id.
  EXPECT_EQ(object->GetData(), R"({"name":"eth0"})");
}

TEST(ConfigStoreObjectTest, GivenMetadataIsKept) {
  ConfigStoreObjectId id("nics", "g", "c", "eth1");
  ConfigStoreObjectImpl impl(id, id, 4UL, CreateDocumentFromString(R"({"mtu":9000})"), Nics(),
                             "3.0", "2024-01-01", "2024-02-02", 7, true, nullptr, nullptr);
  EXPECT_EQ(impl.GetVersion(), "3.0");
  EXPECT_EQ(impl.GetCreationTime(), "2024-01-01");
  EXPECT_EQ(impl.GetModifiedTime(), "2024-02-02");
  EXPECT_EQ(impl.GetRevision(), 7);
  EXPECT_EQ(impl.GetIndex(), std::optional<unsigned long>(4));
  EXPECT_EQ(impl.GetData(), R"({"mtu":9000,"name":"eth1"})");
}

TEST(ConfigStoreObjectTest, MetadataOfAnyLengthIsKept) {
  // Short stamps are kept in the object, longer ones apart: both read back
  // whole, and so do empty ones and those of a sub-object.
  ConfigStoreObjectId id("nics", "g", "c", "eth1");
  const std::string longVersion(100, 'v');
  const std::string created = "2024-01-01 10:00:00.123456789 +0000 (from the old store)";
  for (const std::string& version : {std::string("3.0"), longVersion}) {
    ConfigStoreObjectImpl impl(id, id, std::nullopt, CreateDocumentFromString("{}"), Nics(),
                               version, created, "", 7, true, nullptr, nullptr);
    EXPECT_EQ(impl.GetVersion(), version);
    EXPECT_EQ(impl.GetCreationTime(), created);
    EXPECT_EQ(impl.GetModifiedTime(), "");
  }
  ConfigStoreObjectImpl small(id, id, std::nullopt, CreateDocumentFromString("{}"), Nics(), "1",
                              "2024-01-01 10:00:00", "2024-02-02 11:00:00", 7, true, nullptr,
                              nullptr);
  EXPECT_EQ(small.GetVersion(), "1");
  EXPECT_EQ(small.GetCreationTime(), "2024-01-01 10:00:00");
  EXPECT_EQ(small.GetModifiedTime(), "2024-02-02 11:00:00");
}

TEST(ConfigStoreObjectTest, DataIsSharedNotCopied) {
  auto data = CreateDocumentFromString(R"({"servers":["a"]})");
  ConfigStoreObjectId id("dns", "g", "c");
  auto object = std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, data, Dns(), "", "", "", -1, true, nullptr, nullptr));
  object->SetValue("domain", "example.org");
  EXPECT_EQ(JsonToString(*data->GetJsonValuePtr()), R"({"servers":["a"],"domain":"example.org"})");
}

// An object whose value holds its instance id already (every object read
// from the store) leaves it as it is: its document's pool does not grow.
// Another id is written over it.
TEST(ConfigStoreObjectTest, InstanceIdAlreadyHeldIsNotWrittenAgain) {
  auto schema = Nics();
  ConfigStoreObjectId id("nics", "g", "c", "eth0-with-a-long-name");
  auto data = CreateDocumentFromString(R"({"name":"eth0-with-a-long-name","mtu":9000})");
  const size_t parsed = data->GetAllocator().Size();
  ConfigStoreObjectImpl same(id, id, std::nullopt, data, schema, "", "", "", -1, true, nullptr,
                             nullptr);
  EXPECT_EQ(data->GetAllocator().Size(), parsed);
  EXPECT_EQ(same.GetData(), R"({"name":"eth0-with-a-long-name","mtu":9000})");

  ConfigStoreObjectId other("nics", "g", "c", "eth1-with-a-long-name");
  ConfigStoreObjectImpl renamed(other, other, std::nullopt, data, schema, "", "", "", -1, true,
                                nullptr, nullptr);
  EXPECT_GT(data->GetAllocator().Size(), parsed);
  EXPECT_EQ(renamed.GetData(), R"({"name":"eth1-with-a-long-name","mtu":9000})");
}

TEST(ConfigStoreObjectTest, SingletonHasNoInstanceIdMap) {
  auto object = ObjectFrom(Dns(), R"({"servers":[]})", "ignored");
  EXPECT_EQ(ImplOf(object).GetIdMapStr(), "{}");
  EXPECT_EQ(ImplOf(object).GetIdMap(), nullptr);
  EXPECT_EQ(object->GetData(), R"({"servers":[]})");
  EXPECT_EQ(object->GetVersion(), "1.0");
}

TEST(ConfigStoreObjectTest, InstanceIdOverwritesTheIdPropertyInPlace) {
  auto object = ObjectFrom(Nics(), R"({"name":"old","mtu":1})", "new");
  EXPECT_EQ(object->GetData(), R"({"name":"new","mtu":1})");
  object->SetValue("name", "other");
  ImplOf(object).SetInstanceIdFromCsoId();
  EXPECT_EQ(object->GetData(), R"({"name":"new","mtu":1})");
}

// Found by fuzzing: the instance id is written into the value, so one that
// is not UTF-8 made the object's text invalid JSON.
TEST(ConfigStoreObjectTest, AnInstanceIdThatIsNotUtf8IsRefused) {
  EXPECT_TRUE(Throws<ConfigStoreException>([] { ObjectFrom(Nics(), R"({"mtu":5})", "spe\x9c"); },
                                           1080, "Invalid JSON text: Invalid encoding in string."));
}

TEST(ConfigStoreObjectTest, ReadsFallBackToDefaults) {
  auto object = ObjectFrom(Nics(), R"({"desc":null})", "eth0");
  int mtu = 0;
  EXPECT_EQ(object->GetValue("mtu", &mtu), 2);
  EXPECT_EQ(mtu, 1500);
  std::vector<std::string> tags;
  EXPECT_EQ(object->GetValue("tags", &tags), 2);
  EXPECT_EQ(tags, std::vector<std::string>{"lan"});
  std::string desc = "keep";
  EXPECT_EQ(object->GetValue("desc", &desc), 0);
  EXPECT_EQ(desc, "keep");
  object->SetValue("mtu", 9000);
  EXPECT_EQ(object->GetValue("mtu", &mtu), 1);
  EXPECT_EQ(mtu, 9000);
  // A wrong type among the defaults is refused like one in the data.
  double d = 0;
  EXPECT_TRUE(Throws<InvalidTypeException>([&] { object->GetValue("tags", &d); }, 2000,
                                           "Invalid type specified for: tags"));
  // Writes never touch the defaults.
  EXPECT_EQ(JsonToString(*ImplOf(object).GetDefaults()->GetJsonValuePtr()),
            R"({"mtu":1500,"tags":["lan"],"opts":{"speed":100},"ips":{"prefix":24}})");
  EXPECT_EQ(object->GetData(), R"({"desc":null,"name":"eth0","mtu":9000})");
}

TEST(ConfigStoreObjectTest, NullOwnMemberFallsBackToDefault) {
  auto object = ObjectFrom(Nics(), R"({"mtu":null})", "eth0");
  int mtu = 0;
  EXPECT_EQ(object->GetValue("mtu", &mtu), 2);
  EXPECT_EQ(mtu, 1500);
}

TEST(ConfigStoreObjectTest, SubObjectsFindTheirDefaultsUnderTheirKey) {
  auto object = ObjectFrom(Nics(), R"({"opts":{},"ips":[{"addr":"a"}]})", "eth0");
  int value = 0;
  EXPECT_EQ(object->GetSubObject(SubObjectId("opts"))->GetValue("speed", &value), 2);
  EXPECT_EQ(value, 100);
  EXPECT_EQ(object->GetSubObject(SubObjectId("ips", "a"))->GetValue("prefix", &value), 2);
  EXPECT_EQ(value, 24);
  int mtu = 0;
  EXPECT_EQ(object->GetSubObject(SubObjectId("opts"))->GetValue("mtu", &mtu), 0);
}

TEST(ConfigStoreObjectTest, SubObjectConstructionSharesMapAndFindsDefaults) {
  auto map = CreateDocumentFromString(R"({"ips":"addr"})");
  auto defaults = CreateDocumentFromString(R"({"opts":{"speed":1},"mtu":5,"nul":null})");
  ConfigStoreObjectId root("nics", "g", "c", "n");
  auto make = [&](const std::string& key) {
    ConfigStoreObjectId id(key, "g", "c");
    return std::make_shared<ConfigStoreObjectImpl>(id, root, std::nullopt, nullptr, nullptr, "v",
                                                   "", "", 3, false, map, defaults);
  };
  auto opts = make("opts");
  EXPECT_EQ(opts->GetIdMap(), map);
  EXPECT_FALSE(opts->IsDerivedFromSchema());
  EXPECT_EQ(opts->GetRootId(), root);
  ASSERT_TRUE(opts->GetDefaults());
  EXPECT_EQ(JsonToString(*opts->GetDefaults()->GetJsonValuePtr()), R"({"speed":1})");
  EXPECT_EQ(opts->GetDefaults()->GetDocument(), defaults->GetDocument());
  EXPECT_EQ(make("mtu")->GetDefaults(), nullptr);
  EXPECT_EQ(make("nul")->GetDefaults(), nullptr);
  EXPECT_EQ(make("zzz")->GetDefaults(), nullptr);
  EXPECT_EQ(opts->GetData(), "{}");
}

TEST(ConfigStoreObjectTest, GetDataOmitsGeneratedIdsAndSerializedDataKeepsThem) {
  auto object = ObjectFrom(
      Nics(),
      R"({"name":"n","cs_generated_id":"g0","routes":[{"via":"x","cs_generated_id":"g1"},)"
      R"({"cs_generated_id":"g2"}],"opts":{"inner":{"cs_generated_id":"g3","x":1}}})",
      "n");
  EXPECT_EQ(object->GetData(),
            R"({"name":"n","routes":[{"via":"x"},{}],"opts":{"inner":{"x":1}}})");
  EXPECT_EQ(ImplOf(object).GetSerializedData(),
            R"({"name":"n","cs_generated_id":"g0","routes":[{"via":"x","cs_generated_id":"g1"},)"
            R"({"cs_generated_id":"g2"}],"opts":{"inner":{"cs_generated_id":"g3","x":1}}})");
  // Through the base handle the text is the stored one.
  EXPECT_EQ(static_cast<const StoreObject&>(*object).GetData(),
            ImplOf(object).GetSerializedData());
}

TEST(ConfigStoreObjectTest, SetValueExReplacesOnlyUnequalValues) {
  auto object = ObjectFrom(Dns(), R"({"a":{"x":[1,2]},"b":1,"c":"s"})");
  auto& impl = ImplOf(object);
  auto equal = CreateDocumentFromString(R"({"x":[1,2]})");
  impl.SetValueEx("a", equal->GetJsonValuePtr());
  EXPECT_EQ(object->GetData(), R"({"a":{"x":[1,2]},"b":1,"c":"s"})");
  auto other = CreateDocumentFromString(R"({"x":[1]})");
  impl.SetValueEx("a", other->GetJsonValuePtr());
  EXPECT_EQ(object->GetData(), R"({"c":"s","b":1,"a":{"x":[1]}})");
  auto fresh = CreateDocumentFromString("null");
  impl.SetValueEx("d", fresh->GetJsonValuePtr());
  EXPECT_EQ(object->GetData(), R"({"c":"s","b":1,"a":{"x":[1]},"d":null})");
  // Equal JSON null stays where it is.
  impl.SetValueEx("d", fresh->GetJsonValuePtr());
  EXPECT_EQ(object->GetData(), R"({"c":"s","b":1,"a":{"x":[1]},"d":null})");
  other->GetJsonValuePtr()->SetObject();
  EXPECT_EQ(object->GetData(), R"({"c":"s","b":1,"a":{"x":[1]},"d":null})");
}

TEST(ConfigStoreObjectTest, SetValueExRemovesEveryMemberOfTheName) {
  auto object = ObjectFrom(Dns(), R"({"a":null,"b":1,"a":2})");
  auto value = CreateDocumentFromString("3");
  ImplOf(object).SetValueEx("a", value->GetJsonValuePtr());
  EXPECT_EQ(object->GetData(), R"({"b":1,"a":3})");
}

TEST(ConfigStoreObjectTest, SetValueExWithAValueOfTheSameObject) {
  auto object = ObjectFrom(Dns(), R"({"a":{"deep":[1,2,3]},"b":2,"c":{"k":"v"}})");
  auto& impl = ImplOf(object);
  impl.SetValueEx("a", impl.GetValuePtr("c"));
  EXPECT_EQ(object->GetData(), R"({"c":{"k":"v"},"b":2,"a":{"k":"v"}})");
}

TEST(ConfigStoreObjectTest, SetValueExRefusals) {
  auto object = ObjectFrom(Dns(), "{}");
  auto value = CreateDocumentFromString("1");
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { ImplOf(object).SetValueEx("a", nullptr); },
                                               2000, "value cannot be null"));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { ImplOf(object).SetValueEx("", value->GetJsonValuePtr()); }, 2000,
      "key cannot be empty"));
}

TEST(ConfigStoreObjectTest, NonObjectDataRaisesJsonErrorWhereAMemberIsWritten) {
  EXPECT_TRUE(ThrowsJsonError([&] { ObjectFrom(Nics(), "[1]", "n"); }, "IsObject()"));
  auto dns = ObjectFrom(Dns(), "[1]");
  EXPECT_EQ(dns->GetData(), "[1]");
  EXPECT_TRUE(ThrowsJsonError([&] { dns->CreateSubObject(SubObjectId("opts")); }, "IsObject()"));
}

TEST(ConfigStoreObjectTest, MapEntryThatIsNotAStringRaisesJsonError) {
  auto map = CreateDocumentFromString(R"({"k":5})");
  ConfigStoreObjectId id("k", "g", "c", "i");
  EXPECT_TRUE(ThrowsJsonError(
      [&] {
        ConfigStoreObjectImpl(id, id, std::nullopt, nullptr, nullptr, "", "", "", -1, false, map,
                              nullptr);
      },
      "IsString()"));
}

TEST(ConfigStoreObjectTest, SchemaDerivedPiecesLogWithoutASchema) {
  CorvTest::LogCapture log;
  EXPECT_EQ(GetInstanceIdMapFromSchema(nullptr, "nics"), nullptr);
  EXPECT_TRUE(log.Has(0, "Schema object not found for key: nics"));
  EXPECT_EQ(GetDefaultsFromSchema(nullptr), nullptr);
  EXPECT_TRUE(log.Has(0, "Schema object is null."));
  EXPECT_EQ(GetDefaultsFromSchema(Dns())->GetJsonValuePtr()->MemberCount(), 1u);
}

// Every object of a key reads the key's map and defaults through the
// schema's own handles, not through copies made per object.
TEST(ConfigStoreObjectTest, ObjectsOfAKeyShareTheSchemasHandles) {
  auto schema = Nics();
  auto first = ObjectFrom(schema, "{}", "eth0");
  auto second = ObjectFrom(schema, "{}", "eth1");
  ASSERT_NE(schema->SharedDefaults(), nullptr);
  ASSERT_NE(schema->SharedInstanceIdMap(), nullptr);
  EXPECT_EQ(ImplOf(first).GetDefaults(), schema->SharedDefaults());
  EXPECT_EQ(ImplOf(second).GetDefaults(), schema->SharedDefaults());
  EXPECT_EQ(ImplOf(first).GetIdMap(), schema->SharedInstanceIdMap());
  EXPECT_EQ(ImplOf(second).GetIdMap(), schema->SharedInstanceIdMap());
}

class ConfigStoreObjectStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* previous = std::getenv("CORV_SCHEMASTORE_DB");
    if (previous != nullptr) previous_ = previous;
    setenv("CORV_SCHEMASTORE_DB", dir_.File("schema.db").c_str(), 1);
    std::string file = std::string(R"({"corv":{"net":{"nics":)") + CorvTest::NicsSchemaText() +
                       R"(,"dns":)" + CorvTest::DnsSchemaText() + "}}}";
    ASSERT_EQ(LoadSchemaFile(dir_.Write("schemas.json", file)), 2);
  }
  void TearDown() override {
    if (previous_.empty()) {
      unsetenv("CORV_SCHEMASTORE_DB");
    } else {
      setenv("CORV_SCHEMASTORE_DB", previous_.c_str(), 1);
    }
  }

  CorvTest::TempDir dir_;
  std::string previous_;
};

TEST_F(ConfigStoreObjectStoreTest, NewObjectAsksTheSchemaStore) {
  ConfigStoreObject nic(ConfigStoreObjectId("nics", "net", "corv", "eth0"));
  EXPECT_EQ(nic.GetData(), R"({"name":"eth0"})");
  EXPECT_EQ(nic.GetVersion(), "2.1");
  EXPECT_EQ(nic.GetRevision(), -1);
  int mtu = 0;
  EXPECT_EQ(nic.GetValue("mtu", &mtu), 2);
  EXPECT_EQ(mtu, 1500);
  ConfigStoreObject dns(ConfigStoreObjectId("dns", "net", "corv"));
  EXPECT_TRUE(dns.IsEmpty());
  EXPECT_EQ(ImplOf(dns).GetIdMapStr(), "{}");
}

TEST_F(ConfigStoreObjectStoreTest, UnknownKeyRaisesSchemaNotFound) {
  ConfigStoreObjectId id("nope", "net", "corv");
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { ConfigStoreObject object(id); }, 1037,
                                           Format(ErrorMessageForId(1037), id.toString().c_str())));
}
