// Bulk writes through the store handle: every instance of a key replaced in
// one transaction, whole or one layer at a time.
#include <stdexcept>

#include "StoreFixture.h"
#include "sqlite/DBStore.h"
#include "store/ConfigStoreImpl.h"
#include "store/StoreTransactions.h"
#include "validation/Validation.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

using StoreBulkWritesTest = StoreFixture;

ObjectPtr Iface(const char* name, const std::string& members = "") {
  return MakeObject(Id("iface", "net", name),
                    std::string(R"({"name":")") + name + "\"" +
                        (members.empty() ? "" : "," + members) + "}");
}

TEST_F(StoreBulkWritesTest, SetInstancesReplacesEveryInstance) {
  store_->SetInstances({Iface("eth9", R"("mtu":1)")}, EXTERNAL);
  LogCapture log;
  store_->SetInstances({Iface("eth0", R"("mtu":1500,"speed":10)"), nullptr,
                        Iface("eth1", R"("mtu":9000,"carrier":true)")},
                       EXTERNAL);
  EXPECT_TRUE(log.Has(1, "[1041] SetInstances: Object handle is null"));
  EXPECT_TRUE(log.Has(3, "SetInstances : comp corv grp net key iface id eth0, context: 1"));
  EXPECT_EQ((std::vector<std::string>{"eth0", "eth1"}), raw_->Identifiers("iface", "net"));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500})",
                        raw_->Column(Id("iface", "net", "eth0"), "UserValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","speed":10})",
                        raw_->Column(Id("iface", "net", "eth0"), "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","carrier":true})",
                        raw_->Column(Id("iface", "net", "eth1"), "CachedValue")));
}

TEST_F(StoreBulkWritesTest, SetInstancesWithInternalContextWritesAutoConfiguration) {
  store_->SetInstances({Iface("eth0", R"("mtu":1500)")}, INTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":1500})",
                        raw_->Column(Id("iface", "net", "eth0"), "AutoConfValue")));
  EXPECT_EQ("<null>", raw_->Column(Id("iface", "net", "eth0"), "UserValue"));
}

TEST_F(StoreBulkWritesTest, EmptyListsAreRefused) {
  const std::string message = "The list of configuration objects is empty";
  EXPECT_TRUE(Throws<InvalidArgumentException>([this] { store_->SetInstances({}, EXTERNAL); },
                                               1061, message));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [this] { store_->SetInstances({nullptr, nullptr}, EXTERNAL); }, 1061, message));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [this] { store_->SetUserDataInstances({nullptr}, INTERNAL); }, 1061, message));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [this] { store_->SetCachedDataInstances({}); }, 1061, message));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [this] { store_->SetVitalDataInstances({}); }, 1061, message));
}

TEST_F(StoreBulkWritesTest, ObjectsOfAnotherGroupAreRefusedBeforeAnyWrite) {
  store_->SetInstances({Iface("eth9")}, EXTERNAL);
  const std::string message =
      "All configuration objects must have the same component, group and key";
  ObjectList mixed{Iface("eth0"), MakeObject(Id("iface", "lab", "x"), R"({"name":"x"})")};
  EXPECT_TRUE(Throws<InvalidArgumentException>([&] { store_->SetInstances(mixed, EXTERNAL); },
                                               1062, message));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { store_->SetUserDataInstances(mixed, EXTERNAL); }, 1062, message));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { store_->SetCachedDataInstances(mixed); }, 1062, message));
  EXPECT_TRUE(Throws<InvalidArgumentException>(
      [&] { store_->SetVitalDataInstances(mixed); }, 1062, message));
  EXPECT_EQ(std::vector<std::string>{"eth9"}, raw_->Identifiers("iface", "net"));
  EXPECT_TRUE(raw_->Identifiers("iface", "lab").empty());
}

TEST_F(StoreBulkWritesTest, EveryObjectNeedsAnInstanceId) {
  ObjectList list{Iface("eth0"), std::make_shared<ConfigStoreObject>(Id("iface", "net"))};
  EXPECT_TRUE(Throws<ValidationException>([&] { store_->SetInstances(list, EXTERNAL); }, 2000,
                                          "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(Throws<ValidationException>([&] { store_->SetVitalDataInstances(list); }, 2000,
                                          "Non-Singleton object should contain instanceId"));
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
}

