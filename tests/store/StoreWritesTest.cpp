// Single-object writes and deletes through the store handle: which layer
// of the row each writes, their checks, traces and failures.
#include "StoreFixture.h"
#include "store/ConfigStoreImpl.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

using StoreWritesTest = StoreFixture;

const ConfigStoreObjectId kDns = Id("dns", "net");

// ---- Set

TEST_F(StoreWritesTest, SetSplitsTheObjectIntoItsLayers) {
  LogCapture log;
  store_->Set(MakeObject(kDns, R"({"domain":"a.org","uptime":7,"lastSync":"noon"})"), EXTERNAL);
  EXPECT_TRUE(log.Has(3, "Set : comp corv grp net key dns, context: 1"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":7})", raw_->Column(kDns, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"lastSync":"noon"})", raw_->Column(kDns, "CachedValue")));
  EXPECT_EQ("<null>", raw_->Column(kDns, "AutoConfValue"));
  EXPECT_EQ("1", raw_->Column(kDns, "Revision"));
}

TEST_F(StoreWritesTest, SetWithInternalContextWritesTheAutoConfigurationLayer) {
  LogCapture log;
  store_->Set(MakeObject(kDns, R"({"domain":"auto.org"})"), INTERNAL);
  EXPECT_TRUE(log.Has(3, "Set : comp corv grp net key dns, context: 0"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto.org"})", raw_->Column(kDns, "AutoConfValue")));
  EXPECT_EQ("<null>", raw_->Column(kDns, "UserValue"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto.org"})", store_->Get(kDns)->GetData()));
}

TEST_F(StoreWritesTest, SetOfANullObjectDoesNothing) {
  LogCapture log;
  store_->Set(nullptr, EXTERNAL);
  store_->SetUserData(nullptr, EXTERNAL);
  store_->SetVitalData(nullptr);
  store_->SetCachedData(nullptr);
  store_->Update(nullptr, EXTERNAL);
  for (const char* operation : {"Set", "SetUserData", "SetVitalData", "SetCachedData", "Update"})
    EXPECT_TRUE(log.Has(1, std::string("[1041] ") + operation + ": Object handle is null"))
        << operation;
}

TEST_F(StoreWritesTest, SetRemovesEmptyValuesBeforeWriting) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org","options":{},"hosts":[]})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org"})", raw_->Column(kDns, "UserValue")));
}

TEST_F(StoreWritesTest, SetOfAnInvalidObjectWritesNothing) {
  try {
    store_->Set(MakeObject(kDns, R"({"domain":1,"bogus":true})"), EXTERNAL);
    FAIL() << "no exception";
  } catch (const ValidationException& e) {
    EXPECT_EQ(1084, e.GetErrorCode());
    EXPECT_STREQ("Configuration failed schema validation", e.what());
    EXPECT_EQ(2u, e.GetErrors().size());
  }
  EXPECT_EQ("<no row>", raw_->Column(kDns, "UserValue"));
}

TEST_F(StoreWritesTest, SetChecksTheIdentifier) {
  EXPECT_TRUE(Throws<ValidationException>(
      [this] { store_->Set(MakeObject(Id("iface", "net"), R"({"mtu":1})"), EXTERNAL); }, 2000,
      "Non-Singleton object should contain instanceId"));
}

// ---- Layer writes

TEST_F(StoreWritesTest, SetUserDataWritesOnlyTheCallersLayer) {
  store_->SetVitalData(MakeObject(kDns, R"({"uptime":3})"));
  LogCapture log;
  store_->SetUserData(MakeObject(kDns, R"({"domain":"user.org"})"), EXTERNAL);
  EXPECT_TRUE(log.Has(3, "SetUserData : comp corv grp net key dns, context: 1"));
  store_->SetUserData(MakeObject(kDns, R"({"domain":"auto.org"})"), INTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"user.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto.org"})", raw_->Column(kDns, "AutoConfValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":3})", raw_->Column(kDns, "VitalValue")));
  // The user layer overrides the auto-configuration layer on reads.
  EXPECT_TRUE(JsonEqual(R"({"domain":"user.org","uptime":3})", store_->Get(kDns)->GetData()));
}

