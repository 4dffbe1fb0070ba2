// Confirmation of pending values after a boot, whole or in part, and the
// kernel options object.
#include <corvconfigstore/KeyValue.h>

#include "RowsFixture.h"
#include "db/NextBootRows.h"
#include "db/ReadRows.h"

namespace CorvTest {
namespace {

using namespace CorvConfigStore;

class BootConfirmationTest : public RowsTest {
 protected:
  ConfigStoreObjectId motd_ = Id("motd", "sys");
  ConfigStoreObjectId options_ = ConfigStoreObjectId("options", "kestrel", "corv");
};

TEST_F(BootConfirmationTest, FailedBootChangesNothing) {
  InsertRow(motd_, "Success, UserValue, DesiredValue, Revision",
            R"(0, '{"text":"u"}', '{"text":"d"}', 2)");
  SetBootStatusInternal(motd_, false, conn_);
  EXPECT_EQ(Column(motd_, "Success"), "0");
  EXPECT_EQ(Column(motd_, "UserValue"), R"({"text":"u"})");
  EXPECT_EQ(Column(motd_, "DesiredValue"), R"({"text":"d"})");
}

TEST_F(BootConfirmationTest, SuccessfulBootMakesTheDesiredValueCurrent) {
  InsertRow(motd_, "Success, UserValue, DesiredValue, Revision",
            R"(0, '{"text":"u"}', '{"text":"d"}', 2)");
  SetBootStatusInternal(motd_, true, conn_);
  EXPECT_EQ(Column(motd_, "Success"), "1");
  EXPECT_EQ(Column(motd_, "UserValue"), R"({"text":"d"})");
  EXPECT_EQ(Column(motd_, "DesiredValue"), "<null>");
  EXPECT_EQ(Column(motd_, "Revision"), "2");
}

TEST_F(BootConfirmationTest, RowWithoutDesiredValueIsOnlyConfirmed) {
  InsertRow(motd_, "Success, UserValue, Revision", R"(0, '{"text":"u"}', 2)");
  SetBootStatusInternal(motd_, true, conn_);
  EXPECT_EQ(Column(motd_, "Success"), "1");
  EXPECT_EQ(Column(motd_, "UserValue"), R"({"text":"u"})");
  EXPECT_EQ(Json(GetInternal(motd_, conn_, Schema(motd_), OperationContext())), R"({"text":"u"})");
}

TEST_F(BootConfirmationTest, InstanceIdSelectsOneRowAndNoneSelectsAll) {
  for (const char* name : {"a", "b"})
    InsertRow(Id("iface", "net", name), "Success, UserValue, DesiredValue",
              R"(0, '{"mtu":1}', '{"mtu":2}')");
  SetBootStatusInternal(Id("iface", "net", "a"), true, conn_);
  EXPECT_EQ(Column(Id("iface", "net", "a"), "UserValue"), R"({"mtu":2})");
  EXPECT_EQ(Column(Id("iface", "net", "b"), "UserValue"), R"({"mtu":1})");
  EXPECT_EQ(Column(Id("iface", "net", "b"), "Success"), "0");
  SetBootStatusInternal(Id("iface", "net"), true, conn_);
  EXPECT_EQ(Count("Config", "Success = 1 AND DesiredValue IS NULL AND UserValue = '{\"mtu\":2}'"),
            2);
}

TEST_F(BootConfirmationTest, ConfirmationFailureIsReported) {
  InsertRow(motd_, "Success, UserValue", R"(0, '{"text":"u"}')");
  InsertRow(Id("iface", "net", "x"), "Success, UserValue", R"(0, '{"mtu":1}')");
  BreakWrites("Config", "UPDATE");
  const char* message = "SetBootStatus: Failed to mark success status for given csoId.";
  EXPECT_TRUE(Throws([&] { SetBootStatusInternal(motd_, true, conn_); }, 2000, message));
  EXPECT_TRUE(
      Throws([&] { SetBootStatusInternal(Id("iface", "net", "x"), true, conn_); }, 2000, message));
  EXPECT_EQ(Count("Config", "Success = 0"), 2);
}

TEST_F(BootConfirmationTest, PartialWithoutConfirmedValueKeepsTheUserValueAsDesired) {
  InsertRow(motd_, "Success, UserValue, Revision", R"(0, '{"text":"u","x":1}', 3)");
  SetPartialBootStatusInternal(Make(motd_, R"({"text":"u"})"), Schema(motd_), conn_);
  EXPECT_EQ(Column(motd_, "DesiredValue"), R"({"text":"u","x":1})");
  EXPECT_EQ(Column(motd_, "UserValue"), R"({"text":"u","x":1})");
  EXPECT_EQ(Column(motd_, "Success"), "0");
  EXPECT_EQ(Column(motd_, "Revision"), "3");
}

TEST_F(BootConfirmationTest, PartialThatCompletesTheDesiredValueClearsIt) {
  InsertRow(motd_, "Success, UserValue, DesiredValue, Revision",
            R"(1, '{"text":"old","x":1}', '{"text":"new","x":2}', 3)");
  SetPartialBootStatusInternal(Make(motd_, R"({"text":"new"})"), Schema(motd_), conn_);
  EXPECT_TRUE(JsonEqual(R"({"text":"new","x":1})", Column(motd_, "UserValue")));
  EXPECT_EQ(Column(motd_, "DesiredValue"), R"({"text":"new","x":2})");
  EXPECT_EQ(Column(motd_, "Success"), "1");

  SetPartialBootStatusInternal(Make(motd_, R"({"x":2})"), Schema(motd_), conn_);
  EXPECT_TRUE(JsonEqual(R"({"text":"new","x":2})", Column(motd_, "UserValue")));
  EXPECT_EQ(Column(motd_, "DesiredValue"), "<null>");
  EXPECT_EQ(Column(motd_, "Revision"), "3");
}

TEST_F(BootConfirmationTest, PartialInstancesMustMatchTheDesiredInstanceById) {
  ConfigStoreObjectId dns = Id("dns", "net");
  InsertRow(dns, "Success, UserValue, DesiredValue",
            R"(1, '{"hosts":[{"name":"a","ip":"1"}]}',
                '{"hosts":[{"name":"a","ip":"1"},{"name":"b","ip":"2"}],"domain":"d"}')");
  EXPECT_TRUE(Throws(
      [&] {
        SetPartialBootStatusInternal(Make(dns, R"({"hosts":[{"name":"b","ip":"9"}]})"), Schema(dns),
                                     conn_);
      },
      2000, "partial config being restored is not part of desired config"));
  EXPECT_TRUE(Throws(
      [&] {
        SetPartialBootStatusInternal(Make(dns, R"({"hosts":[{"name":"c","ip":"2"}]})"), Schema(dns),
                                     conn_);
      },
      2000, "partial config being restored is not part of desired config"));
  SetPartialBootStatusInternal(Make(dns, R"({"hosts":[{"name":"b","ip":"2"}]})"), Schema(dns),
                               conn_);
  EXPECT_TRUE(JsonEqual(R"({"hosts":[{"name":"a","ip":"1"},{"name":"b","ip":"2"}]})",
                        Column(dns, "UserValue")));
  EXPECT_NE(Column(dns, "DesiredValue"), "<null>");
  SetPartialBootStatusInternal(Make(dns, R"({"domain":"d"})"), Schema(dns), conn_);
  EXPECT_EQ(Column(dns, "DesiredValue"), "<null>");
}

TEST_F(BootConfirmationTest, PartialRefusals) {
  InsertRow(motd_, "Success, UserValue", R"(1, '{"text":"old"}')");
  EXPECT_TRUE(Throws(
      [&] { SetPartialBootStatusInternal(Make(motd_, R"({"text":"new"})"), Schema(motd_), conn_); },
      2000, "desired config is empty"));
  ASSERT_EQ(Exec(R"(UPDATE Config SET DesiredValue = '{"text":"new"}')"), "");
  EXPECT_TRUE(Throws(
      [&] {
        SetPartialBootStatusInternal(Make(motd_, R"({"text":"other"})"), Schema(motd_), conn_);
      },
      2000, "partial config being restored is not part of desired config"));
  EXPECT_TRUE(
      Throws([&] { SetPartialBootStatusInternal(Make(motd_, R"({"x":1})"), Schema(motd_), conn_); },
             2000, "partial config being restored is not part of desired config"));
  EXPECT_EQ(Column(motd_, "UserValue"), R"({"text":"old"})");
}

TEST_F(BootConfirmationTest, PartialFailuresAreReported) {
  ObjectPtr partial = Make(motd_, R"({"text":"new"})");
  InsertRow(motd_, "Success, UserValue", R"(0, '{"text":"u"}')");
  BreakWrites("Config", "UPDATE OF DesiredValue");
  EXPECT_TRUE(
      Throws([&] { SetPartialBootStatusInternal(partial, Schema(motd_), conn_); }, 2000,
             "Failed to copy user config to desired config for: comp corv grp sys key motd"));

  ASSERT_EQ(Exec("DELETE FROM Config"), "");
  InsertRow(motd_, "Success, UserValue, DesiredValue", R"(1, '{"text":"old"}', '{"text":"new"}')");
  BreakWrites("Config", "UPDATE OF UserValue");
  EXPECT_TRUE(
      Throws([&] { SetPartialBootStatusInternal(partial, Schema(motd_), conn_); }, 2000,
             "Database call to update configuration failed for: comp corv grp sys key motd"));

  ASSERT_EQ(Exec("DROP TRIGGER break_Config_1"), "");
  EXPECT_TRUE(Throws([&] { SetPartialBootStatusInternal(partial, Schema(motd_), conn_); }, 2000,
                     "DeleteDesiredValue: Failed to delete DesiredValue for given csoId."));

  ASSERT_EQ(Exec("DROP TABLE Config"), "");
  EXPECT_TRUE(Throws([&] { SetPartialBootStatusInternal(partial, Schema(motd_), conn_); }, 2000,
                     "Get failed: comp corv grp sys key motd"));
}

TEST_F(BootConfirmationTest, KernelOptionsWaitForTheBoot) {
  InsertRow(options_, "Success, UserValue, VitalValue, CreationTime, Revision",
            R"(1, '{"cmdline":"old"}', '{"arch":"x86"}', '2000-01-01 00:00:00', 4)");
  SetKernelOptionsInternal(Make(options_, R"({"cmdline":"new","console":"ttyS0","arch":"arm"})"),
                           Schema(options_), conn_);
  EXPECT_TRUE(
      JsonEqual(R"({"cmdline":"new","console":"ttyS0"})", Column(options_, "DesiredValue")));
  EXPECT_EQ(Column(options_, "UserValue"), R"({"cmdline":"old"})");
  EXPECT_EQ(Column(options_, "VitalValue"), R"({"arch":"arm"})");
  EXPECT_EQ(Column(options_, "Revision"), "5");
  EXPECT_EQ(Column(options_, "CreationTime"), "2000-01-01 00:00:00");

  EXPECT_TRUE(JsonEqual(R"({"cmdline":"new","console":"ttyS0","arch":"arm"})",
                        Json(GetKernelOptionsInternal(options_, conn_, Schema(options_)))));
  // The running value is still the old one until the boot confirms.
  EXPECT_TRUE(JsonEqual(R"({"arch":"arm","cmdline":"old"})",
                        Json(GetInternal(options_, conn_, Schema(options_), OperationContext()))));
  SetBootStatusInternal(options_, true, conn_);
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"new","console":"ttyS0"})", Column(options_, "UserValue")));
}

