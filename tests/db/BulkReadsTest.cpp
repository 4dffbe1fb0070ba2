// Bulk reads: a component or group as objects, raw store contents, raw
// defaults, and the rows shared with a SmartNIC.
#include <stdlib.h>

#include <algorithm>
#include <optional>
#include <string>

#include "RowsFixture.h"
#include "db/BulkReads.h"
#include "support/FailureDetails.h"

namespace CorvTest {
namespace {

using namespace CorvConfigStore;

// The row's text of layer; nothing when the row has none.
std::optional<std::string> LayerOf(const ConfigRow& row, Layer layer) {
  const std::string* text = row.Get(layer);
  return text != nullptr ? std::optional<std::string>(*text) : std::nullopt;
}

class BulkReadsTest : public RowsTest {
 protected:
  // Rows of (Name, Identifier, Value) of a row list, sorted.
  static std::vector<std::string> Rows(const ConfigRows& rows) {
    std::vector<std::string> out;
    for (const ConfigRow& row : rows)
      out.push_back(row.name + "/" + row.identifier + "=" +
                    LayerOf(row, Layer::kValue).value_or(""));
    std::sort(out.begin(), out.end());
    return out;
  }

  // The names of the schemas the store's connection has attached.
  std::string Attached() {
    std::string names;
    sqlite3_stmt* stmt = nullptr;
    sqlite3_prepare_v2(conn_->Handle(), "PRAGMA database_list", -1, &stmt, nullptr);
    while (sqlite3_step(stmt) == SQLITE_ROW)
      names += std::string(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 1))) + " ";
    sqlite3_finalize(stmt);
    return names;
  }

  // Sets an environment variable for the rest of the test.
  void SetEnv(const char* name, const std::string& value) { setenv(name, value.c_str(), 1); }

  void InsertContents() {
    InsertRow(Id("motd", "sys"), "Success, UserValue, AutoConfValue",
              R"(1, '{"text":"m"}', '{"x":1}')");
    InsertRow(Id("late", "sys"), "Success, UserValue, DesiredValue",
              R"(0, '{"text":"l"}', '{"text":"ld"}')");
    InsertRow(Id("dns", "net"), "Success, UserValue, DesiredValue",
              R"(1, '{"domain":"u"}', '{"domain":"d"}')");
    InsertRow(Id("iface", "net", "a"), "Success, VitalValue", R"(1, '{"name":"a","speed":1}')");
  }
};

TEST_F(BulkReadsTest, UserContentsOmitUnconfirmedRowsDesiredContentsIncludeThem) {
  InsertContents();
  EXPECT_EQ(Rows(GetUserConfigContents(conn_)),
            (std::vector<std::string>{R"(dns/={"domain":"u"})", R"(motd/={"text":"m"})"}));
  EXPECT_EQ(Rows(GetDesiredUserConfigContents(conn_)),
            (std::vector<std::string>{R"(dns/={"domain":"d"})", R"(late/={"text":"l"})"}));
  EXPECT_EQ(Rows(GetStoreContentsInternalST("UserValue", conn_, true)),
            (std::vector<std::string>{R"(dns/={"domain":"u"})", R"(late/={"text":"l"})",
                                      R"(motd/={"text":"m"})"}));
  EXPECT_EQ(Rows(GetStoreContentsInternalST("VitalValue", conn_, false)),
            (std::vector<std::string>{R"(iface/a={"name":"a","speed":1})"}));

  ConfigRows rows = GetUserConfigContents(conn_);
  for (const ConfigRow& row : rows) {
    if (row.name != "motd") continue;
    EXPECT_EQ(LayerOf(row, Layer::kAutoConf), R"({"x":1})");
    EXPECT_EQ(row.component, "corv");
    EXPECT_EQ(row.group, "sys");
    EXPECT_EQ(row.version, "1.0");
    EXPECT_EQ(row.revision, 1);
    EXPECT_FALSE(row.modifiedTime.empty());
  }
  ConfigRows desired = GetDesiredUserConfigContents(conn_);
  for (const ConfigRow& row : desired)
    EXPECT_FALSE(row.Has(Layer::kAutoConf)) << "NULL columns are absent";
}

TEST_F(BulkReadsTest, EmptyStoreGivesEmptyListsAndFailuresAreReported) {
  EXPECT_TRUE(GetUserConfigContents(conn_).empty());
  EXPECT_TRUE(GetDefaultUserConfigMapList(Id("dns", "net"), conn_).empty());
  ASSERT_EQ(Exec("DROP TABLE Config"), "");
  EXPECT_TRUE(Throws([&] { GetUserConfigContents(conn_); }, 2000, "Get store rows failed."));
  EXPECT_TRUE(Throws([&] { GetDesiredUserConfigContents(conn_); }, 2000, "Get store rows failed."));
  ASSERT_EQ(Exec("DROP TABLE DefaultConfig"), "");
  EXPECT_TRUE(Throws([&] { GetDefaultUserConfigMapList(Id("dns", "net"), conn_); }, 2000,
                     "Get store rows failed."));
}

