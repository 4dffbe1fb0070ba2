// Writers and deletes of Config rows, inspected directly in the database.
#include <map>

#include "RowsFixture.h"
#include "db/ReadRows.h"
#include "db/WriteRows.h"

namespace CorvTest {
namespace {

using namespace CorvConfigStore;

class WriteRowsTest : public RowsTest {};

TEST_F(WriteRowsTest, FirstAndSecondUserWriteRevisionAndCreationTime) {
  ConfigStoreObjectId id = Id("motd", "sys");
  WriteUserConfigInstances({Make(id, R"({"text":"one"})")}, conn_, true, OperationContext());
  EXPECT_EQ(Column(id, "Revision"), "1");
  EXPECT_EQ(Column(id, "Success"), "1");
  EXPECT_EQ(Column(id, "UserValue"), R"({"text":"one"})");
  EXPECT_EQ(Column(id, "Version"), "1.0");
  // Written now, in DATETIME(CURRENT_TIMESTAMP) form.
  EXPECT_EQ(Query("SELECT abs(strftime('%s','now') - strftime('%s', CreationTime)) < 60 FROM "
                  "Config WHERE Name = 'motd'"),
            "1");
  EXPECT_EQ(Column(id, "CreationTime").size(), 19u);

  // An older creation time is kept by the second write.
  ASSERT_EQ(Exec("UPDATE Config SET CreationTime = '2001-02-03 04:05:06' WHERE Name = 'motd'"), "");
  WriteUserConfigInstances({Make(id, R"({"text":"two"})")}, conn_, true, OperationContext());
  EXPECT_EQ(Column(id, "Revision"), "2");
  EXPECT_EQ(Column(id, "CreationTime"), "2001-02-03 04:05:06");
  EXPECT_EQ(Column(id, "UserValue"), R"({"text":"two"})");
}

TEST_F(WriteRowsTest, UserWriteClearsDesiredValueAndKeepsOtherLayers) {
  ConfigStoreObjectId id = Id("motd", "sys");
  InsertRow(
      id,
      "Success, UserValue, DesiredValue, AutoConfValue, VitalValue, CachedValue, "
      "CreationTime, Revision",
      R"(0, '{"text":"u"}', '{"text":"d"}', '{"x":1}', '{"v":1}', '{"c":1}', '2000-01-01 00:00:00', 7)");
  WriteUserConfigInstances({Make(id, R"({"text":"new"})")}, conn_, true, OperationContext());
  EXPECT_EQ(Column(id, "DesiredValue"), "<null>");
  EXPECT_EQ(Column(id, "UserValue"), R"({"text":"new"})");
  EXPECT_EQ(Column(id, "Success"), "1");
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"x":1})");
  EXPECT_EQ(Column(id, "VitalValue"), R"({"v":1})");
  EXPECT_EQ(Column(id, "CachedValue"), R"({"c":1})");
  EXPECT_EQ(Column(id, "CreationTime"), "2000-01-01 00:00:00");
  EXPECT_EQ(Column(id, "Revision"), "8");
}

TEST_F(WriteRowsTest, UserWriteSuccessFollowsFlagOnlyInUpgradeContextTwo) {
  ConfigStoreObjectId id = Id("motd", "sys");
  WriteUserConfigInstances({Make(id, R"({"text":"a"})")}, conn_, false, OperationContext());
  EXPECT_EQ(Column(id, "Success"), "1");

  SetUpgradeCtx(1);
  WriteUserConfigInstances({Make(id, R"({"text":"b"})")}, conn_, false, OperationContext());
  EXPECT_EQ(Column(id, "Success"), "1");

  SetUpgradeCtx(2);
  WriteUserConfigInstances({Make(id, R"({"text":"c"})")}, conn_, false, OperationContext());
  EXPECT_EQ(Column(id, "Success"), "0");
  WriteUserConfigInstances({Make(id, R"({"text":"d"})")}, conn_, true, OperationContext());
  EXPECT_EQ(Column(id, "Success"), "1");

  // Written unconfirmed, the row reads as empty at run time.
  WriteUserConfigInstances({Make(id, R"({"text":"e"})")}, conn_, false, OperationContext());
  SetUpgradeCtx(0);
  EXPECT_EQ(GetInternal(id, conn_, Schema(id), OperationContext()), nullptr);
}

