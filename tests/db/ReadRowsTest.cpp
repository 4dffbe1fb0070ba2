// Reads of Config and DefaultConfig rows: which layer each read returns and
// how the layers merge.
#include <corvconfigstore/KeyValue.h>

#include <array>

#include "RowsFixture.h"
#include "db/MergeConfig.h"
#include "db/ReadRows.h"

namespace CorvTest {
namespace {

using namespace CorvConfigStore;

class ReadRowsTest : public RowsTest {
 protected:
  // A dns row whose four layers all set "domain", each with a member of its
  // own.
  void InsertLayeredRow(const char* success, const char* desired = "NULL") {
    InsertRow(Id("dns", "net"),
              "Success, UserValue, DesiredValue, AutoConfValue, VitalValue, CachedValue, "
              "CreationTime, ModifiedTime, Revision",
              std::string(success) + R"(, '{"domain":"user","servers":["u"]}', )" + desired +
                  R"(, '{"domain":"auto","options":{"ndots":2}}',
                  '{"domain":"vital","uptime":1}', '{"domain":"cached","lastSync":"c"}',
                  '2000-01-01 00:00:00', '2000-01-02 00:00:00', 3)");
  }

  std::shared_ptr<FilterSpecObject> Filter(const ConfigStoreObjectId& id,
                                           const std::string& json = "{}") {
    auto filter = std::make_shared<FilterSpecObject>(id);
    filter->SetData(json.c_str());
    return filter;
  }

  static std::vector<std::string> Ids(const ObjectList& objects) {
    std::vector<std::string> ids;
    for (const ObjectPtr& object : objects)
      ids.push_back(object->GetConfigStoreObjectId().instanceId);
    return ids;
  }
};

TEST_F(ReadRowsTest, GetInternalMergesVitalCachedAutoAndUserInThatOrder) {
  InsertLayeredRow("1");
  ConfigStoreObjectId id = Id("dns", "net");
  ObjectPtr object = GetInternal(id, conn_, Schema(id), OperationContext());
  ASSERT_TRUE(object);
  EXPECT_TRUE(JsonEqual(R"({"domain":"user","servers":["u"],"options":{"ndots":2},"uptime":1,
                           "lastSync":"c"})",
                        Json(object)));
  EXPECT_EQ(object->GetRevision(), 3);
  EXPECT_EQ(object->GetVersion(), "1.0");
  EXPECT_EQ(object->GetCreationTime(), "2000-01-01 00:00:00");
  EXPECT_EQ(object->GetModifiedTime(), "2000-01-02 00:00:00");
  EXPECT_TRUE(object->GetConfigStoreObjectId() == id);
}

TEST_F(ReadRowsTest, MergeConfigSkipsEmptyLayersAndLaterLayersWin) {
  ConfigStoreObjectId id = Id("motd", "sys");
  EXPECT_EQ(MergeConfig(nullptr, nullptr, nullptr, nullptr), nullptr);
  ObjectPtr a = Make(id, R"({"text":"a","x":1})");
  ObjectPtr c = Make(id, R"({"text":"c"})");
  ObjectPtr merged = MergeConfig(nullptr, a, nullptr, c);
  EXPECT_EQ(merged, a);
  EXPECT_TRUE(JsonEqual(R"({"text":"c","x":1})", Json(merged)));
  ObjectPtr base = Make(id, R"({"x":0})");
  merged = MergeConfig(base, Make(id, R"({"x":1})"), Make(id, R"({"x":2,"text":"b"})"),
                       Make(id, R"({"x":3})"));
  EXPECT_EQ(merged, base);
  EXPECT_TRUE(JsonEqual(R"({"x":3,"text":"b"})", Json(merged)));
}