TEST_F(BulkReadsTest, DefaultRowsOfAnObjectOrOneInstance) {
  ASSERT_EQ(Exec(R"(INSERT INTO DefaultConfig (Component, ConfigGroup, Name, Identifier, Version,
                    Value, VitalValue) VALUES
                    ('corv', 'net', 'iface', 'e0', '1.0', '{"mtu":1}', '{"speed":1}'),
                    ('corv', 'net', 'iface', 'e1', '1.1', '{"mtu":2}', NULL),
                    ('corv', 'lab', 'iface', 'e2', '1.0', '{"mtu":3}', NULL))"),
            "");
  ConfigRows all = GetDefaultUserConfigMapList(Id("iface", "net"), conn_);
  ASSERT_EQ(all.size(), 2u);
  ConfigRows one = GetDefaultUserConfigMapList(Id("iface", "net", "e1"), conn_);
  ASSERT_EQ(one.size(), 1u);
  const ConfigRow& row = one.front();
  EXPECT_EQ(LayerOf(row, Layer::kValue), R"({"mtu":2})");
  EXPECT_EQ(row.identifier, "e1");
  EXPECT_EQ(row.version, "1.1");
  // Only those three columns are read.
  EXPECT_TRUE(row.component.empty());
  EXPECT_FALSE(row.Has(Layer::kVital));
}

TEST_F(BulkReadsTest, TypeMapGroupsRowsByConfiguration) {
  InsertRow(Id("iface", "net", "a"), "Success, UserValue", R"(1, '{"mtu":1}')");
  InsertRow(Id("iface", "net", "b"), "Success, UserValue", R"(1, '{"mtu":2}')");
  InsertRow(Id("motd", "sys"), "Success, UserValue", R"(1, '{"text":"m"}')");
  ConfigTypeMap typeMap;
  typeMap["corv.sys.motd"]["stale"] = "{}";
  UpdateConfigTypeMap(typeMap, GetUserConfigContents(conn_));
  EXPECT_EQ(typeMap.size(), 2u);
  EXPECT_EQ(typeMap["corv.net.iface"],
            (std::map<std::string, std::string>{{"a", R"({"mtu":1})"}, {"b", R"({"mtu":2})"}}));
  EXPECT_EQ(typeMap["corv.sys.motd"],
            (std::map<std::string, std::string>{{"", R"({"text":"m"})"}, {"stale", "{}"}}));
  // Rows lacking a column are skipped.
  UpdateConfigTypeMap(typeMap, GetDefaultUserConfigMapList(Id("iface", "net"), conn_));
  EXPECT_EQ(typeMap.size(), 2u);
}

TEST_F(BulkReadsTest, BulkReadOfAComponentOrAGroup) {
  InsertRow(Id("motd", "sys"), "Success, UserValue", R"(1, '{"text":"m"}')");
  InsertRow(Id("late", "sys"), "Success, UserValue", R"(0, '{"text":"pending"}')");
  InsertRow(Id("dns", "net"), "Success, UserValue, VitalValue",
            R"(1, '{"domain":"u"}', '{"uptime":3}')");
  InsertRow(Id("iface", "net", "a"), "Success, UserValue", R"(1, '{"name":"a","mtu":1}')");
  InsertRow(Id("iface", "net", "b"), "Success, AutoConfValue", R"(1, '{"name":"b","mtu":2}')");
  InsertRow(ConfigStoreObjectId("motd", "sys", "other"), "Success, UserValue",
            R"(1, '{"text":"o"}')");

  BulkConfig all = GetBulkConfigInternal("corv", "", OperationContext());
  EXPECT_EQ(all.size(), 3u);  // dns, iface and motd; the pending row has no value
  SchemaPtr iface = Schema(Id("iface", "net")), dns = Schema(Id("dns", "net")),
            motd = Schema(Id("motd", "sys"));
  ASSERT_EQ(all[iface].size(), 2u);
  EXPECT_TRUE(
      JsonEqual(R"({"name":"b","mtu":2})", all[iface][1].GetConfigStoreObjectId().instanceId == "b"
                                               ? all[iface][1].GetData()
                                               : all[iface][0].GetData()));
  ASSERT_EQ(all[dns].size(), 1u);
  EXPECT_TRUE(JsonEqual(R"({"domain":"u","uptime":3})", all[dns][0].GetData()));
  ASSERT_EQ(all[motd].size(), 1u);
  EXPECT_TRUE(all[motd][0].GetConfigStoreObjectId() == Id("motd", "sys"));

  BulkConfig net = GetBulkConfigInternal("corv", "net", OperationContext());
  EXPECT_EQ(net.size(), 2u);
  EXPECT_EQ(net.count(motd), 0u);
  EXPECT_EQ(net[iface].size(), 2u);

  SetUpgradeCtx(1);
  BulkConfig sys = GetBulkConfigInternal("corv", "sys", OperationContext());
  ASSERT_EQ(sys.size(), 2u);
  EXPECT_TRUE(JsonEqual(R"({"text":"pending"})", sys[Schema(Id("late", "sys"))][0].GetData()));
}