TEST_F(BootConfirmationTest, KernelOptionsOfANewRow) {
  SetKernelOptionsInternal(Make(options_, R"({"cmdline":"first"})"), Schema(options_), conn_);
  EXPECT_EQ(Column(options_, "UserValue"), "<null>");
  EXPECT_EQ(Column(options_, "DesiredValue"), R"({"cmdline":"first"})");
  EXPECT_EQ(Column(options_, "VitalValue"), "<null>");
  EXPECT_EQ(Column(options_, "Revision"), "1");
  EXPECT_EQ(Json(GetKernelOptionsInternal(options_, conn_, Schema(options_))),
            R"({"cmdline":"first"})");
  EXPECT_EQ(GetKernelOptionsInternal(options_, conn_, Schema(options_))->GetVersion(), "1.0");
}

TEST_F(BootConfirmationTest, KernelOptionsDuringRemediationSeeTheNextBootRow) {
  InsertRow(options_, "Success, UserValue, VitalValue",
            R"(1, '{"cmdline":"live"}', '{"arch":"x86"}')");
  ASSERT_EQ(Exec(R"(INSERT INTO DesiredUserConfig (Component, ConfigGroup, Name, Identifier,
                    Version, Value, BootAction) VALUES ('corv', 'kestrel', 'options', '', '1.0',
                    '{"cmdline":"staged"}', 'SET'))"),
            "");
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"live","arch":"x86"})",
                        Json(GetKernelOptionsInternal(options_, conn_, Schema(options_)))));
  SetKeyValue("BOOT_MODE", "1");
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"staged","arch":"x86"})",
                        Json(GetKernelOptionsInternal(options_, conn_, Schema(options_)))));
}

TEST_F(BootConfirmationTest, KernelOptionFailuresAreReported) {
  BreakWrites("Config", "INSERT");
  EXPECT_TRUE(Throws(
      [&] {
        SetKernelOptionsInternal(Make(options_, R"({"cmdline":"x"})"), Schema(options_), conn_);
      },
      2000,
      "Database call to update Kernel options configuration failed for: comp corv grp kestrel key "
      "options"));
  ASSERT_EQ(Exec("DROP TABLE Config"), "");
  EXPECT_TRUE(Throws([&] { GetKernelOptionsInternal(options_, conn_, Schema(options_)); }, 2000,
                     "Get failed: comp corv grp kestrel key options"));
  ASSERT_EQ(Exec("DROP TABLE KeyValue"), "");
  EXPECT_TRUE(Throws([&] { GetKernelOptionsInternal(options_, conn_, Schema(options_)); }, 2000,
                     "Failed to read value from database."));
}

}  // namespace
}  // namespace CorvTest