// A row's layers merge exactly as their layer objects merge one over the
// other: same members, same order, whether a layer sets only plain members
// or also objects and lists of instances.
TEST_F(ReadRowsTest, RowLayersMergeAsTheirObjectsWould) {
  using CorvConfigStore::Layer;
  using Layers = std::array<const char*, 4>;  // vital, cached, auto, user
  const Layers rows[] = {
      {R"({"domain":"v","uptime":1})", R"({"domain":"c","lastSync":"x"})", R"({"domain":"a"})",
       R"({"domain":"u","servers":["u"]})"},
      // An equal value keeps its place; a changed one moves to the end.
      {R"({"a":1,"b":2,"c":3})", R"({"a":1,"b":5})", nullptr, R"({"c":3,"a":[1]})"},
      // Repeated names, and a name with a NUL byte.
      {R"({"x":1,"x":2})", nullptr, R"({"x":3,"y":1,"y":2})", R"({"n\u0000m":1,"y":0})"},
      // Nested objects and lists of instances, among plain members.
      {R"({"uptime":1,"hosts":[{"name":"h1","seen":3}]})", R"({"options":{"ndots":1}})",
       R"({"options":{"rotate":true},"domain":"a"})",
       R"({"hosts":[{"name":"h1","ip":"1.1.1.1"},{"name":"h2"}],"domain":"u"})"},
      {nullptr, nullptr, nullptr, R"({"domain":"only"})"},
      // Braces in strings, and a list of instances holding none.
      {R"({"domain":"v{x}","uptime":1})", nullptr, R"({"domain":"a","uptime":2})",
       R"({"hosts":[],"domain":"u{"})"},
      {R"({"uptime":1})", R"({"hosts":[]})", nullptr, R"({"domain":"u","lastSync":"}{"})"},
      {nullptr, R"({"servers":["c"]})", nullptr, R"({"servers":[]})"},
  };
  const ConfigStoreObjectId id = Id("dns", "net");
  for (const Layers& layers : rows) {
    CorvConfigStore::ConfigRow row;
    const Layer order[] = {Layer::kVital, Layer::kCached, Layer::kAutoConf, Layer::kUser};
    for (size_t i = 0; i < layers.size(); ++i)
      if (layers[i] != nullptr) row.SetLayer(order[i], layers[i]);
    ObjectPtr merged = MergeRowLayers(id, Schema(id), row, Layer::kAutoConf, Layer::kUser);
    ObjectPtr expected = MergeConfig(MakeLayerObject(id, Schema(id), row, Layer::kVital),
                                     MakeLayerObject(id, Schema(id), row, Layer::kCached),
                                     MakeLayerObject(id, Schema(id), row, Layer::kAutoConf),
                                     MakeLayerObject(id, Schema(id), row, Layer::kUser));
    ASSERT_TRUE(merged && expected);
    EXPECT_EQ(expected->GetData(), merged->GetData()) << layers[3];
  }
  EXPECT_EQ(MergeRowLayers(id, Schema(id), CorvConfigStore::ConfigRow(), Layer::kAutoConf,
                           Layer::kUser),
            nullptr);
}

// A thread matches a statement's column names once; a statement whose
// columns change with its table is matched again.
TEST_F(ReadRowsTest, RowsFollowTheColumnsOfTheirStatement) {
  ASSERT_EQ(Exec("CREATE TABLE Extra (Identifier TEXT, Revision INTEGER)"), "");
  ASSERT_EQ(Exec("INSERT INTO Extra VALUES ('a', 4)"), "");
  const DBStore::SqlStatement every("SELECT * FROM Extra");
  const DBStore::SqlStatement reversed("SELECT Revision, Identifier FROM Extra");
  for (const DBStore::SqlStatement* statement : {&every, &reversed, &every}) {
    CorvConfigStore::ConfigRow row = ReadRow(conn_, *statement, {}, "failed");
    EXPECT_EQ(row.identifier, "a") << statement->Text();
    EXPECT_EQ(row.revision, 4) << statement->Text();
    EXPECT_EQ(row.version, "") << statement->Text();
  }
  ASSERT_EQ(Exec("ALTER TABLE Extra ADD COLUMN Version TEXT"), "");
  ASSERT_EQ(Exec("UPDATE Extra SET Version = '2.0'"), "");
  CorvConfigStore::ConfigRow row = ReadRow(conn_, every, {}, "failed");
  EXPECT_EQ(row.identifier, "a");
  EXPECT_EQ(row.revision, 4);
  EXPECT_EQ(row.version, "2.0");
}

TEST_F(ReadRowsTest, CountersThatAreNoIntegersAreReadFromTheirText) {
  // Columns without a type keep what is put in them.
  ASSERT_EQ(Exec("CREATE TABLE Odd (Identifier, Revision, Success)"), "");
  ASSERT_EQ(Exec("INSERT INTO Odd VALUES ('int', 9, 1), ('two', 5, 2), ('text', '12abc', '1'), "
                 "('real', 3.7, 1.0), ('none', NULL, NULL)"),
            "");
  std::vector<std::string> seen;
  for (const ConfigRow& row :
       ReadRows(conn_, DBStore::SqlStatement("SELECT * FROM Odd ORDER BY rowid"), {}, "failed"))
    seen.push_back(row.identifier + ":" + std::to_string(row.revision) + ":" +
                   (row.confirmed ? "confirmed" : "not confirmed"));
  // A revision is the number its text starts with; only a text "1" is
  // confirmed, and the real 1.0 reads as "1.0".
  EXPECT_EQ(seen, (std::vector<std::string>{
                      "int:9:confirmed", "two:5:not confirmed", "text:12:confirmed",
                      "real:3:not confirmed",
                      "none:" + std::to_string(ConfigRow().revision) + ":not confirmed"}));
}

TEST_F(ReadRowsTest, UnconfirmedRowHasNoUserValueOutsideAnUpgrade) {
  InsertLayeredRow("0", R"('{"domain":"desired"}')");
  ConfigStoreObjectId id = Id("dns", "net");
  // The auto-configuration layer still wins over vital and cached.
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto","options":{"ndots":2},"uptime":1,"lastSync":"c"})",
                        Json(GetInternal(id, conn_, Schema(id), OperationContext()))));

  // With an upgrade in progress the desired value is the user value ...
  SetUpgradeCtx(1);
  EXPECT_TRUE(JsonEqual(R"({"domain":"desired","options":{"ndots":2},"uptime":1,"lastSync":"c"})",
                        Json(GetInternal(id, conn_, Schema(id), OperationContext()))));
  // ... and without one, the unconfirmed user value.
  ASSERT_EQ(Exec("UPDATE Config SET DesiredValue = NULL"), "");
  EXPECT_TRUE(JsonEqual(R"({"domain":"user","servers":["u"],"options":{"ndots":2},"uptime":1,
                           "lastSync":"c"})",
                        Json(GetInternal(id, conn_, Schema(id), OperationContext()))));
}