TEST_F(BulkReadsTest, AStoreThatCannotBeOpenedSaysWhy) {
  std::string junk = env_.Dir().Write("junk.db", "not a database at all, only text");
  SetEnv("CORV_CONFIGSTORE_DB", junk);
  EXPECT_TRUE(ThrowsWithDetails([] { GetBulkConfigInternal("corv", "", OperationContext()); },
                                "Failed to connect to database",
                                {junk + ": file is not a database"}));
}

TEST_F(BulkReadsTest, BulkReadFailures) {
  ASSERT_EQ(Exec("DROP TABLE Config"), "");
  EXPECT_TRUE(Throws([] { GetBulkConfigInternal("corv", "", OperationContext()); }, 2000, "Get all keys failed"));
  EXPECT_TRUE(Throws([] { GetBulkConfigInternal("corv", "net", OperationContext()); }, 2000, "Get all keys failed"));
  SetEnv("CORV_CONFIGSTORE_DB", env_.Dir().File("missing.db"));
  EXPECT_TRUE(
      Throws([] { GetBulkConfigInternal("corv", "", OperationContext()); }, 2000, "Failed to connect to database"));
}

TEST_F(BulkReadsTest, SmartnicRowsTakeTheDesiredValueWhenThereIsOne) {
  InsertRow(Id("shared", "net"), "Success, UserValue, DesiredValue",
            R"(1, '{"mode":"u"}', '{"mode":"d"}')");
  InsertRow(Id("motd", "sys"), "Success, UserValue", R"(1, '{"text":"m"}')");
  ConfigRows rows = GetSmartnicConfiguration(conn_);
  ASSERT_EQ(rows.size(), 1u);
  const ConfigRow& row = rows.front();
  EXPECT_EQ(row.component, "corv");
  EXPECT_EQ(row.group, "net");
  EXPECT_EQ(row.name, "shared");
  EXPECT_EQ(row.identifier, "");
  EXPECT_EQ(LayerOf(row, Layer::kValue), R"({"mode":"d"})");
  EXPECT_EQ(Attached(), "main ");

  ASSERT_EQ(Exec("UPDATE Config SET DesiredValue = NULL"), "");
  rows = GetSmartnicConfiguration(conn_);
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(LayerOf(rows.front(), Layer::kValue), R"({"mode":"u"})");
  EXPECT_EQ(Attached(), "main ");
}

TEST_F(BulkReadsTest, SmartnicReadDetachesAlsoWhenTheReadFails) {
  ASSERT_EQ(Exec("DROP TABLE Config"), "");
  EXPECT_TRUE(Throws([&] { GetSmartnicConfiguration(conn_); }, 2000, "Get store rows failed."));
  EXPECT_EQ(Attached(), "main ");
}

TEST_F(BulkReadsTest, SmartnicReadWithoutASchemaStoreThrowsBeforeReading) {
  SetEnv("CORV_SCHEMASTORE_DB", env_.Dir().File("missing.db"));
  EXPECT_TRUE(
      Throws([&] { GetSmartnicConfiguration(conn_); }, 2000, "Failed to attach schema store"));
  EXPECT_EQ(Attached(), "main ");
}

TEST_F(BulkReadsTest, SmartnicDetachFailureIsReported) {
  // Inside a transaction that has read it, the schema store cannot be
  // detached.
  InsertRow(Id("shared", "net"), "Success, UserValue", R"(1, '{"mode":"u"}')");
  ASSERT_EQ(DBStore::BeginTransaction(conn_), DBStore::kSuccess);
  EXPECT_TRUE(
      Throws([&] { GetSmartnicConfiguration(conn_); }, 2000, "Failed to detach schema store"));
  EXPECT_EQ(DBStore::CancelTransaction(conn_), DBStore::kSuccess);
  EXPECT_EQ(DBStore::DetachSchemaStore(conn_), DBStore::kSuccess);
  EXPECT_EQ(Attached(), "main ");
}

}  // namespace
}  // namespace CorvTest