TEST_F(StoreWritesTest, SetUserDataRefusesNonUserMembers) {
  try {
    store_->SetUserData(MakeObject(kDns, R"({"domain":"a","uptime":1})"), EXTERNAL);
    FAIL() << "no exception";
  } catch (const ValidationException& e) {
    EXPECT_EQ(1084, e.GetErrorCode());
    ASSERT_EQ(1u, e.GetErrors().size());
    EXPECT_EQ("/uptime", e.GetErrors()[0].location);
  }
  EXPECT_EQ("<no row>", raw_->Column(kDns, "UserValue"));
}

TEST_F(StoreWritesTest, UserWriteDuringUpgradeTwoFollowsTheSchemasAnswer) {
  SetUpgradeCtx(2);
  store_->SetUserData(MakeObject(kDns, R"({"domain":"up.org"})"), EXTERNAL);
  EXPECT_EQ("1", raw_->Column(kDns, "Success"));
  // A schema that does not apply during upgrades leaves the value pending
  // until a boot confirms it.
  store_->SetUserData(MakeObject(Id("legacy", "sys"), R"({"v":"x"})"), EXTERNAL);
  EXPECT_EQ("0", raw_->Column(Id("legacy", "sys"), "Success"));
}

TEST_F(StoreWritesTest, SetVitalAndCachedDataWriteTheirLayers) {
  store_->SetUserData(MakeObject(kDns, R"({"domain":"user.org"})"), EXTERNAL);
  LogCapture log;
  store_->SetVitalData(MakeObject(kDns, R"({"uptime":9})"));
  store_->SetCachedData(MakeObject(kDns, R"({"lastSync":"dusk"})"));
  EXPECT_TRUE(log.Has(3, "SetVitalData : comp corv grp net key dns, context: 1"));
  EXPECT_TRUE(log.Has(3, "SetCachedData : comp corv grp net key dns, context: 1"));
  EXPECT_TRUE(JsonEqual(R"({"uptime":9})", raw_->Column(kDns, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"lastSync":"dusk"})", raw_->Column(kDns, "CachedValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"user.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"user.org","uptime":9,"lastSync":"dusk"})",
                        store_->Get(kDns)->GetData()));
}

TEST_F(StoreWritesTest, VitalAndCachedWritesValidateTheirLayer) {
  EXPECT_THROW(store_->SetVitalData(MakeObject(kDns, R"({"domain":"a"})")), ValidationException);
  EXPECT_THROW(store_->SetCachedData(MakeObject(kDns, R"({"uptime":1})")), ValidationException);
  EXPECT_EQ("<no row>", raw_->Column(kDns, "VitalValue"));
}

// ---- The boot-context rule

TEST_F(StoreWritesTest, ExternalUserWritesAreRefusedDuringBoot) {
  StartBoot();
  const std::string message = "API cannot be invoked with EXTERNAL context during boot";
  auto user = [] { return MakeObject(kDns, R"({"domain":"boot.org"})"); };
  try {
    store_->SetUserData(user(), EXTERNAL);
    FAIL() << "no exception";
  } catch (const ValidationException& e) {
    EXPECT_EQ(2000, e.GetErrorCode());
    EXPECT_EQ(message, e.what());
    EXPECT_TRUE(e.GetErrors().empty());
  }
  EXPECT_TRUE(Throws<ValidationException>([&] { store_->Set(user(), EXTERNAL); }, 2000, message));
  EXPECT_TRUE(
      Throws<ValidationException>([&] { store_->Update(user(), EXTERNAL); }, 2000, message));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] {
        store_->SetInstances({MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1})")},
                             EXTERNAL);
      },
      2000, message));
  EXPECT_TRUE(Throws<ValidationException>(
      [&] {
        store_->SetUserDataInstances(
            {MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1})")}, EXTERNAL);
      },
      2000, message));
  EXPECT_EQ("<no row>", raw_->Column(kDns, "UserValue"));
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
}

TEST_F(StoreWritesTest, BootAllowsInternalExemptUpgradeAndNonUserWrites) {
  StartBoot();
  store_->SetUserData(MakeObject(kDns, R"({"domain":"auto.org"})"), INTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto.org"})", raw_->Column(kDns, "AutoConfValue")));
  // The schema exempts the object.
  store_->SetUserData(MakeObject(Id("clock", "sys"), R"({"zone":"UTC"})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"zone":"UTC"})", raw_->Column(Id("clock", "sys"), "UserValue")));
  // Not user data: only vital members.
  store_->Set(MakeObject(kDns, R"({"uptime":1})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"uptime":1})", raw_->Column(kDns, "VitalValue")));
  store_->Set(MakeObject(Id("hwinfo", "sys"), R"({"serial":"S1"})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"serial":"S1"})", raw_->Column(Id("hwinfo", "sys"), "VitalValue")));
  store_->SetVitalData(MakeObject(kDns, R"({"uptime":2})"));
  store_->SetCachedData(MakeObject(kDns, R"({"lastSync":"x"})"));
  // An upgrade in progress lifts the rule.
  SetUpgradeCtx(1);
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"upgrading"})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"text":"upgrading"})", raw_->Column(Id("motd", "sys"), "UserValue")));
}

