// The next-boot store: staging, reading, deleting and resetting
// configuration for the next boot, its checks and its transactions.
#include "StoreFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

const ConfigStoreObjectId kKernel = Id("kernel", "sys");
const char kTable[] = "DesiredUserConfig";

ObjectPtr Boot(const char* name, const char* args, const char* key = "boot") {
  return MakeObject(Id(key, "sys", name),
                    std::string(R"({"name":")") + name + R"(","args":")" + args + "\"}");
}

class NextBootStoreTest : public StoreFixture {
 protected:
  void SetUp() override {
    StoreFixture::SetUp();
    next_ = store_->GetNextBootStore();
    ASSERT_TRUE(next_);
  }
  void TearDown() override {
    next_.reset();
    StoreFixture::TearDown();
  }

  std::shared_ptr<NextBootStore> next_;
};

TEST_F(NextBootStoreTest, SetStagesTheObjectForTheNextBoot) {
  LogCapture log;
  next_->Set(MakeObject(kKernel, R"({"cmdline":"quiet"})"));
  EXPECT_TRUE(log.Has(3, "Set : comp corv grp sys key kernel, context: 1"));
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"quiet"})", raw_->Column(kKernel, "Value", kTable)));
  EXPECT_EQ("SET", raw_->Column(kKernel, "BootAction", kTable));
  EXPECT_EQ("4", GetKeyValue("BOOT_MODE"));
  // The live store is untouched.
  EXPECT_EQ("<no row>", raw_->Column(kKernel, "UserValue"));

  ObjectPtr staged = next_->Get(kKernel);
  ASSERT_TRUE(staged);
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"quiet"})", staged->GetData()));
  EXPECT_TRUE(log.Has(3, "Get : comp corv grp sys key kernel, context: 1"));

  next_->Set(MakeObject(kKernel, R"({"cmdline":"debug"})"));
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"debug"})", next_->Get(kKernel)->GetData()));
}

TEST_F(NextBootStoreTest, GetOfNothingStagedIsNull) {
  EXPECT_FALSE(next_->Get(kKernel));
  EXPECT_TRUE(next_->GetInstances(Filter(Id("boot", "sys"))).empty());
}

TEST_F(NextBootStoreTest, ConfigurationWithoutTheTagIsRefused) {
  const std::string message =
      "API should only be invoked for configurations tagged @rebootRequiredConfigStore.";
  const ConfigStoreObjectId motd = Id("motd", "sys");
  EXPECT_TRUE(Throws<ValidationException>([&] { next_->Get(motd); }, 2000, message));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] { next_->Set(MakeObject(motd, R"({"text":"a"})")); }, 2000, message));
  EXPECT_TRUE(Throws<ValidationException>([&] { next_->Delete(motd); }, 2000, message));
  EXPECT_TRUE(Throws<ValidationException>([&] { next_->Reset(motd); }, 2000, message));
  auto eth = MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0"})");
  EXPECT_TRUE(Throws<ValidationException>([&] { next_->SetInstances({eth}); }, 2000, message));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] { next_->GetInstances(Filter(Id("iface", "net"))); }, 2000, message));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] { next_->DeleteInstances(Filter(Id("iface", "net"))); }, 2000, message));
  EXPECT_EQ("", GetKeyValue("BOOT_MODE"));
}

TEST_F(NextBootStoreTest, EmptyObjectIsRefusedBeforeAnyWrite) {
  EXPECT_TRUE(Throws<ValidationException>([&] { next_->Set(MakeObject(kKernel, "{}")); }, 2000,
                                          "Empty object cannot be set for configurations tagged "
                                          "@rebootRequiredConfigStore."));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] { next_->SetInstances({Boot("a", "x"), MakeObject(Id("boot", "sys", "b"), "{}")}); },
      2000, "Empty object cannot be set for configurations tagged @rebootRequiredConfigStore."));
  EXPECT_EQ("<no row>", raw_->Column(kKernel, "Value", kTable));
  EXPECT_TRUE(raw_->Identifiers("boot", "sys", kTable).empty());
  EXPECT_EQ("", GetKeyValue("BOOT_MODE"));
}