TEST_F(ReadRowsTest, UserOnlyRowWithSuccessZeroReadsEmpty) {
  ConfigStoreObjectId id = Id("motd", "sys");
  InsertRow(id, "Success, UserValue", R"(0, '{"text":"pending"}')");
  EXPECT_EQ(GetInternal(id, conn_, Schema(id), OperationContext()), nullptr);
  EXPECT_EQ(GetInternal(Id("motd", "sys", "nothere"), conn_, Schema(id), OperationContext()), nullptr);
}

TEST_F(ReadRowsTest, VitalOnlyRowReadsAsItsVitalFields) {
  ConfigStoreObjectId id = Id("dns", "net");
  InsertRow(id, "VitalValue", R"('{"uptime":42}')");
  EXPECT_EQ(Json(GetInternal(id, conn_, Schema(id), OperationContext())), R"({"uptime":42})");
}

TEST_F(ReadRowsTest, InstanceListsMergeInstanceByInstance) {
  ConfigStoreObjectId id = Id("dns", "net");
  InsertRow(id, "Success, UserValue, CachedValue",
            R"(1, '{"hosts":[{"name":"a","ip":"1"},{"name":"b","ip":"2"}]}',
                '{"hosts":[{"name":"b","seen":7}]}')");
  EXPECT_TRUE(JsonEqual(R"({"hosts":[{"name":"b","seen":7,"ip":"2"},{"name":"a","ip":"1"}]})",
                        Json(GetInternal(id, conn_, Schema(id), OperationContext()))));
}

TEST_F(ReadRowsTest, ColumnThatIsNotJsonRaisesTheJsonError) {
  ConfigStoreObjectId id = Id("motd", "sys");
  InsertRow(id, "Success, UserValue", "1, 'not json'");
  try {
    GetInternal(id, conn_, Schema(id), OperationContext());
    FAIL() << "did not throw";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(e.GetErrorCode(), 1082);
    EXPECT_EQ(std::string(e.what()).rfind("JSON error:", 0), 0u) << e.what();
  }
}

TEST_F(ReadRowsTest, ReadsReportTheirFailure) {
  ASSERT_EQ(Exec("DROP TABLE Config"), "");
  ConfigStoreObjectId id = Id("iface", "net", "a");
  const std::string get = "Get failed: comp corv grp net key iface id a";
  const std::string instances = "Read Instances failed for: comp corv grp net key iface";
  EXPECT_TRUE(Throws([&] { GetInternal(id, conn_, Schema(id), OperationContext()); }, 2000, get));
  EXPECT_TRUE(
      Throws([&] { GetConfigByBootAndContext(id, Schema(id), EXTERNAL, OperationContext(), conn_); }, 2000, get));
  EXPECT_TRUE(Throws([&] { GetCurrentConfigInternal(id, conn_, Schema(id)); }, 2000, get));
  EXPECT_TRUE(
      Throws([&] { GetDesiredInternal(id, conn_, Schema(id), FLAG_USER_ONLY); }, 2000, get));
  EXPECT_TRUE(
      Throws([&] { GetConfigInstancesInternal(Filter(Id("iface", "net")), conn_, Schema(id), OperationContext()); },
             2000, instances));
  EXPECT_TRUE(
      Throws([&] { GetCurrentConfigInstancesInternal(Id("iface", "net"), conn_, Schema(id)); },
             2000, instances));
  EXPECT_TRUE(Throws(
      [&] {
        GetDesiredUserConfigInstancesInternal(Id("iface", "net"), conn_, Schema(id),
                                              FLAG_WITH_VITAL_CACHED);
      },
      2000, instances));

  ASSERT_EQ(Exec("DROP TABLE DefaultConfig"), "");
  EXPECT_TRUE(Throws([&] { GetDefaultConfigInternal(id, conn_, Schema(id)); }, 2000, get));
  EXPECT_TRUE(
      Throws([&] { GetDefaultUserConfigInstancesInternal(Id("iface", "net"), conn_, Schema(id)); },
             2000, instances));
}