// ---- Update

TEST_F(StoreWritesTest, UpdateWithAnEmptyObjectChangesNothing) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  LogCapture log;
  store_->Update(MakeObject(kDns, "{}"), EXTERNAL);
  // Clean-up empties an object of empty members only.
  store_->Update(MakeObject(kDns, R"({"options":{}})"), EXTERNAL);
  EXPECT_TRUE(log.Has(1,
                      "Update called with empty object for comp corv grp net key dns, deletes are "
                      "not supported"));
  EXPECT_TRUE(log.Has(3, "Update : comp corv grp net key dns, context: 1"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_EQ("1", raw_->Column(kDns, "Revision"));
}

TEST_F(StoreWritesTest, UpdateOfAnAbsentRowWritesTheUpdateItself) {
  store_->Update(MakeObject(kDns, R"({"domain":"new.org","uptime":4})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"new.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":4})", raw_->Column(kDns, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"new.org","uptime":4})", store_->Get(kDns)->GetData()));
}

TEST_F(StoreWritesTest, UpdateOfAnAbsentRowWithInternalContextWritesAutoConfiguration) {
  store_->Update(MakeObject(kDns, R"({"domain":"auto.org"})"), INTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"auto.org"})", raw_->Column(kDns, "AutoConfValue")));
  EXPECT_EQ("<null>", raw_->Column(kDns, "UserValue"));
}

TEST_F(StoreWritesTest, UpdateMergesIntoTheStoredObject) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org","ttl":5,"options":{"rotate":true}})"),
              EXTERNAL);
  store_->Update(MakeObject(kDns, R"({"ttl":60,"options":{"ndots":2}})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org","ttl":60,"options":{"rotate":true,"ndots":2}})",
                        raw_->Column(kDns, "UserValue")));
}

TEST_F(StoreWritesTest, UpdateAddsAnInstanceAndKeepsTheOthers) {
  store_->Set(MakeObject(kDns, R"({"hosts":[{"name":"a","ip":"10.0.0.1"},
                                            {"name":"b","ip":"10.0.0.2"}]})"),
              EXTERNAL);
  store_->Update(MakeObject(kDns, R"({"hosts":[{"name":"c","ip":"10.0.0.3"},
                                               {"name":"a","ip":"10.0.0.9"}]})"),
                 EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"hosts":[{"name":"a","ip":"10.0.0.9"},{"name":"b","ip":"10.0.0.2"},
                                    {"name":"c","ip":"10.0.0.3"}]})",
                        raw_->Column(kDns, "UserValue")));
}

TEST_F(StoreWritesTest, UpdateWritesOnlyTheCallersLayer) {
  store_->Set(MakeObject(kDns, R"({"domain":"user.org","uptime":1})"), EXTERNAL);
  store_->Update(MakeObject(kDns, R"({"ttl":30})"), INTERNAL);
  // The update meets an empty auto-configuration layer: that layer gets the
  // update alone, the user layer stays as it was.
  EXPECT_TRUE(JsonEqual(R"({"ttl":30})", raw_->Column(kDns, "AutoConfValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"user.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":1})", raw_->Column(kDns, "VitalValue")));
  store_->Update(MakeObject(kDns, R"({"domain":"auto.org"})"), INTERNAL);
  EXPECT_TRUE(
      JsonEqual(R"({"ttl":30,"domain":"auto.org"})", raw_->Column(kDns, "AutoConfValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"user.org","ttl":30,"uptime":1})",
                        store_->Get(kDns)->GetData()));
}

TEST_F(StoreWritesTest, ExternalUpdateLeavesTheAutoConfigurationOutOfTheUserLayer) {
  store_->Set(MakeObject(kDns, R"({"domain":"user.org","uptime":1})"), EXTERNAL);
  store_->Update(MakeObject(kDns, R"({"ttl":30,"options":{"rotate":true}})"), INTERNAL);
  // The merged whole holds the auto-configured members; the user layer
  // written takes only the stored user layer and the update.
  store_->Update(MakeObject(kDns, R"({"domain":"b.org","options":{}})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"b.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"ttl":30,"options":{"rotate":true}})",
                        raw_->Column(kDns, "AutoConfValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":1})", raw_->Column(kDns, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"b.org","ttl":30,"options":{"rotate":true},"uptime":1})",
                        store_->Get(kDns)->GetData()));
}