TEST_F(WriteRowsTest, NullHandlesAreLoggedAndSkipped) {
  LogCapture log(1);
  ConfigStoreObjectId id = Id("motd", "sys");
  WriteUserConfigInstances({nullptr, Make(id, R"({"text":"a"})")}, conn_, true, OperationContext());
  EXPECT_EQ(Column(id, "UserValue"), R"({"text":"a"})");
  EXPECT_TRUE(log.Contains("[1041] WriteUserConfigInstances: "));
  WriteVitalConfigInstances({nullptr}, conn_);
  EXPECT_TRUE(log.Contains("[1041] WriteVitalConfigInstances: "));
  SetByContextInternal(nullptr, Schema(id), UPDATE_USER_EXTERNAL, conn_);
  EXPECT_TRUE(log.Contains("[1041] SetByContextInternal: "));
  UpdateByContextInternal(nullptr, Schema(id), UPDATE_USER_EXTERNAL, conn_);
  SetInstancesInternal({nullptr}, EXTERNAL, OperationContext(), conn_);
  EXPECT_TRUE(GetConfigInstancesInternal(nullptr, conn_, Schema(id), OperationContext()).empty());
  EXPECT_TRUE(log.Contains("[1041] GetConfigInstancesInternal: "));
  EXPECT_EQ(Count("Config"), 1);
  EXPECT_EQ(Column(id, "Revision"), "1");
}

TEST_F(WriteRowsTest, SplitWithoutSchemaIsRefused) {
  ConfigStoreObjectId id = Id("motd", "sys");
  try {
    SplitLayers(Make(id, R"({"text":"a"})"), nullptr);
    FAIL() << "did not throw";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
  }
}

TEST_F(WriteRowsTest, EmptyObjectIsWrittenAsNull) {
  ConfigStoreObjectId id = Id("motd", "sys");
  WriteUserConfigInstances({Make(id, "{}")}, conn_, true, OperationContext());
  EXPECT_EQ(Column(id, "UserValue"), "<null>");
  EXPECT_EQ(Column(id, "Revision"), "1");
  WriteCachedConfigInstances({Make(id, "{}")}, conn_);
  EXPECT_EQ(Column(id, "CachedValue"), "<null>");
}

TEST_F(WriteRowsTest, LayerWritesOfNewRowsLeaveEveryOtherLayerNull) {
  struct Case {
    void (*write)(const ObjectList&, const Connection&);
    const char* column;
  } cases[] = {{WriteCachedConfigInstances, "CachedValue"},
               {WriteVitalConfigInstances, "VitalValue"},
               {WriteAutoConfConfigInstances, "AutoConfValue"}};
  const char* layers[] = {"UserValue", "DesiredValue", "AutoConfValue", "VitalValue",
                          "CachedValue"};
  int n = 0;
  for (const Case& c : cases) {
    std::string instance = "if" + std::to_string(n++);
    ConfigStoreObjectId id = Id("iface", "net", instance.c_str());
    c.write({Make(id, R"({"mtu":1500})")}, conn_);
    EXPECT_EQ(Column(id, "Success"), "1") << c.column;
    EXPECT_EQ(Column(id, "Revision"), "1") << c.column;
    EXPECT_EQ(Column(id, "Version"), "1.0") << c.column;
    for (const char* layer : layers) {
      if (std::string(layer) == c.column)
        EXPECT_TRUE(JsonEqual(R"({"name":")" + instance + R"(","mtu":1500})", Column(id, layer)));
      else
        EXPECT_EQ(Column(id, layer), "<null>") << c.column << " " << layer;
    }
  }
}

TEST_F(WriteRowsTest, LayerWritesKeepEveryOtherColumnOfAnExistingRow) {
  ConfigStoreObjectId id = Id("motd", "sys");
  InsertRow(
      id,
      "Success, UserValue, DesiredValue, AutoConfValue, VitalValue, CachedValue, "
      "CreationTime, Revision",
      R"(0, '{"text":"u"}', '{"text":"d"}', '{"x":1}', '{"x":2}', '{"x":3}', '2000-01-01 00:00:00', 4)");
  WriteCachedConfigInstances({Make(id, R"({"x":30})")}, conn_);
  WriteVitalConfigInstances({Make(id, R"({"x":20})")}, conn_);
  WriteAutoConfConfigInstances({Make(id, R"({"x":10})")}, conn_);
  EXPECT_EQ(Column(id, "Success"), "0");
  EXPECT_EQ(Column(id, "UserValue"), R"({"text":"u"})");
  EXPECT_EQ(Column(id, "DesiredValue"), R"({"text":"d"})");
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"x":10})");
  EXPECT_EQ(Column(id, "VitalValue"), R"({"x":20})");
  EXPECT_EQ(Column(id, "CachedValue"), R"({"x":30})");
  EXPECT_EQ(Column(id, "CreationTime"), "2000-01-01 00:00:00");
  EXPECT_EQ(Column(id, "Revision"), "7");
}