TEST_F(ReadRowsTest, ContextReadChoosesTheLayerOfTheCaller) {
  InsertLayeredRow("0", R"('{"domain":"desired"}')");
  ConfigStoreObjectId id = Id("dns", "net");
  // An internal caller sees the auto-configuration layer whatever Success is.
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto","options":{"ndots":2},"uptime":1,"lastSync":"c"})",
                        Json(GetConfigByBootAndContext(id, Schema(id), INTERNAL, OperationContext(), conn_))));
  // An external caller: no confirmed user value, only vital and cached.
  EXPECT_TRUE(JsonEqual(R"({"domain":"cached","uptime":1,"lastSync":"c"})",
                        Json(GetConfigByBootAndContext(id, Schema(id), EXTERNAL, OperationContext(), conn_))));
  // With an upgrade in progress the desired value counts.
  SetUpgradeCtx(2);
  EXPECT_TRUE(JsonEqual(R"({"domain":"desired","uptime":1,"lastSync":"c"})",
                        Json(GetConfigByBootAndContext(id, Schema(id), EXTERNAL, OperationContext(), conn_))));
}

TEST_F(ReadRowsTest, ContextReadDuringBootTakesOnlyConfirmedUserValues) {
  InsertLayeredRow("1", R"('{"domain":"desired"}')");
  ConfigStoreObjectId id = Id("dns", "net");
  SetKeyValue("IS_BOOT", "true");
  ASSERT_TRUE(IsBoot());
  EXPECT_TRUE(JsonEqual(R"({"domain":"user","servers":["u"],"uptime":1,"lastSync":"c"})",
                        Json(GetConfigByBootAndContext(id, Schema(id), EXTERNAL, OperationContext(), conn_))));
  ASSERT_EQ(Exec("UPDATE Config SET Success = 0"), "");
  EXPECT_TRUE(JsonEqual(R"({"domain":"cached","uptime":1,"lastSync":"c"})",
                        Json(GetConfigByBootAndContext(id, Schema(id), EXTERNAL, OperationContext(), conn_))));
  // An upgrade overrides the boot phase: the run-time rule applies.
  SetUpgradeCtx(1);
  EXPECT_TRUE(JsonEqual(R"({"domain":"desired","uptime":1,"lastSync":"c"})",
                        Json(GetConfigByBootAndContext(id, Schema(id), EXTERNAL, OperationContext(), conn_))));
}

TEST_F(ReadRowsTest, ContextReadReportsAnUnreadableBootSwitch) {
  InsertLayeredRow("1");
  ConfigStoreObjectId id = Id("dns", "net");
  ASSERT_EQ(Exec("DROP TABLE KeyValue"), "");
  EXPECT_TRUE(Throws([&] { GetConfigByBootAndContext(id, Schema(id), INTERNAL, OperationContext(), conn_); }, 2000,
                     "Failed to read value from database."));
}

// An update reads both views of its row at once. Where the row holds the
// same layers for both, they are one object; where it does not, each is
// built as its own read would build it, in a document of its own.
TEST_F(ReadRowsTest, UpdateViewsAreOneObjectOnlyWhenTheyMergeTheSameLayers) {
  const ConfigStoreObjectId id = Id("dns", "net");
  auto views = [&](USERDATA_CONTEXT context) {
    return GetForUpdateInternal(id, Schema(id), context, OperationContext(), conn_);
  };
  auto expectApart = [&](const StoredObject& stored, USERDATA_CONTEXT context) {
    ASSERT_TRUE(stored.current && stored.callerView);
    EXPECT_NE(stored.current, stored.callerView);
    EXPECT_NE(&ImplOf(stored.current).GetDoc()->GetAllocator(),
              &ImplOf(stored.callerView).GetDoc()->GetAllocator());
    EXPECT_EQ(GetInternal(id, conn_, Schema(id), OperationContext())->GetData(),
              stored.current->GetData());
    EXPECT_EQ(GetConfigByBootAndContext(id, Schema(id), context, OperationContext(), conn_)
                  ->GetData(),
              stored.callerView->GetData());
  };
  // Every layer: each view leaves out a layer the other merges.
  InsertLayeredRow("1");
  expectApart(views(EXTERNAL), EXTERNAL);
  expectApart(views(INTERNAL), INTERNAL);

  // No auto-configuration layer: an external caller's view is the current
  // object; an internal caller's view still lacks the user layer.
  ASSERT_EQ(Exec("UPDATE Config SET AutoConfValue = NULL"), "");
  StoredObject external = views(EXTERNAL);
  ASSERT_TRUE(external.current);
  EXPECT_EQ(external.current, external.callerView);
  EXPECT_TRUE(JsonEqual(R"({"domain":"user","servers":["u"],"uptime":1,"lastSync":"c"})",
                        Json(external.current)));
  expectApart(views(INTERNAL), INTERNAL);

  // No user layer either: both callers see vital and cached alone.
  ASSERT_EQ(Exec("UPDATE Config SET UserValue = NULL"), "");
  for (USERDATA_CONTEXT context : {EXTERNAL, INTERNAL}) {
    StoredObject stored = views(context);
    ASSERT_TRUE(stored.current);
    EXPECT_EQ(stored.current, stored.callerView);
    EXPECT_TRUE(JsonEqual(R"({"domain":"cached","uptime":1,"lastSync":"c"})",
                          Json(stored.current)));
  }

  // During boot an external caller reads the confirmed user layer only:
  // unconfirmed, the row's user layer is in neither view.
  ASSERT_EQ(Exec(R"(UPDATE Config SET UserValue = '{"domain":"u"}', Success = 0)"), "");
  SetKeyValue("IS_BOOT", "true");
  StoredObject booting = views(EXTERNAL);
  EXPECT_EQ(booting.current, booting.callerView);
  EXPECT_TRUE(JsonEqual(R"({"domain":"cached","uptime":1,"lastSync":"c"})",
                        Json(booting.current)));
}