// Counts the statements run on a connection that read rows of the Config
// table, from the moment it is made until it goes out of scope.
class ConfigReadCounter {
 public:
  explicit ConfigReadCounter(sqlite3* db) : db_(db) {
    sqlite3_trace_v2(db_, SQLITE_TRACE_STMT, &ConfigReadCounter::OnStatement, this);
  }
  ~ConfigReadCounter() { sqlite3_trace_v2(db_, 0, nullptr, nullptr); }
  int Reads() const { return reads_; }

 private:
  static int OnStatement(unsigned, void* self, void* stmt, void*) {
    std::string sql = sqlite3_sql(static_cast<sqlite3_stmt*>(stmt));
    if (sql.rfind("SELECT", 0) == 0 && sql.find("FROM Config") != std::string::npos)
      ++static_cast<ConfigReadCounter*>(self)->reads_;
    return 0;
  }

  sqlite3* db_;
  int reads_ = 0;
};

TEST_F(StoreWritesTest, UpdateReadsItsRowOnce) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org","uptime":1})"), EXTERNAL);
  auto impl = std::static_pointer_cast<ConfigStoreImpl>(store_);
  ConfigReadCounter counter(impl->GetConnection()->Handle());
  store_->Update(MakeObject(kDns, R"({"ttl":60})"), EXTERNAL);
  EXPECT_EQ(counter.Reads(), 1);
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org","ttl":60})", raw_->Column(kDns, "UserValue")));
}

TEST_F(StoreWritesTest, UpdateOfUserDataClearsAPendingValueAndNonUserDataKeepsIt) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  ASSERT_EQ("", raw_->Exec(R"(UPDATE Config SET DesiredValue = '{"domain":"next.org"}')"));
  // Only a vital member: not user data, so the pending value survives.
  store_->Update(MakeObject(kDns, R"({"uptime":5})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"next.org"})", raw_->Column(kDns, "DesiredValue")));
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"uptime":5})", raw_->Column(kDns, "VitalValue")));
  // User data replaces it.
  store_->Update(MakeObject(kDns, R"({"ttl":1})"), EXTERNAL);
  EXPECT_EQ("<null>", raw_->Column(kDns, "DesiredValue"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org","ttl":1})", raw_->Column(kDns, "UserValue")));
}

TEST_F(StoreWritesTest, UpdateValidatesTheMergedWholeAndWritesNothingWhenItFails) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  // Unknown members pass the update check but not the check of the whole.
  try {
    store_->Update(MakeObject(kDns, R"({"ttl":5,"bogus":1})"), EXTERNAL);
    FAIL() << "no exception";
  } catch (const ValidationException& e) {
    EXPECT_EQ(1084, e.GetErrorCode());
  }
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org"})", raw_->Column(kDns, "UserValue")));
  // The transaction was cancelled: none is left open.
  EXPECT_THROW(store_->CommitTransaction(), ConfigStoreException);
  // A type error is refused by the update check itself.
  EXPECT_THROW(store_->Update(MakeObject(kDns, R"({"ttl":"x"})"), EXTERNAL), ValidationException);
}

TEST_F(StoreWritesTest, UpdateFailureInsideItsTransactionReachesTheCallerUnchanged) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  ASSERT_EQ("", raw_->RefuseWrites("UPDATE", "dns"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [this] { store_->Update(MakeObject(kDns, R"({"ttl":5})"), EXTERNAL); }, 2000,
      "Database call to update configuration by context failed for: comp corv grp net key dns"));
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_THROW(store_->CommitTransaction(), ConfigStoreException);
}

// ---- Delete