TEST_F(StoreBulkWritesTest, SingletonsAreRefused) {
  const std::string message = "API called for singleton object, non-singleton expected";
  ObjectList dns{MakeObject(Id("dns", "net"), R"({"domain":"a"})")};
  EXPECT_TRUE(
      Throws<ValidationException>([&] { store_->SetInstances(dns, EXTERNAL); }, 2000, message));
  EXPECT_TRUE(Throws<ValidationException>([&] { store_->SetUserDataInstances(dns, EXTERNAL); },
                                          2000, message));
  EXPECT_TRUE(
      Throws<ValidationException>([&] { store_->SetCachedDataInstances(dns); }, 2000, message));
  EXPECT_TRUE(
      Throws<ValidationException>([&] { store_->SetVitalDataInstances(dns); }, 2000, message));
}

TEST_F(StoreBulkWritesTest, AnInvalidObjectStopsTheWholeList) {
  store_->SetInstances({Iface("eth9")}, EXTERNAL);
  EXPECT_THROW(store_->SetInstances({Iface("eth0"), Iface("eth1", R"("mtu":"big")")}, EXTERNAL),
               ValidationException);
  EXPECT_THROW(store_->SetUserDataInstances({Iface("eth0"), Iface("eth1", R"("speed":1)")},
                                            EXTERNAL),
               ValidationException);
  EXPECT_THROW(store_->SetVitalDataInstances({Iface("eth0", R"("speed":1)"),
                                              Iface("eth1", R"("mtu":1)")}),
               ValidationException);
  EXPECT_EQ(std::vector<std::string>{"eth9"}, raw_->Identifiers("iface", "net"));
  EXPECT_EQ("<null>", raw_->Column(Id("iface", "net", "eth9"), "VitalValue"));
}

TEST_F(StoreBulkWritesTest, SetUserDataInstancesReplacesTheCallersLayerOnly) {
  store_->SetInstances({Iface("eth9", R"("mtu":1,"speed":5)")}, EXTERNAL);
  store_->SetUserDataInstances({Iface("eth9", R"("mtu":7)")}, INTERNAL);
  LogCapture log;
  store_->SetUserDataInstances({Iface("eth0", R"("mtu":1500)"), Iface("eth1", R"("mtu":9000)")},
                               EXTERNAL);
  EXPECT_TRUE(log.Has(3, "SetUserDataInstances : comp corv grp net key iface id eth0, context: 1"));
  // The other rows stay, without a user layer.
  EXPECT_EQ((std::vector<std::string>{"eth0", "eth1", "eth9"}), raw_->Identifiers("iface", "net"));
  const ConfigStoreObjectId eth9 = Id("iface", "net", "eth9");
  EXPECT_EQ("<null>", raw_->Column(eth9, "UserValue"));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth9","speed":5})", raw_->Column(eth9, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth9","mtu":7})", raw_->Column(eth9, "AutoConfValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","mtu":9000})",
                        raw_->Column(Id("iface", "net", "eth1"), "UserValue")));

  store_->SetUserDataInstances({Iface("eth1", R"("mtu":1)")}, INTERNAL);
  EXPECT_EQ("<null>", raw_->Column(eth9, "AutoConfValue"));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","mtu":1})",
                        raw_->Column(Id("iface", "net", "eth1"), "AutoConfValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth1","mtu":9000})",
                        raw_->Column(Id("iface", "net", "eth1"), "UserValue")));
}

TEST_F(StoreBulkWritesTest, UserInstancesDuringUpgradeTwoFollowTheSchemasAnswer) {
  SetUpgradeCtx(2);
  store_->SetUserDataInstances({Iface("eth0", R"("mtu":1500)")}, EXTERNAL);
  EXPECT_EQ("1", raw_->Column(Id("iface", "net", "eth0"), "Success"));
}

TEST_F(StoreBulkWritesTest, SetVitalAndCachedDataInstancesReplaceTheirLayers) {
  store_->SetInstances({Iface("eth9", R"("mtu":1,"speed":5,"carrier":false)")}, EXTERNAL);
  LogCapture log;
  store_->SetVitalDataInstances({Iface("eth0", R"("speed":100)")});
  store_->SetCachedDataInstances({Iface("eth0", R"("carrier":true)")});
  EXPECT_TRUE(log.Has(3, "SetVitalDataInstances : comp corv grp net key iface id eth0, context: 1"));
  EXPECT_TRUE(
      log.Has(3, "SetCachedDataInstances : comp corv grp net key iface id eth0, context: 1"));
  const ConfigStoreObjectId eth9 = Id("iface", "net", "eth9");
  EXPECT_EQ("<null>", raw_->Column(eth9, "VitalValue"));
  EXPECT_EQ("<null>", raw_->Column(eth9, "CachedValue"));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth9","mtu":1})", raw_->Column(eth9, "UserValue")));
  const ConfigStoreObjectId eth0 = Id("iface", "net", "eth0");
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","speed":100})", raw_->Column(eth0, "VitalValue")));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","carrier":true})", raw_->Column(eth0, "CachedValue")));
}