TEST_F(WriteRowsTest, WritersStopAtTheFirstFailure) {
  BreakWrites("Config", "INSERT");
  ObjectList objects = {Make(Id("iface", "net", "a"), R"({"mtu":1})")};
  EXPECT_TRUE(Throws([&] { WriteUserConfigInstances(objects, conn_, true, OperationContext()); }, 2000,
                     "Write user data failed"));
  EXPECT_TRUE(Throws([&] { WriteCachedConfigInstances(objects, conn_); }, 2000,
                     "Write config instances failed"));
  EXPECT_TRUE(Throws([&] { WriteVitalConfigInstances(objects, conn_); }, 2000,
                     "Write config instances failed"));
  EXPECT_TRUE(Throws([&] { WriteAutoConfConfigInstances(objects, conn_); }, 2000,
                     "Write config instances failed"));
  RowLayersById columns;
  columns[Id("motd", "sys")].user = R"({"text":"a"})";
  EXPECT_TRUE(
      Throws([&] { WriteCompleteConfigInstances(columns, OperationContext(), conn_); }, 2000, "WriteComplete failed"));
  EXPECT_EQ(Count("Config"), 0);
}

TEST_F(WriteRowsTest, WriteCompleteWritesEveryLayerAndClearsDesiredValue) {
  ConfigStoreObjectId id = Id("dns", "net");
  InsertRow(id, "Success, UserValue, DesiredValue, CreationTime, Revision",
            R"(0, '{"domain":"old"}', '{"domain":"d"}', '2000-01-01 00:00:00', 3)");
  RowLayersById columns;
  columns[id].user = R"({"domain":"a"})";
  columns[id].autoConf = R"({"domain":"b"})";
  columns[id].vital = R"({"uptime":1})";
  WriteCompleteConfigInstances(columns, OperationContext(), conn_);
  EXPECT_EQ(Column(id, "UserValue"), R"({"domain":"a"})");
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"domain":"b"})");
  EXPECT_EQ(Column(id, "VitalValue"), R"({"uptime":1})");
  EXPECT_EQ(Column(id, "CachedValue"), "<null>");
  EXPECT_EQ(Column(id, "DesiredValue"), "<null>");
  EXPECT_EQ(Column(id, "Success"), "1");
  EXPECT_EQ(Column(id, "Revision"), "4");
  EXPECT_EQ(Column(id, "CreationTime"), "2000-01-01 00:00:00");
  // Without a version in the map the schema's is written.
  EXPECT_EQ(Column(id, "Version"), "2.1");
}

TEST_F(WriteRowsTest, WriteCompleteNeedsASchema) {
  RowLayersById columns;
  columns[ConfigStoreObjectId("nokey", "sys", "corv")].user = "{}";
  try {
    WriteCompleteConfigInstances(columns, OperationContext(), conn_);
    FAIL() << "did not throw";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
  }
}

TEST_F(WriteRowsTest, SetInternalNeedsASchemaInTheCache) {
  ConfigStoreObjectId id("nokey", "sys", "corv");
  auto object = std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, CreateDocumentFromString(R"({"a":1})"), nullptr, "1.0", "", "", -1,
      false, nullptr, nullptr));
  try {
    SetInternal(object, EXTERNAL, OperationContext(), conn_);
    FAIL() << "did not throw";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1037);
  }
  EXPECT_EQ(Count("Config"), 0);
}