TEST_F(ReadRowsTest, InstancesAreReadEachAsGetInternalThenFiltered) {
  InsertRow(Id("iface", "net", "eth0"), "Success, UserValue, VitalValue",
            R"(1, '{"name":"eth0","mtu":1500}', '{"name":"eth0","speed":10}')");
  InsertRow(Id("iface", "net", "eth1"), "Success, UserValue", R"(1, '{"name":"eth1","mtu":9000}')");
  InsertRow(Id("iface", "net", "eth2"), "Success, UserValue", R"(0, '{"name":"eth2","mtu":1500}')");
  InsertRow(Id("iface", "lab", "eth3"), "Success, UserValue", R"(1, '{"name":"eth3","mtu":1500}')");
  SchemaPtr schema = Schema(Id("iface", "net"));

  ObjectList all = GetConfigInstancesInternal(Filter(Id("iface", "net")), conn_, schema, OperationContext());
  EXPECT_EQ(Ids(all), (std::vector<std::string>{"eth0", "eth1"}));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500,"speed":10})", Json(all[0])));

  ObjectList matching =
      GetConfigInstancesInternal(Filter(Id("iface", "net"), R"({"mtu":1500})"), conn_, schema, OperationContext());
  EXPECT_EQ(Ids(matching), (std::vector<std::string>{"eth0"}));

  ObjectList one = GetConfigInstancesInternal(Filter(Id("iface", "net", "eth1")), conn_, schema, OperationContext());
  EXPECT_EQ(Ids(one), (std::vector<std::string>{"eth1"}));
  EXPECT_TRUE(
      GetConfigInstancesInternal(Filter(Id("iface", "net", "eth1"), R"({"mtu":1})"), conn_, schema, OperationContext())
          .empty());

  // The unconfirmed instance appears with an upgrade in progress.
  SetUpgradeCtx(1);
  EXPECT_EQ(Ids(GetConfigInstancesInternal(Filter(Id("iface", "net")), conn_, schema, OperationContext())),
            (std::vector<std::string>{"eth0", "eth1", "eth2"}));
}

// An instance of one stored layer keeps its text until first used; one of
// several layers is merged, so parsed, at once, and so is every instance a
// visit hands over.
TEST_F(ReadRowsTest, InstancesOfOneLayerAreParsedOnFirstUse) {
  InsertRow(Id("iface", "net", "eth0"), "Success, UserValue, VitalValue",
            R"(1, '{"name":"eth0","mtu":1500}', '{"name":"eth0","speed":10}')");
  InsertRow(Id("iface", "net", "eth1"), "Success, UserValue, Revision",
            R"(1, '{"name":"eth1","mtu":9000}', 4)");
  SchemaPtr schema = Schema(Id("iface", "net"));
  auto deferred = [](const ObjectPtr& object) { return ImplOf(object).GetDoc()->IsDeferred(); };

  ObjectList all =
      GetConfigInstancesInternal(Filter(Id("iface", "net")), conn_, schema, OperationContext());
  ASSERT_EQ(Ids(all), (std::vector<std::string>{"eth0", "eth1"}));
  EXPECT_FALSE(deferred(all[0]));
  ASSERT_TRUE(deferred(all[1]));
  EXPECT_EQ(all[1]->GetRevision(), 4);
  EXPECT_EQ(all[1]->GetVersion(), "1.0");
  // Its text is copied, not parsed, to be handed out.
  EXPECT_EQ(all[1]->GetData(), R"({"name":"eth1","mtu":9000})");
  EXPECT_TRUE(deferred(all[1]));
  int mtu = 0;
  all[1]->GetValue("mtu", &mtu);
  EXPECT_EQ(mtu, 9000);
  EXPECT_FALSE(deferred(all[1]));
  EXPECT_EQ(Json(all[1]), R"({"name":"eth1","mtu":9000})");

  // A filter on the value reads it.
  ObjectList matching = GetConfigInstancesInternal(Filter(Id("iface", "net"), R"({"mtu":9000})"),
                                                   conn_, schema, OperationContext());
  ASSERT_EQ(Ids(matching), (std::vector<std::string>{"eth1"}));
  EXPECT_FALSE(deferred(matching[0]));

  std::vector<bool> visited;
  ForEachConfigInstance(Filter(Id("iface", "net")), conn_, schema, OperationContext(),
                        [&](const ObjectPtr& object) { visited.push_back(deferred(object)); });
  EXPECT_EQ(visited, (std::vector<bool>{false, false}));
}

