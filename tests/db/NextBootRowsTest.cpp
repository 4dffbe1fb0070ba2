// Next-boot rows: stores, deletions, clears and reads behind the remediation
// guard, and the boot-mode marker.
#include <corvconfigstore/KeyValue.h>

#include <algorithm>

#include "RowsFixture.h"
#include "db/NextBootRows.h"

namespace CorvTest {
namespace {

using namespace CorvConfigStore;

const char kRemediating[] =
    "Corv host is being remediated by Plexa, cannot set next-boot configuration.";

class NextBootRowsTest : public RowsTest {
 protected:
  std::string BootMode() { return GetKeyValue("BOOT_MODE"); }

  std::shared_ptr<FilterSpecObject> Filter(const ConfigStoreObjectId& id,
                                           const std::string& json = "{}") {
    auto filter = std::make_shared<FilterSpecObject>(id);
    filter->SetData(json.c_str());
    return filter;
  }

  ConfigStoreObjectId boot_ = Id("boot", "sys");
  ConfigStoreObjectId kernel_ = Id("kernel", "sys");
};

TEST_F(NextBootRowsTest, SetStoresTheSplitValueAndMarksBootMode) {
  ConfigStoreObjectId a = Id("boot", "sys", "a");
  SetRebootRequiredConfigInternal(Make(a, R"({"args":"quiet","slot":2})"), Schema(a), conn_);
  EXPECT_EQ(Column(a, "BootAction", "DesiredUserConfig"), "SET");
  EXPECT_TRUE(JsonEqual(R"({"name":"a","args":"quiet"})", Column(a, "Value", "DesiredUserConfig")));
  EXPECT_TRUE(JsonEqual(R"({"name":"a","slot":2})", Column(a, "VitalValue", "DesiredUserConfig")));
  EXPECT_EQ(Column(a, "CachedValue", "DesiredUserConfig"), "<null>");
  EXPECT_EQ(Column(a, "Version", "DesiredUserConfig"), "1.0");
  EXPECT_EQ(BootMode(), "4");
  // Nothing of the live store changes.
  EXPECT_EQ(Count("Config"), 0);

  EXPECT_TRUE(JsonEqual(R"({"name":"a","args":"quiet","slot":2})",
                        Json(GetRebootRequiredConfigInternal(a, Schema(a), conn_))));
}

TEST_F(NextBootRowsTest, SettingTwiceLeavesOneRowWithTheSecondValue) {
  SetRebootRequiredConfigInternal(Make(kernel_, R"({"cmdline":"one","board":"b1"})"),
                                  Schema(kernel_), conn_);
  SetRebootRequiredConfigInternal(Make(kernel_, R"({"cmdline":"two"})"), Schema(kernel_), conn_);
  EXPECT_EQ(Count("DesiredUserConfig"), 1);
  EXPECT_EQ(Column(kernel_, "Value", "DesiredUserConfig"), R"({"cmdline":"two"})");
  // Replaced whole: the vital part of the first value is gone.
  EXPECT_EQ(Column(kernel_, "VitalValue", "DesiredUserConfig"), "<null>");
  EXPECT_EQ(Json(GetRebootRequiredConfigInternal(kernel_, Schema(kernel_), conn_)),
            R"({"cmdline":"two"})");
}

TEST_F(NextBootRowsTest, SettingInstancesReplacesTheWholeSet) {
  ObjectList first = {Make(Id("boot", "sys", "a"), R"({"args":"1"})"),
                      Make(Id("boot", "sys", "b"), R"({"args":"2"})")};
  SetRebootRequiredConfigInstancesInternal(first, Schema(boot_), conn_);
  EXPECT_EQ(Count("DesiredUserConfig"), 2);
  ObjectList second = {Make(Id("boot", "sys", "c"), R"({"args":"3"})"),
                       Make(Id("boot", "sys", "a"), R"({"args":"4"})")};
  SetRebootRequiredConfigInstancesInternal(second, Schema(boot_), conn_);
  EXPECT_EQ(Count("DesiredUserConfig"), 2);
  EXPECT_EQ(Column(Id("boot", "sys", "b"), "Value", "DesiredUserConfig"), "<no row>");
  EXPECT_TRUE(JsonEqual(R"({"name":"a","args":"4"})",
                        Column(Id("boot", "sys", "a"), "Value", "DesiredUserConfig")));
  EXPECT_EQ(BootMode(), "4");

  ObjectList read = GetRebootRequiredConfigInstancesInternal(Filter(boot_), Schema(boot_), conn_);
  ASSERT_EQ(read.size(), 2u);
  std::vector<std::string> ids = {read[0]->GetConfigStoreObjectId().instanceId,
                                  read[1]->GetConfigStoreObjectId().instanceId};
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(ids, (std::vector<std::string>{"a", "c"}));
  ObjectList filtered = GetRebootRequiredConfigInstancesInternal(Filter(boot_, R"({"args":"3"})"),
                                                                 Schema(boot_), conn_);
  ASSERT_EQ(filtered.size(), 1u);
  EXPECT_EQ(filtered[0]->GetConfigStoreObjectId().instanceId, "c");
  ObjectList one = GetRebootRequiredConfigInstancesInternal(Filter(Id("boot", "sys", "a")),
                                                            Schema(boot_), conn_);
  ASSERT_EQ(one.size(), 1u);
  EXPECT_TRUE(JsonEqual(R"({"name":"a","args":"4"})", Json(one[0])));
}

TEST_F(NextBootRowsTest, DeletionRowsAreInvisibleToReads) {
  DeleteRebootRequiredConfigInternal(kernel_, Schema(kernel_), conn_);
  EXPECT_EQ(Column(kernel_, "BootAction", "DesiredUserConfig"), "DELETE");
  EXPECT_EQ(Column(kernel_, "Value", "DesiredUserConfig"), "<null>");
  EXPECT_EQ(BootMode(), "4");
  EXPECT_EQ(GetRebootRequiredConfigInternal(kernel_, Schema(kernel_), conn_), nullptr);

  ConfigStoreObjectId a = Id("boot", "sys", "a");
  SetRebootRequiredConfigInternal(Make(a, R"({"args":"x"})"), Schema(a), conn_);
  DeleteRebootRequiredConfigInternal(a, Schema(a), conn_);
  EXPECT_EQ(Column(a, "BootAction", "DesiredUserConfig"), "DELETE_INSTANCE");
  EXPECT_EQ(Column(a, "Value", "DesiredUserConfig"), "<null>");
  EXPECT_EQ(GetRebootRequiredConfigInternal(a, Schema(a), conn_), nullptr);
  EXPECT_TRUE(
      GetRebootRequiredConfigInstancesInternal(Filter(boot_), Schema(boot_), conn_).empty());
}

TEST_F(NextBootRowsTest, DeletingInstancesMarksEveryCurrentInstanceTheFilterSelects) {
  InsertRow(Id("boot", "sys", "a"), "Success, UserValue", R"(1, '{"name":"a","args":"x"}')");
  InsertRow(Id("boot", "sys", "b"), "Success, UserValue", R"(1, '{"name":"b","args":"y"}')");
  InsertRow(Id("boot", "sys", "c"), "Success, UserValue", R"(1, '{"name":"c","args":"x"}')");
  DeleteRebootRequiredConfigInstancesInternal(Filter(boot_, R"({"args":"x"})"), Schema(boot_), OperationContext(),
                                              conn_);
  EXPECT_EQ(Count("DesiredUserConfig", "BootAction = 'DELETE_INSTANCE'"), 2);
  EXPECT_EQ(Column(Id("boot", "sys", "b"), "BootAction", "DesiredUserConfig"), "<no row>");
  EXPECT_EQ(BootMode(), "4");
  // The live rows stay until the boot.
  EXPECT_EQ(Count("Config"), 3);
}

TEST_F(NextBootRowsTest, ClearRemovesEveryRowOfTheTypeAndLeavesBootMode) {
  SetRebootRequiredConfigInstancesInternal({Make(Id("boot", "sys", "a"), R"({"args":"1"})"),
                                            Make(Id("boot", "sys", "b"), R"({"args":"2"})")},
                                           Schema(boot_), conn_);
  SetRebootRequiredConfigInternal(Make(kernel_, R"({"cmdline":"k"})"), Schema(kernel_), conn_);
  SetKeyValue("BOOT_MODE", "0");
  ClearRebootRequiredConfigInstances(boot_, Schema(boot_), conn_);
  EXPECT_EQ(Count("DesiredUserConfig", "Name = 'boot'"), 0);
  EXPECT_EQ(Count("DesiredUserConfig", "Name = 'kernel'"), 1);
  EXPECT_EQ(BootMode(), "0");
}

TEST_F(NextBootRowsTest, RemediationRefusesEveryChangeButNotReads) {
  ConfigStoreObjectId a = Id("boot", "sys", "a");
  SetRebootRequiredConfigInternal(Make(a, R"({"args":"keep"})"), Schema(a), conn_);
  InsertRow(a, "Success, UserValue", R"(1, '{"name":"a","args":"live"}')");
  SetKeyValue("BOOT_MODE", "1");

  EXPECT_TRUE(
      Throws([&] { SetRebootRequiredConfigInternal(Make(a, R"({"args":"n"})"), Schema(a), conn_); },
             2000, kRemediating));
  EXPECT_TRUE(
      Throws([&] { SetRebootRequiredConfigInstancesInternal({Make(a, "{}")}, Schema(a), conn_); },
             2000, kRemediating));
  EXPECT_TRUE(
      Throws([&] { DeleteRebootRequiredConfigInternal(a, Schema(a), conn_); }, 2000, kRemediating));
  EXPECT_TRUE(
      Throws([&] { DeleteRebootRequiredConfigInstancesInternal(Filter(boot_), Schema(a), OperationContext(), conn_); },
             2000, kRemediating));
  EXPECT_TRUE(Throws([&] { ClearRebootRequiredConfigInstances(boot_, Schema(a), conn_); }, 2000,
                     kRemediating));

  EXPECT_EQ(Count("DesiredUserConfig"), 1);
  EXPECT_EQ(Column(a, "BootAction", "DesiredUserConfig"), "SET");
  EXPECT_EQ(BootMode(), "1");
  EXPECT_TRUE(JsonEqual(R"({"name":"a","args":"keep"})",
                        Json(GetRebootRequiredConfigInternal(a, Schema(a), conn_))));
  EXPECT_EQ(GetRebootRequiredConfigInstancesInternal(Filter(boot_), Schema(a), conn_).size(), 1u);

  // Any other mode lets them through.
  SetKeyValue("BOOT_MODE", "");
  ClearRebootRequiredConfigInstances(boot_, Schema(a), conn_);
  EXPECT_EQ(Count("DesiredUserConfig"), 0);
}

TEST_F(NextBootRowsTest, UnreadableBootModeIsAnError) {
  ASSERT_EQ(Exec("DROP TABLE KeyValue"), "");
  EXPECT_TRUE(Throws([&] { ClearRebootRequiredConfigInstances(boot_, Schema(boot_), conn_); }, 2000,
                     "Failed to read value from database."));
  EXPECT_TRUE(Throws([&] { DeleteRebootRequiredConfigInternal(kernel_, Schema(kernel_), conn_); },
                     2000, "Failed to read value from database."));
  EXPECT_EQ(Count("DesiredUserConfig"), 0);
}

TEST_F(NextBootRowsTest, UnwritableBootModeIsAnError) {
  SetKeyValue("BOOT_MODE", "0");
  BreakWrites("KeyValue", "INSERT");
  BreakWrites("KeyValue", "UPDATE");
  EXPECT_TRUE(Throws(
      [&] {
        SetRebootRequiredConfigInternal(Make(kernel_, R"({"cmdline":"k"})"), Schema(kernel_),
                                        conn_);
      },
      2000, "Failed to write BootMode to database."));
  EXPECT_TRUE(Throws([&] { DeleteRebootRequiredConfigInternal(kernel_, Schema(kernel_), conn_); },
                     2000, "Failed to write BootMode to database."));
}

TEST_F(NextBootRowsTest, StoreFailuresAreReported) {
  BreakWrites("DesiredUserConfig", "INSERT");
  BreakWrites("DesiredUserConfig", "DELETE");
  ConfigStoreObjectId a = Id("boot", "sys", "a");
  EXPECT_TRUE(
      Throws([&] { SetRebootRequiredConfigInternal(Make(a, R"({"args":"1"})"), Schema(a), conn_); },
             2000, "Failed to update reboot-required configuraition."));
  EXPECT_TRUE(Throws([&] { DeleteRebootRequiredConfigInternal(a, Schema(a), conn_); }, 2000,
                     "Failed to delete reboot-required configuraition."));

  InsertRow(a, "Success, UserValue", R"(1, '{"name":"a"}')");
  EXPECT_TRUE(
      Throws([&] { DeleteRebootRequiredConfigInstancesInternal(Filter(boot_), Schema(a), OperationContext(), conn_); },
             2000, "Failed to delete reboot-required configuraition."));

  ASSERT_EQ(Exec("DROP TRIGGER break_DesiredUserConfig_0"), "");
  ASSERT_EQ(
      Exec("INSERT INTO DesiredUserConfig (Component, ConfigGroup, Name, Identifier, "
           "Version, BootAction) VALUES ('corv', 'sys', 'boot', 'z', '1.0', 'DELETE_INSTANCE')"),
      "");
  EXPECT_TRUE(
      Throws([&] { ClearRebootRequiredConfigInstances(boot_, Schema(a), conn_); }, 2000,
             "Failed to clear RebootRequired config for csoId: comp corv grp sys key boot"));
  EXPECT_TRUE(
      Throws([&] { SetRebootRequiredConfigInstancesInternal({Make(a, "{}")}, Schema(a), conn_); },
             2000, "Failed to clear RebootRequired config for csoId: comp corv grp sys key boot"));
  EXPECT_EQ(Count("DesiredUserConfig"), 1);
  EXPECT_EQ(BootMode(), "");
}

TEST_F(NextBootRowsTest, ReadFailuresAreReported) {
  ASSERT_EQ(Exec("DROP TABLE DesiredUserConfig"), "");
  EXPECT_TRUE(Throws([&] { GetRebootRequiredConfigInternal(kernel_, Schema(kernel_), conn_); },
                     2000, "Get failed: comp corv grp sys key kernel"));
  EXPECT_TRUE(
      Throws([&] { GetRebootRequiredConfigInstancesInternal(Filter(boot_), Schema(boot_), conn_); },
             2000, "Read Instances failed for: comp corv grp sys key boot"));
}

}  // namespace
}  // namespace CorvTest