TEST_F(WriteRowsTest, WriteCompleteInUpgradeContextTwoKeepsAnUnconfirmedFlagForLaterEntries) {
  ConfigStoreObjectId late = Id("late", "sys");  // not applied during upgrades
  ConfigStoreObjectId motd = Id("motd", "sys");
  // The rows of ids, added in that order.
  auto rows = [&](const std::vector<ConfigStoreObjectId>& ids) {
    RowLayersById added;
    for (const ConfigStoreObjectId& id : ids)
      added[id].user = R"({"text":")" + id.key + R"("})";
    return added;
  };

  WriteCompleteConfigInstances(rows({late, motd}), OperationContext(), conn_);
  EXPECT_EQ(Column(late, "Success"), "1");
  EXPECT_EQ(Column(motd, "Success"), "1");

  // Rows are written in the order they were added: motd after late.
  SetUpgradeCtx(2);
  WriteCompleteConfigInstances(rows({late, motd}), OperationContext(), conn_);
  EXPECT_EQ(Column(late, "Success"), "0");
  EXPECT_EQ(Column(motd, "Success"), "0");

  // Added before late, motd is written first and stays confirmed.
  WriteCompleteConfigInstances(rows({motd, late}), OperationContext(), conn_);
  EXPECT_EQ(Column(late, "Success"), "0");
  EXPECT_EQ(Column(motd, "Success"), "1");

  // Alone, an entry whose schema applies during upgrades stays confirmed.
  WriteCompleteConfigInstances(rows({motd}), OperationContext(), conn_);
  EXPECT_EQ(Column(motd, "Success"), "1");
}

TEST_F(WriteRowsTest, SetInternalSplitsTheObjectIntoItsLayers) {
  ConfigStoreObjectId id = Id("dns", "net");
  ObjectPtr object = Make(id, R"({"domain":"x.org","uptime":5,"lastSync":"now",
      "hosts":[{"name":"a","ip":"1.1.1.1","seen":3},{"name":"b","ip":"2.2.2.2"}],
      "hw":{"serial":"SN1"},"options":{"rotate":true}})");
  SetInternal(object, EXTERNAL, OperationContext(), conn_);
  EXPECT_TRUE(JsonEqual(
      R"({"domain":"x.org","hosts":[{"name":"a","ip":"1.1.1.1"},{"name":"b","ip":"2.2.2.2"}],
          "options":{"rotate":true}})",
      Column(id, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":5,"hw":{"serial":"SN1"}})", Column(id, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"lastSync":"now","hosts":[{"name":"a","seen":3}]})",
                        Column(id, "CachedValue")));
  EXPECT_EQ(Column(id, "AutoConfValue"), "<null>");
  EXPECT_EQ(Column(id, "Version"), "2.1");

  // An internal caller's user part goes to the auto-configuration layer.
  SetInternal(Make(id, R"({"domain":"auto.org","uptime":6})"), INTERNAL, OperationContext(), conn_);
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"domain":"auto.org"})");
  EXPECT_EQ(Column(id, "UserValue"), "<null>");
  EXPECT_EQ(Column(id, "VitalValue"), R"({"uptime":6})");
  EXPECT_EQ(Column(id, "CachedValue"), "<null>");
  EXPECT_EQ(Column(id, "Revision"), "2");
}

TEST_F(WriteRowsTest, SetInstancesInternalWritesEveryInstance) {
  ObjectList objects = {Make(Id("iface", "net", "eth0"), R"({"mtu":1500,"speed":100})"),
                        Make(Id("iface", "net", "eth1"), R"({"carrier":true})")};
  SetInstancesInternal(objects, EXTERNAL, OperationContext(), conn_);
  ConfigStoreObjectId eth0 = Id("iface", "net", "eth0"), eth1 = Id("iface", "net", "eth1");
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500})", Column(eth0, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","speed":100})", Column(eth0, "VitalValue")));
  EXPECT_EQ(Column(eth0, "CachedValue"), "<null>");
  // The user layer of an instance always holds its id; the vital layer
  // would hold nothing else and is left out.
  EXPECT_EQ(Column(eth1, "UserValue"), R"({"name":"eth1"})");
  EXPECT_EQ(Column(eth1, "VitalValue"), "<null>");
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","carrier":true})", Column(eth1, "CachedValue")));
}

TEST_F(WriteRowsTest, SplitOfAWhollyVitalKeyHasNoUserLayer) {
  ConfigStoreObjectId id = Id("hwinfo", "sys");
  LayerParts parts = SplitLayers(Make(id, R"({"serial":"X"})"), Schema(id));
  EXPECT_EQ(parts.user, std::nullopt);
  EXPECT_EQ(parts.vital, R"({"serial":"X"})");
  EXPECT_EQ(parts.cached, std::nullopt);
}