// An instance read with its parse deferred reads as one parsed at once,
// whatever its stored value holds of its instance id: one that does not
// hold its own id first is parsed at once, to be given it.
TEST_F(ReadRowsTest, DeferredInstancesReadAsParsedOnes) {
  struct Case {
    const char* value;  // "X" stands for the instance id
    bool deferred;
  };
  const std::vector<Case> cases = {
      {R"({"name":"X","mtu":1})", true},
      {R"( {"mtu" : 1 , "name" : "X" } )", true},
      {R"({"name":"X","name":"other"})", true},
      {R"({"name":"X","cs_generated_id":"g","l":[{"cs_generated_id":1,"v":2.50}]})", true},
      {R"({"mtu":1})", false},
      {R"({"name":"other","mtu":1})", false},
      {R"({"name":null,"mtu":1})", false},
      {R"({"name":7})", false},
      {R"({"name":"other","name":"X"})", false},
      {R"({"sub":{"name":"X"}})", false},
      {R"({})", false},
  };
  SchemaPtr schema = Schema(Id("iface", "net"));
  for (size_t i = 0; i < cases.size(); ++i) {
    const std::string instance = "if" + std::to_string(i);
    std::string value = cases[i].value;
    for (size_t at = value.find('X'); at != std::string::npos; at = value.find('X'))
      value.replace(at, 1, instance);
    ASSERT_EQ(Exec("DELETE FROM Config"), "");
    InsertRow(Id("iface", "net", instance.c_str()), "Success, UserValue", "1, '" + value + "'");
    ObjectList read =
        GetConfigInstancesInternal(Filter(Id("iface", "net")), conn_, schema, OperationContext());
    ASSERT_EQ(read.size(), 1u) << value;
    EXPECT_EQ(ImplOf(read[0]).GetDoc()->IsDeferred(), cases[i].deferred) << value;
    ObjectPtr parsed =
        GetInternal(Id("iface", "net", instance.c_str()), conn_, schema, OperationContext());
    ASSERT_FALSE(ImplOf(parsed).GetDoc()->IsDeferred());
    EXPECT_EQ(read[0]->GetData(), parsed->GetData()) << value;
    EXPECT_EQ(Json(read[0]), Json(parsed)) << value;
  }
}

// Stored text that is not one JSON object is refused when the instances are
// read, as a read of the one instance refuses it.
TEST_F(ReadRowsTest, DeferredInstanceThatIsNotAnObjectIsRefusedAtRead) {
  SchemaPtr schema = Schema(Id("iface", "net"));
  for (const char* value : {"not json", "[1]", R"({"name":"e"} x)", R"({"name":"e")"}) {
    ASSERT_EQ(Exec("DELETE FROM Config"), "");
    InsertRow(Id("iface", "net", "e"), "Success, UserValue",
              std::string("1, '") + value + "'");
    std::string single;
    try {
      GetInternal(Id("iface", "net", "e"), conn_, schema, OperationContext());
    } catch (const ConfigStoreException& e) {
      single = e.what();
    }
    ASSERT_FALSE(single.empty()) << value;
    EXPECT_TRUE(Throws(
        [&] {
          GetConfigInstancesInternal(Filter(Id("iface", "net")), conn_, schema,
                                     OperationContext());
        },
        1082, single))
        << value;
  }
  EXPECT_TRUE(Throws(
      [&] {
        GetConfigInstancesInternal(Filter(Id("iface", "net")), conn_, schema, OperationContext());
      },
      1082,
      "JSON error: column UserValue of comp corv grp net key iface id e does not hold a JSON "
      "object: Missing a comma or '}' after an object member. at offset 11"));
}

TEST_F(ReadRowsTest, CurrentConfigIsAutoConfigurationWithConfirmedUserValue) {
  ConfigStoreObjectId id = Id("dns", "net");
  InsertLayeredRow("1");
  EXPECT_TRUE(JsonEqual(R"({"domain":"user","servers":["u"],"options":{"ndots":2}})",
                        Json(GetCurrentConfigInternal(id, conn_, Schema(id)))));
  ASSERT_EQ(Exec("UPDATE Config SET Success = 0"), "");
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto","options":{"ndots":2}})",
                        Json(GetCurrentConfigInternal(id, conn_, Schema(id)))));
  ASSERT_EQ(Exec("UPDATE Config SET AutoConfValue = NULL"), "");
  EXPECT_EQ(GetCurrentConfigInternal(id, conn_, Schema(id)), nullptr);
}