TEST_F(NextBootStoreTest, InvalidValuesAndIdentifiersAreRefused) {
  EXPECT_THROW(next_->Set(MakeObject(kKernel, R"({"cmdline":5})")), ValidationException);
  EXPECT_TRUE(Throws<ValidationException>([&] { next_->Get(Id("kernel", "sys", "x")); }, 2000,
                                          "Singleton object cannot contain instanceId"));
  EXPECT_TRUE(Throws<ValidationException>([&] { next_->Delete(Id("boot", "sys")); }, 2000,
                                          "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { next_->Reset(Id("nope", "sys")); }, 1037,
                                           "Schema not found for: comp corv grp sys key nope"));
  EXPECT_EQ("<no row>", raw_->Column(kKernel, "Value", kTable));
}

TEST_F(NextBootStoreTest, NullHandlesAreLogged) {
  LogCapture log;
  next_->Set(nullptr);
  EXPECT_TRUE(next_->GetInstances(nullptr).empty());
  next_->DeleteInstances(nullptr);
  EXPECT_TRUE(log.Has(1, "[1041] Set: Object handle is null"));
  EXPECT_TRUE(log.Has(1, "[1041] GetInstances: Object handle is null"));
  EXPECT_TRUE(log.Has(1, "[1041] DeleteInstances: Object handle is null"));
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { next_->SetInstances({nullptr}); }, 1061,
                                               "The list of configuration objects is empty"));
}

TEST_F(NextBootStoreTest, DeleteStagesADeletion) {
  next_->Set(MakeObject(kKernel, R"({"cmdline":"quiet"})"));
  LogCapture log;
  next_->Delete(kKernel);
  EXPECT_TRUE(log.Has(3, "Delete : comp corv grp sys key kernel, context: 1"));
  EXPECT_EQ("DELETE", raw_->Column(kKernel, "BootAction", kTable));
  EXPECT_EQ("<null>", raw_->Column(kKernel, "Value", kTable));
  EXPECT_FALSE(next_->Get(kKernel));
  next_->Delete(Id("boot", "sys", "a"));
  EXPECT_EQ("DELETE_INSTANCE", raw_->Column(Id("boot", "sys", "a"), "BootAction", kTable));
}

TEST_F(NextBootStoreTest, SetInstancesReplacesEverythingStagedForTheKey) {
  next_->SetInstances({Boot("old", "x")});
  LogCapture log;
  next_->SetInstances({Boot("a", "1"), nullptr, Boot("b", "2")});
  EXPECT_TRUE(log.Has(3, "SetInstances : comp corv grp sys key boot id a, context: 1"));
  EXPECT_EQ((std::vector<std::string>{"a", "b"}), raw_->Identifiers("boot", "sys", kTable));
  ObjectList staged = next_->GetInstances(Filter(Id("boot", "sys")));
  EXPECT_EQ(2u, staged.size());
  EXPECT_TRUE(log.Has(3, "GetInstances : comp corv grp sys key boot, context: 1"));
  ObjectList one = next_->GetInstances(Filter(Id("boot", "sys", "b")));
  ASSERT_EQ(1u, one.size());
  EXPECT_TRUE(JsonEqual(R"({"name":"b","args":"2"})", one[0]->GetData()));
}

TEST_F(NextBootStoreTest, SetInstancesOfTwoKeysIsRefusedAndWritesNothing) {
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { next_->SetInstances({Boot("a", "1"), Boot("b", "2", "bootalt")}); }, 1062,
      "All configuration objects must have the same component, group and key"));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] {
        next_->SetInstances({Boot("a", "1"),
                             std::make_shared<ConfigStoreObject>(Id("boot", "sys"))});
      },
      2000, "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] { next_->SetInstances({MakeObject(kKernel, R"({"cmdline":"q"})")}); }, 2000,
      "API called for singleton object, non-singleton expected"));
  EXPECT_TRUE(raw_->Identifiers("boot", "sys", kTable).empty());
  EXPECT_TRUE(raw_->Identifiers("bootalt", "sys", kTable).empty());
}

TEST_F(NextBootStoreTest, ResetClearsEveryStagedInstance) {
  next_->SetInstances({Boot("a", "1"), Boot("b", "2")});
  next_->SetInstances({Boot("c", "3", "bootalt")});
  LogCapture log;
  next_->Reset(Id("boot", "sys"));
  EXPECT_TRUE(log.Has(3, "Reset : comp corv grp sys key boot, context: 1"));
  EXPECT_TRUE(raw_->Identifiers("boot", "sys", kTable).empty());
  EXPECT_EQ(std::vector<std::string>{"c"}, raw_->Identifiers("bootalt", "sys", kTable));
  // Clearing leaves the pending marker alone.
  EXPECT_EQ("4", GetKeyValue("BOOT_MODE"));
}