TEST_F(WriteRowsTest, SplitOfAnInstanceKeepsItsIdInEveryLayerItHas) {
  ConfigStoreObjectId id = Id("iface", "net", "eth0");
  LayerParts parts =
      SplitLayers(Make(id, R"({"mtu":9000,"speed":10,"carrier":false})"), Schema(id));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":9000})", parts.user.value_or("")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","speed":10})", parts.vital.value_or("")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","carrier":false})", parts.cached.value_or("")));
}

TEST_F(WriteRowsTest, SplitRefusesMembersTheSchemaDoesNotKnow) {
  ConfigStoreObjectId id = Id("motd", "sys");
  EXPECT_TRUE(Throws([&] { SplitLayers(Make(id, R"({"text":"a","bogus":1})"), Schema(id)); }, 2000,
                     "Invalid field in schema: bogus"));
  ConfigStoreObjectId dns = Id("dns", "net");
  EXPECT_TRUE(Throws([&] { SplitLayers(Make(dns, R"({"domain":["a"]})"), Schema(dns)); }, 2000,
                     "Schema error:Expected array type"));
}

// A key whose schema tags no layer takes its value whole as the user layer
// without the walk that copies it; the walk of a schema with a tag the
// value does not use gives the same layers and the same faults.
TEST_F(WriteRowsTest, SplitOfAKeyWithoutLayerTagsGivesTheWholeValueAsUserLayer) {
  const std::string properties =
      R"("name": {"type": "string"}, "opts": {"type": "object", "properties": {"metric":)"
      R"( {"type": "integer"}}}, "tags": {"type": "array", "items": {"type": "string"}},)"
      R"( "table": {"type": "array", "items": {"type": "object", "properties": {"dest":)"
      R"( {"type": "string", "instanceId": true}, "via": {"type": "string"}, "opts":)"
      R"( {"type": "object", "properties": {"metric": {"type": "integer"}}}}}})";
  SchemaPtr plain = CorvSchemaStore::MakeSchemaObject(
      "corv", "sys", "routes", R"({"type": "object", "properties": {)" + properties + "}}");
  SchemaPtr tagged = CorvSchemaStore::MakeSchemaObject(
      "corv", "sys", "routes",
      R"({"type": "object", "properties": {)" + properties +
          R"(, "unused": {"type": "integer", "cached": true}}})");
  ASSERT_FALSE(plain->MayTagLayers());
  ASSERT_TRUE(tagged->MayTagLayers());
  const ConfigStoreObjectId id = Id("routes", "sys");
  auto object = [&id](const std::string& json) {
    return std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
        id, id, std::nullopt, CreateDocumentFromString(json), nullptr, "", "", "", -1, false,
        nullptr, nullptr));
  };
  const std::string value =
      R"({"name":"r","opts":{},"tags":[],"table":[{"dest":"a","via":"b","opts":{"metric":2}},)"
      R"({"dest":"c"}]})";
  for (const SchemaPtr& schema : {plain, tagged}) {
    LayerParts parts = SplitLayers(object(value), schema);
    EXPECT_EQ(parts.user, value);
    EXPECT_EQ(parts.vital, std::nullopt);
    EXPECT_EQ(parts.cached, std::nullopt);
    EXPECT_EQ(SplitLayers(object("{}"), schema).user, std::nullopt);
    EXPECT_TRUE(Throws([&] { SplitLayers(object(R"({"table":[{"dest":"a","x":1}]})"), schema); },
                       2000, "Invalid field in schema: x"));
    EXPECT_TRUE(Throws([&] { SplitLayers(object(R"({"name":["a"]})"), schema); }, 2000,
                       "Schema error:Expected array type"));
  }
}

// The vital layer keeps "hw" whole and the cached layer looks inside it, so
// the fault inside "hw" is met first in a walk of the value; the user
// layer's walk skips "hw" and meets the unknown "zzz" first, and that one
// is reported.
TEST_F(WriteRowsTest, OfSeveralUnknownMembersTheUserLayersFirstIsReported) {
  ConfigStoreObjectId dns = Id("dns", "net");
  EXPECT_TRUE(Throws(
      [&] { SplitLayers(Make(dns, R"({"hw":{"bogus":1},"zzz":2})"), Schema(dns)); }, 2000,
      "Invalid field in schema: zzz"));
  EXPECT_TRUE(Throws([&] { SplitLayers(Make(dns, R"({"hw":{"bogus":1}})"), Schema(dns)); }, 2000,
                     "Invalid field in schema: bogus"));
}