TEST_F(StoreWritesTest, DeleteRemovesTheRow) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org","uptime":1})"), EXTERNAL);
  LogCapture log;
  store_->Delete(kDns);
  EXPECT_TRUE(log.Has(3, "Delete : comp corv grp net key dns, context: 1"));
  EXPECT_EQ("<no row>", raw_->Column(kDns, "UserValue"));
  EXPECT_FALSE(store_->Get(kDns));
  // Deleting what is not there is no error.
  store_->Delete(kDns);
}

TEST_F(StoreWritesTest, DeleteOfOneInstanceKeepsTheOthers) {
  store_->SetInstances({MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0"})"),
                        MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1"})")},
                       EXTERNAL);
  store_->Delete(Id("iface", "net", "eth0"));
  EXPECT_EQ(std::vector<std::string>{"eth1"}, raw_->Identifiers("iface", "net"));
  EXPECT_TRUE(Throws<ValidationException>([this] { store_->Delete(Id("iface", "net")); }, 2000,
                                          "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(Throws<ConfigStoreException>([this] { store_->Delete(Id("nope", "net")); }, 1037,
                                           "Schema not found for: comp corv grp net key nope"));
}

// ---- DeleteInstances

class DeleteInstancesTest : public StoreFixture {
 protected:
  void SetUp() override {
    StoreFixture::SetUp();
    store_->SetInstances(
        {MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1500})"),
         MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1","mtu":9000})"),
         MakeObject(Id("iface", "net", "eth2"), R"({"name":"eth2","mtu":9000})")},
        EXTERNAL);
  }
};

TEST_F(DeleteInstancesTest, EmptyFilterWithAnInstanceIdDeletesThatRow) {
  LogCapture log;
  store_->DeleteInstances(Filter(Id("iface", "net", "eth1")));
  EXPECT_TRUE(log.Has(3, "DeleteInstances : comp corv grp net key iface id eth1, context: 1"));
  EXPECT_EQ((std::vector<std::string>{"eth0", "eth2"}), raw_->Identifiers("iface", "net"));
}

TEST_F(DeleteInstancesTest, EmptyFilterWithoutInstanceIdDeletesEveryRow) {
  store_->SetInstances({MakeObject(Id("iface", "lab", "x"), R"({"name":"x"})")}, EXTERNAL);
  store_->DeleteInstances(Filter(Id("iface", "net")));
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
  EXPECT_EQ(std::vector<std::string>{"x"}, raw_->Identifiers("iface", "lab"));
}

TEST_F(DeleteInstancesTest, FilterDeletesTheMatchingInstances) {
  auto jumbo = Filter(Id("iface", "net"));
  jumbo->SetValue("mtu", 9000);
  store_->DeleteInstances(jumbo);
  EXPECT_EQ(std::vector<std::string>{"eth0"}, raw_->Identifiers("iface", "net"));
  auto none = Filter(Id("iface", "net"));
  none->SetValue("mtu", 1);
  store_->DeleteInstances(none);
  EXPECT_EQ(std::vector<std::string>{"eth0"}, raw_->Identifiers("iface", "net"));
}

TEST_F(DeleteInstancesTest, NullFilterAndSingletonsAreRefused) {
  LogCapture log;
  store_->DeleteInstances(nullptr);
  EXPECT_TRUE(log.Has(1, "[1041] DeleteInstances: Object handle is null"));
  EXPECT_TRUE(Throws<ValidationException>(
      [this] { store_->DeleteInstances(Filter(kDns)); }, 2000,
      "API called for singleton object, non-singleton expected"));
  EXPECT_EQ(3u, raw_->Identifiers("iface", "net").size());
}

TEST_F(DeleteInstancesTest, FailureInsideTheTransactionIsWrappedAndUndone) {
  ASSERT_EQ("", raw_->RefuseWrites("DELETE", "iface"));
  auto jumbo = Filter(Id("iface", "net"));
  jumbo->SetValue("mtu", 9000);
  std::string message;
  try {
    store_->DeleteInstances(jumbo);
    FAIL() << "no exception";
  } catch (const ConfigStoreException& e) {
    EXPECT_EQ(2000, e.GetErrorCode());
    message = e.what();
  }
  EXPECT_TRUE(message == "Operation failed: Delete failed: comp corv grp net key iface id eth1" ||
              message == "Operation failed: Delete failed: comp corv grp net key iface id eth2")
      << message;
  EXPECT_EQ(3u, raw_->Identifiers("iface", "net").size());
  EXPECT_THROW(store_->CommitTransaction(), ConfigStoreException);
}

}  // namespace