TEST_F(StoreBulkWritesTest, FailureInsideTheTransactionIsWrappedAndUndone) {
  store_->SetInstances({Iface("eth9", R"("mtu":1)")}, EXTERNAL);
  ASSERT_EQ("", raw_->RefuseWrites("INSERT", "iface"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [this] { store_->SetInstances({Iface("eth0")}, EXTERNAL); }, 2000,
      "Operation failed: WriteComplete failed"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [this] { store_->SetUserDataInstances({Iface("eth0")}, EXTERNAL); }, 2000,
      "Operation failed: Write user data failed"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [this] { store_->SetVitalDataInstances({Iface("eth0", R"("speed":1)")}); }, 2000,
      "Operation failed: Write config instances failed"));
  // The layer deletes and the delete of every instance were undone.
  EXPECT_EQ(std::vector<std::string>{"eth9"}, raw_->Identifiers("iface", "net"));
  EXPECT_TRUE(JsonEqual(R"({"name":"eth9","mtu":1})",
                        raw_->Column(Id("iface", "net", "eth9"), "UserValue")));
  EXPECT_THROW(store_->CommitTransaction(), ConfigStoreException);
}

TEST_F(StoreBulkWritesTest, FailureInsideTheCallersTransactionUndoesOnlyTheBulkWrite) {
  ASSERT_EQ("", raw_->RefuseWrites("INSERT", "iface"));
  ConfigStoreTransaction guard(store_);
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"kept"})"), EXTERNAL);
  EXPECT_THROW(store_->SetInstances({Iface("eth0")}, EXTERNAL), ConfigStoreException);
  EXPECT_EQ(0, guard.Commit());
  EXPECT_TRUE(JsonEqual(R"({"text":"kept"})", raw_->Column(Id("motd", "sys"), "UserValue")));
}

// Another connection holds the write lock for longer than the store waits.
TEST_F(StoreBulkWritesTest, TransactionThatCannotBeginIsRefused) {
  RawDatabase other(env_.StorePath());
  ASSERT_EQ("", other.Exec("BEGIN IMMEDIATE"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [this] { store_->SetInstances({Iface("eth0")}, EXTERNAL); }, 2000,
      "Begin Transaction failed for: SetInstances"));
  ASSERT_EQ("", other.Exec("ROLLBACK"));
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
}

// The transaction frame shared by the bulk writes, DeleteInstances, Update
// and the next-boot store, with a failure that is not a store exception.
TEST_F(StoreBulkWritesTest, FrameWrapsOtherExceptionsUnderEitherPolicy) {
  auto store = std::static_pointer_cast<ConfigStoreImpl>(store_);
  for (TransactionFailure policy :
       {TransactionFailure::kWrapAll, TransactionFailure::kKeepStoreExceptions}) {
    EXPECT_TRUE(Throws<ConfigStoreException>(
        [&] {
          RunInTransaction(store->GetConnection(), "Test", policy, [this] {
            store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"gone"})"), EXTERNAL);
            throw std::runtime_error("plain failure");
          });
        },
        2000, "Operation failed: plain failure"));
    EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
  }
  EXPECT_TRUE(Throws<ValidationException>(
      [&] {
        RunInTransaction(store->GetConnection(), "Test", TransactionFailure::kKeepStoreExceptions,
                         [] { ThrowRuleViolation("kept as it is"); });
      },
      2000, "kept as it is"));
  EXPECT_THROW(store_->CommitTransaction(), ConfigStoreException);
}

// Only standard exceptions are the frame's to handle: anything else leaves
// the transaction open for its thrower, who can still commit what was done.
TEST_F(StoreBulkWritesTest, FrameLeavesOtherThrowablesTheirTransaction) {
  auto store = std::static_pointer_cast<ConfigStoreImpl>(store_);
  for (TransactionFailure policy :
       {TransactionFailure::kWrapAll, TransactionFailure::kKeepStoreExceptions,
        TransactionFailure::kWrapAllAsTransactionFailed}) {
    EXPECT_THROW(RunInTransaction(store->GetConnection(), "Test", policy,
                                  [this] {
                                    store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"kept"})"),
                                                EXTERNAL);
                                    throw 42;
                                  }),
                 int);
    EXPECT_EQ(1, store->GetConnection()->TransactionDepth());
    EXPECT_EQ(0, store_->CommitTransaction());
    EXPECT_TRUE(JsonEqual(R"({"text":"kept"})", raw_->Column(Id("motd", "sys"), "UserValue")));
    store_->Delete(Id("motd", "sys"));
  }
}

}  // namespace