// The split reads the schema as it finds it: the first of repeated
// property names counts; a property schema that is not an object, or a
// layer tag that is not a boolean, fails as a JSON look-up fails (1082)
// when a value reaches it, and not before; a list whose items are not
// objects is one plain value.
TEST_F(WriteRowsTest, SplitReadsOddSchemasAsTheyStand) {
  SchemaPtr schema = CorvSchemaStore::MakeSchemaObject(
      "corv", "sys", "odd",
      R"({"type": "object", "properties": {"n": {"type": "integer"},)"
      R"( "twice": {"type": "integer", "cached": true}, "twice": {"type": "integer"},)"
      R"( "bare": 5, "loose": {"type": "integer", "vital": "yes"}, "v": {"type": "integer", "vital": true},)"
      R"( "rows": {"type": "array", "items": {"type": "string", "properties": {}}}}})");
  const ConfigStoreObjectId id = Id("odd", "sys");
  auto split = [&](const std::string& json) {
    return SplitLayers(std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
                           id, id, std::nullopt, CreateDocumentFromString(json), nullptr, "", "",
                           "", -1, false, nullptr, nullptr)),
                       schema);
  };
  auto failsAsLookUp = [&](const std::string& json, const char* precondition) {
    try {
      split(json);
    } catch (const ConfigStoreException& e) {
      const std::string message = e.what();
      return e.GetErrorCode() == 1082 && message.rfind("JSON error:", 0) == 0 &&
             message.find(precondition) != std::string::npos;
    }
    return false;
  };
  LayerParts parts = split(R"({"n":1,"twice":2,"rows":[{"a":1}]})");
  EXPECT_TRUE(JsonEqual(R"({"n":1,"rows":[{"a":1}]})", parts.user.value_or("")));
  EXPECT_EQ(parts.vital, std::nullopt);
  EXPECT_EQ(parts.cached, R"({"twice":2})");
  EXPECT_TRUE(failsAsLookUp(R"({"bare":1})", "IsObject()"));
  // A tag is there whatever it holds: the member goes to the vital layer,
  // and only when it stands alone there must the tag say whether it stays.
  EXPECT_TRUE(failsAsLookUp(R"({"n":1,"loose":2})", "IsBool()"));
  parts = split(R"({"n":1,"loose":2,"v":3})");
  EXPECT_EQ(parts.user, R"({"n":1})");
  EXPECT_EQ(parts.vital, R"({"loose":2,"v":3})");
}

TEST_F(WriteRowsTest, SetByContextChoosesTheStatementByLayerSelector) {
  ConfigStoreObjectId id = Id("dns", "net");
  const std::string row =
      R"(0, '{"domain":"u"}', '{"domain":"d"}', '{"domain":"a"}', '2000-01-01 00:00:00', 5)";
  const std::string columns =
      "Success, UserValue, DesiredValue, AutoConfValue, CreationTime, Revision";
  ObjectPtr object = Make(id, R"({"domain":"new","uptime":9,"lastSync":"t"})");

  // User data of an external caller: the column default of Success (1),
  // DesiredValue NULL, auto-configuration kept.
  InsertRow(id, columns, row);
  SetByContextInternal(object, Schema(id), UPDATE_USER_EXTERNAL, conn_);
  EXPECT_EQ(Column(id, "Success"), "1");
  EXPECT_EQ(Column(id, "UserValue"), R"({"domain":"new"})");
  EXPECT_EQ(Column(id, "VitalValue"), R"({"uptime":9})");
  EXPECT_EQ(Column(id, "CachedValue"), R"({"lastSync":"t"})");
  EXPECT_EQ(Column(id, "DesiredValue"), "<null>");
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"domain":"a"})");
  EXPECT_EQ(Column(id, "Revision"), "6");
  EXPECT_EQ(Column(id, "CreationTime"), "2000-01-01 00:00:00");
  EXPECT_EQ(Column(id, "Version"), "2.1");

  // An internal caller: the auto-configuration layer; user value and
  // Success carried over.
  ASSERT_EQ(Exec("DELETE FROM Config"), "");
  InsertRow(id, columns, row);
  SetByContextInternal(object, Schema(id), UPDATE_INTERNAL, conn_);
  EXPECT_EQ(Column(id, "Success"), "0");
  EXPECT_EQ(Column(id, "UserValue"), R"({"domain":"u"})");
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"domain":"new"})");
  EXPECT_EQ(Column(id, "VitalValue"), R"({"uptime":9})");
  EXPECT_EQ(Column(id, "DesiredValue"), "<null>");

  // Non-user data of an external caller: Success and auto-configuration
  // carried over, DesiredValue cleared.
  ASSERT_EQ(Exec("DELETE FROM Config"), "");
  InsertRow(id, columns, row);
  SetByContextInternal(object, Schema(id), UPDATE_NON_USER_EXTERNAL, conn_);
  EXPECT_EQ(Column(id, "Success"), "0");
  EXPECT_EQ(Column(id, "UserValue"), R"({"domain":"new"})");
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"domain":"a"})");
  EXPECT_EQ(Column(id, "DesiredValue"), "<null>");

  // A new row by an internal caller is confirmed.
  ASSERT_EQ(Exec("DELETE FROM Config"), "");
  SetByContextInternal(object, Schema(id), UPDATE_INTERNAL, conn_);
  EXPECT_EQ(Column(id, "Success"), "1");
  EXPECT_EQ(Column(id, "UserValue"), "<null>");
  EXPECT_EQ(Column(id, "Revision"), "1");
}