TEST_F(NextBootStoreTest, DeleteInstancesStagesDeletionsOfTheMatchingCurrentInstances) {
  // The instances to delete are the live ones the filter selects.
  ASSERT_EQ("", raw_->Exec("INSERT INTO Config (Identifier, Name, ConfigGroup, Component, "
                           "Version, UserValue) VALUES "
                           R"(('a', 'boot', 'sys', 'corv', '1.0', '{"name":"a","args":"1"}'),)"
                           R"(('b', 'boot', 'sys', 'corv', '1.0', '{"name":"b","args":"2"}'))"));
  auto filter = Filter(Id("boot", "sys"));
  filter->SetValue("args", "2");
  LogCapture log;
  next_->DeleteInstances(filter);
  EXPECT_TRUE(log.Has(3, "DeleteInstances : comp corv grp sys key boot, context: 1"));
  EXPECT_EQ(std::vector<std::string>{"b"}, raw_->Identifiers("boot", "sys", kTable));
  EXPECT_EQ("DELETE_INSTANCE", raw_->Column(Id("boot", "sys", "b"), "BootAction", kTable));
  EXPECT_EQ("4", GetKeyValue("BOOT_MODE"));
}

TEST_F(NextBootStoreTest, StoreFailureInsideTheTransactionReachesTheCallerUnchanged) {
  next_->Set(MakeObject(kKernel, R"({"cmdline":"quiet"})"));
  SetKeyValue("BOOT_MODE", "1");
  const std::string message =
      "Corv host is being remediated by Plexa, cannot set next-boot configuration.";
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { next_->Set(MakeObject(kKernel, R"({"cmdline":"debug"})")); }, 2000, message));
  EXPECT_TRUE(Throws<ConfigStoreException>([&] { next_->Delete(kKernel); }, 2000, message));
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { next_->Reset(Id("boot", "sys")); }, 2000, message));
  EXPECT_TRUE(
      Throws<ConfigStoreException>([&] { next_->SetInstances({Boot("a", "1")}); }, 2000, message));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { next_->DeleteInstances(Filter(Id("boot", "sys"))); }, 2000, message));
  // Reads still work, and nothing changed.
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"quiet"})", next_->Get(kKernel)->GetData()));
  EXPECT_THROW(store_->CommitTransaction(), ConfigStoreException);
}

TEST_F(NextBootStoreTest, WriteFailureIsUndone) {
  next_->SetInstances({Boot("old", "x")});
  ASSERT_EQ("", raw_->Exec("CREATE TRIGGER refuse_b BEFORE INSERT ON DesiredUserConfig "
                           "WHEN NEW.Identifier = 'b' BEGIN SELECT RAISE(ABORT, 'no'); END"));
  SetKeyValue("BOOT_MODE", "0");
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { next_->SetInstances({Boot("a", "1"), Boot("b", "2")}); }, 2000,
      "Failed to update reboot-required configuraition."));
  // The rows removed and written before the failure came back and went.
  EXPECT_EQ(std::vector<std::string>{"old"}, raw_->Identifiers("boot", "sys", kTable));
  EXPECT_EQ("0", GetKeyValue("BOOT_MODE"));
}

TEST_F(NextBootStoreTest, WritesNestInsideTheCallersTransaction) {
  ConfigStoreTransaction guard(store_);
  next_->Set(MakeObject(kKernel, R"({"cmdline":"quiet"})"));
  EXPECT_EQ(0, guard.Cancel());
  EXPECT_EQ("<no row>", raw_->Column(kKernel, "Value", kTable));
  EXPECT_EQ("", GetKeyValue("BOOT_MODE"));
}

TEST_F(NextBootStoreTest, OutlivesTheStoreHandleThatMadeIt) {
  store_.reset();
  next_->Set(MakeObject(kKernel, R"({"cmdline":"quiet"})"));
  EXPECT_TRUE(JsonEqual(R"({"cmdline":"quiet"})", next_->Get(kKernel)->GetData()));
}

TEST_F(NextBootStoreTest, TransactionThatCannotBeginIsRefused) {
  RawDatabase other(env_.StorePath());
  ASSERT_EQ("", other.Exec("BEGIN IMMEDIATE"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [&] { next_->Set(MakeObject(kKernel, R"({"cmdline":"quiet"})")); }, 2000,
      "Begin Transaction failed for: ExecuteUnderTransaction"));
  ASSERT_EQ("", other.Exec("ROLLBACK"));
  EXPECT_EQ("<no row>", raw_->Column(kKernel, "Value", kTable));
}

}  // namespace