TEST_F(ReadRowsTest, CurrentConfigOfEveryInstance) {
  InsertRow(
      Id("iface", "net", "a"), "Success, UserValue, AutoConfValue, VitalValue",
      R"(1, '{"name":"a","mtu":1}', '{"name":"a","mtu":2,"speed":0}', '{"name":"a","speed":5}')");
  InsertRow(Id("iface", "net", "b"), "Success, AutoConfValue", R"(0, '{"name":"b","mtu":3}')");
  InsertRow(Id("iface", "net", "c"), "Success, VitalValue", R"(1, '{"name":"c","speed":5}')");
  ObjectList objects =
      GetCurrentConfigInstancesInternal(Id("iface", "net"), conn_, Schema(Id("iface", "net")));
  EXPECT_EQ(Ids(objects), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(JsonEqual(R"({"name":"a","mtu":1,"speed":0})", Json(objects[0])));
  EXPECT_TRUE(JsonEqual(R"({"name":"b","mtu":3})", Json(objects[1])));
}

TEST_F(ReadRowsTest, EachRowOfAReadStartsEmpty) {
  // The rows of one read share their storage; nothing of a row may show
  // through in the next.
  InsertRow(Id("iface", "net", "a"),
            "Success, UserValue, VitalValue, CachedValue, DesiredValue, CreationTime, "
            "ModifiedTime, Revision",
            R"(1, '{"name":"a"}', '{"speed":5}', '{"up":true}', '{"mtu":9}', 't1', 't2', 7)");
  InsertRow(Id("iface", "net", "b"), "Success, AutoConfValue, CreationTime, ModifiedTime",
            R"(0, '{"name":"b"}', NULL, NULL)");
  ASSERT_EQ("", Exec("UPDATE Config SET Version = CASE Identifier WHEN 'a' THEN '2.0' END"));
  ConfigRows seen;
  ForEachInstanceRow(conn_, GET_INSTANCES, Id("iface", "net"),
                     [&seen](const ConfigRow& row) { seen.push_back(row); });
  // Each row as "identifier|version|confirmed|revision|creation time" and
  // then every layer it holds, with its text.
  auto summary = [](const ConfigRow& row) {
    std::string text = row.identifier + "|" + row.version + "|" + (row.confirmed ? "1" : "0") +
                       "|" + std::to_string(row.revision) + "|" + row.creationTime;
    const std::pair<Layer, const char*> layers[] = {
        {Layer::kUser, "user"},       {Layer::kDesired, "desired"}, {Layer::kAutoConf, "auto"},
        {Layer::kVital, "vital"},     {Layer::kCached, "cached"},   {Layer::kValue, "value"}};
    for (const auto& layer : layers)
      if (row.Has(layer.first))
        text += std::string(" ") + layer.second + "=" + *row.Get(layer.first);
    return text;
  };
  ASSERT_EQ(2u, seen.size());
  EXPECT_EQ(R"(a|2.0|1|7|t1 user={"name":"a"} desired={"mtu":9} vital={"speed":5})"
            R"( cached={"up":true})",
            summary(seen[0]));
  EXPECT_EQ(R"(b||0|1| auto={"name":"b"})", summary(seen[1]));
}

TEST_F(ReadRowsTest, DesiredViewFollowsTheSuccessFlag) {
  ConfigStoreObjectId id = Id("dns", "net");
  InsertLayeredRow("0", R"('{"domain":"desired"}')");
  // Success 0: the unconfirmed user value is the desired one.
  EXPECT_TRUE(JsonEqual(R"({"domain":"user","servers":["u"]})",
                        Json(GetDesiredInternal(id, conn_, Schema(id), FLAG_USER_ONLY))));
  EXPECT_TRUE(JsonEqual(R"({"domain":"user","servers":["u"],"uptime":1,"lastSync":"c"})",
                        Json(GetDesiredInternal(id, conn_, Schema(id), FLAG_WITH_VITAL_CACHED))));
  // Success 1: the DesiredValue column.
  ASSERT_EQ(Exec("UPDATE Config SET Success = 1"), "");
  EXPECT_EQ(Json(GetDesiredInternal(id, conn_, Schema(id), FLAG_USER_ONLY)),
            R"({"domain":"desired"})");
  // Success 1 and no DesiredValue: no desired user value; vital and cached
  // still read with the flag.
  ASSERT_EQ(Exec("UPDATE Config SET DesiredValue = NULL"), "");
  EXPECT_EQ(GetDesiredInternal(id, conn_, Schema(id), FLAG_USER_ONLY), nullptr);
  EXPECT_TRUE(JsonEqual(R"({"domain":"cached","uptime":1,"lastSync":"c"})",
                        Json(GetDesiredInternal(id, conn_, Schema(id), FLAG_WITH_VITAL_CACHED))));
  ObjectPtr object = GetDesiredInternal(id, conn_, Schema(id), FLAG_WITH_VITAL_CACHED);
  EXPECT_EQ(object->GetRevision(), 3);
}

TEST_F(ReadRowsTest, DesiredViewOfEveryInstance) {
  InsertRow(Id("iface", "net", "a"), "Success, UserValue", R"(0, '{"name":"a","mtu":1}')");
  InsertRow(Id("iface", "net", "b"), "Success, UserValue, DesiredValue",
            R"(1, '{"name":"b","mtu":2}', '{"name":"b","mtu":3}')");
  InsertRow(Id("iface", "net", "c"), "Success, UserValue, VitalValue",
            R"(1, '{"name":"c","mtu":4}', '{"name":"c","speed":9}')");
  ConfigStoreObjectId id = Id("iface", "net");
  ObjectList user = GetDesiredUserConfigInstancesInternal(id, conn_, Schema(id), FLAG_USER_ONLY);
  EXPECT_EQ(Ids(user), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(JsonEqual(R"({"name":"a","mtu":1})", Json(user[0])));
  EXPECT_TRUE(JsonEqual(R"({"name":"b","mtu":3})", Json(user[1])));
  ObjectList layers =
      GetDesiredUserConfigInstancesInternal(id, conn_, Schema(id), FLAG_WITH_VITAL_CACHED);
  EXPECT_EQ(Ids(layers), (std::vector<std::string>{"a", "b", "c"}));
  EXPECT_TRUE(JsonEqual(R"({"name":"c","speed":9})", Json(layers[2])));
}

TEST_F(ReadRowsTest, DefaultsMergeTheirLayersAndMissingOnesAreLogged) {
  ASSERT_EQ(Exec(R"(INSERT INTO DefaultConfig (Component, ConfigGroup, Name, Identifier, Version,
                    Value, VitalValue, CachedValue) VALUES
                    ('corv', 'net', 'dns', '', '2.1', '{"domain":"def"}', '{"uptime":0}', '{"lastSync":"never"}'),
                    ('corv', 'net', 'iface', 'e0', '1.0', '{"name":"e0","mtu":1500}', NULL, NULL),
                    ('corv', 'net', 'iface', 'e1', '1.0', '{"name":"e1","mtu":9000}', '{"name":"e1","speed":1}', NULL))"),
            "");
  ConfigStoreObjectId dns = Id("dns", "net");
  ObjectPtr object = GetDefaultConfigInternal(dns, conn_, Schema(dns));
  EXPECT_TRUE(JsonEqual(R"({"domain":"def","uptime":0,"lastSync":"never"})", Json(object)));
  EXPECT_EQ(object->GetVersion(), "2.1");
  EXPECT_EQ(object->GetRevision(), -1);
  EXPECT_EQ(Json(GetDefaultUserConfigInternal(dns, conn_, Schema(dns))), R"({"domain":"def"})");

  LogCapture log(0);
  ConfigStoreObjectId motd = Id("motd", "sys");
  EXPECT_EQ(GetDefaultConfigInternal(motd, conn_, Schema(motd)), nullptr);
  EXPECT_TRUE(log.Has(0, "Object not found: comp corv grp sys key motd"));
  log.Clear();
  EXPECT_EQ(GetDefaultUserConfigInternal(motd, conn_, Schema(motd)), nullptr);
  EXPECT_TRUE(log.Has(0, "Object not found: comp corv grp sys key motd"));

  ConfigStoreObjectId iface = Id("iface", "net");
  ObjectList all = GetDefaultConfigInstancesInternal(Filter(iface), conn_, Schema(iface));
  EXPECT_EQ(Ids(all), (std::vector<std::string>{"e0", "e1"}));
  EXPECT_TRUE(JsonEqual(R"({"name":"e1","mtu":9000,"speed":1})", Json(all[1])));
  EXPECT_EQ(Ids(GetDefaultConfigInstancesInternal(Filter(iface, R"({"mtu":9000})"), conn_,
                                                  Schema(iface))),
            (std::vector<std::string>{"e1"}));
  EXPECT_EQ(Ids(GetDefaultConfigInstancesInternal(Filter(Id("iface", "net", "e0")), conn_,
                                                  Schema(iface))),
            (std::vector<std::string>{"e0"}));
  ObjectList user = GetDefaultUserConfigInstancesInternal(iface, conn_, Schema(iface));
  EXPECT_EQ(Ids(user), (std::vector<std::string>{"e0", "e1"}));
  EXPECT_TRUE(JsonEqual(R"({"name":"e1","mtu":9000})", Json(user[1])));
}

}  // namespace
}  // namespace CorvTest