TEST_F(WriteRowsTest, UpdateByContextChoosesTheStatementByLayerSelector) {
  ConfigStoreObjectId id = Id("dns", "net");
  InsertRow(id, "Success, UserValue, DesiredValue, AutoConfValue, Revision",
            R"(1, '{"domain":"u"}', '{"domain":"d"}', '{"domain":"a"}', 5)");
  // Any selector but 0 and 2 keeps the pending value.
  UpdateByContextInternal(Make(id, R"({"domain":"n1","uptime":1})"), Schema(id),
                          UPDATE_NON_USER_EXTERNAL, conn_);
  EXPECT_EQ(Column(id, "UserValue"), R"({"domain":"n1"})");
  EXPECT_EQ(Column(id, "VitalValue"), R"({"uptime":1})");
  EXPECT_EQ(Column(id, "CachedValue"), "<null>");
  EXPECT_EQ(Column(id, "DesiredValue"), R"({"domain":"d"})");
  EXPECT_EQ(Column(id, "Revision"), "5");

  UpdateByContextInternal(Make(id, R"({"domain":"n2","lastSync":"s"})"), Schema(id),
                          UPDATE_INTERNAL, conn_);
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"domain":"n2"})");
  EXPECT_EQ(Column(id, "UserValue"), R"({"domain":"n1"})");
  EXPECT_EQ(Column(id, "DesiredValue"), R"({"domain":"d"})");
  EXPECT_EQ(Column(id, "VitalValue"), "<null>");
  EXPECT_EQ(Column(id, "CachedValue"), R"({"lastSync":"s"})");

  UpdateByContextInternal(Make(id, R"({"domain":"n3"})"), Schema(id), UPDATE_USER_EXTERNAL, conn_);
  EXPECT_EQ(Column(id, "UserValue"), R"({"domain":"n3"})");
  EXPECT_EQ(Column(id, "DesiredValue"), "<null>");
  EXPECT_EQ(Column(id, "AutoConfValue"), R"({"domain":"n2"})");
  EXPECT_EQ(Column(id, "Revision"), "5");
}

TEST_F(WriteRowsTest, ContextWritesReportTheirFailure) {
  ConfigStoreObjectId id = Id("dns", "net");
  ObjectPtr object = Make(id, R"({"domain":"x"})");
  BreakWrites("Config", "INSERT");
  BreakWrites("Config", "UPDATE");
  const std::string message =
      "Database call to update configuration by context failed for: comp corv grp net key dns";
  for (UPDATE_CONTEXT context : {UPDATE_USER_EXTERNAL, UPDATE_NON_USER_EXTERNAL, UPDATE_INTERNAL}) {
    EXPECT_TRUE(
        Throws([&] { SetByContextInternal(object, Schema(id), context, conn_); }, 2000, message));
  }
  ASSERT_EQ(Exec("DROP TRIGGER break_Config_0"), "");
  InsertRow(id, "UserValue", "'{}'");
  for (UPDATE_CONTEXT context : {UPDATE_USER_EXTERNAL, UPDATE_NON_USER_EXTERNAL, UPDATE_INTERNAL}) {
    EXPECT_TRUE(Throws([&] { UpdateByContextInternal(object, Schema(id), context, conn_); }, 2000,
                       message));
  }
}

TEST_F(WriteRowsTest, DeletesRemoveRowsOrOneLayer) {
  ConfigStoreObjectId a = Id("iface", "net", "a"), b = Id("iface", "net", "b");
  const std::string columns = "UserValue, VitalValue, CachedValue, AutoConfValue, Revision";
  const std::string values = R"('{"mtu":1}', '{"speed":2}', '{"carrier":true}', '{"mtu":3}', 4)";
  InsertRow(a, columns, values);
  InsertRow(b, columns, values);
  InsertRow(Id("iface", "lab", "a"), columns, values);

  DeleteVitalConfigInstances(Id("iface", "net"), conn_);
  EXPECT_EQ(Column(a, "VitalValue"), "<null>");
  EXPECT_EQ(Column(b, "VitalValue"), "<null>");
  EXPECT_EQ(Column(a, "UserValue"), R"({"mtu":1})");
  DeleteCachedConfigInstances(Id("iface", "net"), conn_);
  EXPECT_EQ(Column(b, "CachedValue"), "<null>");
  DeleteAutoConfConfigInstances(Id("iface", "net"), conn_);
  EXPECT_EQ(Column(b, "AutoConfValue"), "<null>");
  DeleteUserConfigInstances(Id("iface", "net"), conn_);
  // The rows stay, all layers NULL, revisions unchanged; they read as empty.
  EXPECT_EQ(Count("Config",
                  "ConfigGroup = 'net' AND UserValue IS NULL AND VitalValue IS NULL "
                  "AND CachedValue IS NULL AND AutoConfValue IS NULL AND Revision = 4"),
            2);
  EXPECT_EQ(GetInternal(a, conn_, Schema(a), OperationContext()), nullptr);
  // Another group is not touched.
  EXPECT_EQ(Column(Id("iface", "lab", "a"), "VitalValue"), R"({"speed":2})");

  DeleteInternal(a, conn_);
  EXPECT_EQ(Column(a, "Revision"), "<no row>");
  EXPECT_EQ(Column(b, "Revision"), "4");
  DeleteInstancesInternal(Id("iface", "net"), conn_);
  EXPECT_EQ(Count("Config", "ConfigGroup = 'net'"), 0);
  EXPECT_EQ(Count("Config"), 1);
}

TEST_F(WriteRowsTest, DeletingTheUserLayerOfASingletonLeavesARowThatReadsEmpty) {
  ConfigStoreObjectId id = Id("motd", "sys");
  WriteUserConfigInstances({Make(id, R"({"text":"a"})")}, conn_, true, OperationContext());
  DeleteUserConfigInstances(Id("motd", "sys"), conn_);
  EXPECT_EQ(Column(id, "Revision"), "1");
  EXPECT_EQ(GetInternal(id, conn_, Schema(id), OperationContext()), nullptr);
}

TEST_F(WriteRowsTest, DeletesReportTheirFailure) {
  ConfigStoreObjectId id = Id("iface", "net", "a");
  InsertRow(id, "UserValue", "'{}'");
  BreakWrites("Config", "DELETE");
  BreakWrites("Config", "UPDATE");
  EXPECT_TRUE(Throws([&] { DeleteInternal(id, conn_); }, 2000,
                     "Delete failed: comp corv grp net key iface id a"));
  EXPECT_TRUE(Throws([&] { DeleteInstancesInternal(Id("iface", "net"), conn_); }, 2000,
                     "Delete instances failed: comp corv grp net key iface"));
  for (auto remove : {DeleteUserConfigInstances, DeleteVitalConfigInstances,
                      DeleteCachedConfigInstances, DeleteAutoConfConfigInstances}) {
    EXPECT_TRUE(Throws([&] { remove(Id("iface", "net"), conn_); }, 2000,
                       "Failed to Delete in SetConfigInstancesInternal"));
  }
  EXPECT_EQ(Count("Config"), 1);
}

}  // namespace
}  // namespace CorvTest
