// Opening a store, the next-boot store's availability, transactions on the
// handle and the scoped transaction guard.
#include "StoreFixture.h"
#include "store/GetDBStore.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

using StoreHandleTest = StoreFixture;

TEST_F(StoreHandleTest, EmptyNamespaceOpensTheStore) {
  std::shared_ptr<ConfigStore> other = ConfigStore::GetStore("");
  ASSERT_TRUE(other);
  EXPECT_NE(other.get(), store_.get());
}

TEST_F(StoreHandleTest, AnyOtherNamespaceIsRefused) {
  EXPECT_TRUE(Throws<InvalidArgumentException>([] { ConfigStore::GetStore("tenant"); }, 2000,
                                               "Invalid value for namespace."));
  EXPECT_TRUE(Throws<InvalidArgumentException>([] { ConfigStore::GetStore(" "); }, 2000,
                                               "Invalid value for namespace."));
}

TEST_F(StoreHandleTest, MissingDatabaseFailsToConnect) {
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("absent.db"));
  EXPECT_TRUE(Throws<ConfigStoreException>([] { ConfigStore::GetStore(""); }, 2000,
                                           "Failed to connect to database"));
}

TEST_F(StoreHandleTest, ConnectionMayBeOptional) {
  EXPECT_TRUE(GetDBStore(DBStore::CONFIG_STORE, false));
  ScopedEnv missing("CORV_CONFIGSTORE_DB", env_.Dir().File("absent.db"));
  EXPECT_FALSE(GetDBStore(DBStore::CONFIG_STORE, false));
  EXPECT_TRUE(Throws<ConfigStoreException>([] { GetDBStore(DBStore::CONFIG_STORE, true); }, 2000,
                                           "Failed to connect to database"));
}

TEST_F(StoreHandleTest, HandleKeepsItsConnectionWhenOthersAreReleased) {
  std::shared_ptr<ConfigStore> other = ConfigStore::GetStore("");
  other.reset();
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"hello"})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"text":"hello"})", store_->Get(Id("motd", "sys"))->GetData()));
}

TEST_F(StoreHandleTest, NextBootStoreIsAvailableAtRunTime) {
  EXPECT_TRUE(store_->GetNextBootStore());
  // Only the exact text "true" means booting.
  SetKeyValue("IS_BOOT", "True");
  EXPECT_TRUE(store_->GetNextBootStore());
  SetKeyValue("IS_BOOT", "1");
  EXPECT_TRUE(store_->GetNextBootStore());
}

TEST_F(StoreHandleTest, NextBootStoreIsRefusedDuringBoot) {
  StartBoot();
  try {
    store_->GetNextBootStore();
    FAIL() << "no exception";
  } catch (const ValidationException& e) {
    EXPECT_EQ(2000, e.GetErrorCode());
    EXPECT_STREQ("NextBootStore is not supported during the upgrade or boot phase", e.what());
    EXPECT_TRUE(e.GetErrors().empty());
  }
}

TEST_F(StoreHandleTest, NextBootStoreIsRefusedDuringAnUpgrade) {
  SetUpgradeCtx(1);
  EXPECT_TRUE(Throws<ValidationException>([this] { store_->GetNextBootStore(); }, 2000,
                                          "NextBootStore is not supported during the upgrade "
                                          "or boot phase"));
  // Booting while upgrading is refused as well.
  StartBoot();
  SetUpgradeCtx(2);
  EXPECT_TRUE(Throws<ValidationException>([this] { store_->GetNextBootStore(); }, 2000,
                                          "NextBootStore is not supported during the upgrade "
                                          "or boot phase"));
}

// ---- Transactions on the handle.

TEST_F(StoreHandleTest, CommittedTransactionKeepsItsWrites) {
  ASSERT_EQ(0, store_->BeginTransaction());
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"a"})"), EXTERNAL);
  // Not visible to other connections before the commit.
  EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
  EXPECT_EQ(0, store_->CommitTransaction());
  EXPECT_EQ(R"({"text":"a"})", raw_->Column(Id("motd", "sys"), "UserValue"));
}

TEST_F(StoreHandleTest, CancelledTransactionLeavesNothing) {
  ASSERT_EQ(0, store_->BeginTransaction());
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"a"})"), EXTERNAL);
  EXPECT_EQ(0, store_->CancelTransaction());
  EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
  EXPECT_FALSE(store_->Get(Id("motd", "sys")));
}

TEST_F(StoreHandleTest, CommitWithoutTransactionFails) {
  EXPECT_TRUE(Throws<ConfigStoreException>([this] { store_->CommitTransaction(); }, 2000,
                                           "Commit transaction failed."));
}

TEST_F(StoreHandleTest, CancelWithoutTransactionFails) {
  EXPECT_TRUE(Throws<ConfigStoreException>([this] { store_->CancelTransaction(); }, 2000,
                                           "Failed to cancel nested transaction"));
}

TEST_F(StoreHandleTest, WritesNestInsideTheCallersTransaction) {
  store_->SetInstances({MakeObject(Id("iface", "net", "eth9"), R"({"name":"eth9"})")}, EXTERNAL);
  ASSERT_EQ(0, store_->BeginTransaction());
  // The bulk write and the update open and commit transactions of their
  // own inside the caller's.
  store_->SetInstances({MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":1500})")},
                       EXTERNAL);
  store_->Update(MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0","mtu":9000})"),
                 EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"name":"eth0","mtu":9000})",
                        store_->Get(Id("iface", "net", "eth0"))->GetData()));
  EXPECT_EQ(0, store_->CancelTransaction());
  // Cancelling the caller's level undoes the committed inner levels.
  EXPECT_EQ(std::vector<std::string>{"eth9"}, raw_->Identifiers("iface", "net"));
}

TEST_F(StoreHandleTest, InnerCommitDoesNotEndTheOuterTransaction) {
  ASSERT_EQ(0, store_->BeginTransaction());
  ASSERT_EQ(0, store_->BeginTransaction());
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"a"})"), EXTERNAL);
  EXPECT_EQ(0, store_->CommitTransaction());
  EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
  EXPECT_EQ(0, store_->CommitTransaction());
  EXPECT_EQ(R"({"text":"a"})", raw_->Column(Id("motd", "sys"), "UserValue"));
}

// ---- The guard.

TEST_F(StoreHandleTest, GuardRefusesANullStore) {
  std::shared_ptr<ConfigStore> none;
  EXPECT_TRUE(Throws<ConfigStoreException>([&none] { ConfigStoreTransaction guard(none); }, 2000,
                                           "Failed to use NULL as the store"));
}

TEST_F(StoreHandleTest, GuardDestroyedWithoutCommitRollsBack) {
  {
    ConfigStoreTransaction guard(store_);
    store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"a"})"), EXTERNAL);
  }
  EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
  // The guard's transaction is over: none is open any more.
  EXPECT_THROW(store_->CommitTransaction(), ConfigStoreException);
}

TEST_F(StoreHandleTest, CommittedGuardDoesNothingOnDestruction) {
  {
    ConfigStoreTransaction guard(store_);
    store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"a"})"), EXTERNAL);
    EXPECT_EQ(0, guard.Commit());
  }
  EXPECT_EQ(R"({"text":"a"})", raw_->Column(Id("motd", "sys"), "UserValue"));
  EXPECT_THROW(store_->CancelTransaction(), ConfigStoreException);
}

TEST_F(StoreHandleTest, CancelledGuardDoesNothingOnDestruction) {
  {
    ConfigStoreTransaction guard(store_);
    store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"a"})"), EXTERNAL);
    EXPECT_EQ(0, guard.Cancel());
  }
  EXPECT_EQ("<no row>", raw_->Column(Id("motd", "sys"), "UserValue"));
  EXPECT_THROW(store_->CancelTransaction(), ConfigStoreException);
}

TEST_F(StoreHandleTest, NestedGuardRollsBackOnlyItsOwnLevel) {
  ConfigStoreTransaction outer(store_);
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"outer"})"), EXTERNAL);
  {
    ConfigStoreTransaction inner(store_);
    store_->Set(MakeObject(Id("clock", "sys"), R"({"zone":"UTC"})"), EXTERNAL);
  }
  EXPECT_FALSE(store_->Get(Id("clock", "sys")));
  EXPECT_TRUE(store_->Get(Id("motd", "sys")));
  EXPECT_EQ(0, outer.Commit());
  EXPECT_EQ(R"({"text":"outer"})", raw_->Column(Id("motd", "sys"), "UserValue"));
  EXPECT_EQ("<no row>", raw_->Column(Id("clock", "sys"), "UserValue"));
}

// A store whose transactions are scripted, to watch what the guard asks of
// its store.
class ScriptedStore : public ConfigStore {
 public:
  int beginStatus = 0;
  int begins = 0, commits = 0, cancels = 0;

  std::shared_ptr<NextBootStore> GetNextBootStore() override { return nullptr; }
  std::shared_ptr<ConfigStoreObject> Get(const ConfigStoreObjectId&) override { return nullptr; }
  std::shared_ptr<ConfigStoreObject> GetDefaultConfig(const ConfigStoreObjectId&) override {
    return nullptr;
  }
  ObjectList GetDefaultConfigInstances(const std::shared_ptr<FilterSpecObject>&) override {
    return {};
  }
  std::vector<std::string> GetInstanceIds(const ConfigStoreObjectId&) override { return {}; }
  void Set(ObjectPtr, const USERDATA_CONTEXT&) override {}
  void SetUserData(ObjectPtr, const USERDATA_CONTEXT&) override {}
  void SetVitalData(ObjectPtr) override {}
  void SetCachedData(ObjectPtr) override {}
  void Update(ObjectPtr, const USERDATA_CONTEXT&) override {}
  void Delete(const ConfigStoreObjectId&) override {}
  void DeleteInstances(const std::shared_ptr<FilterSpecObject>&) override {}
  ObjectList GetInstances(const std::shared_ptr<FilterSpecObject>&) override { return {}; }
  void SetInstances(ObjectList, const USERDATA_CONTEXT&) override {}
  void SetUserDataInstances(ObjectList, const USERDATA_CONTEXT&) override {}
  void SetCachedDataInstances(ObjectList) override {}
  void SetVitalDataInstances(ObjectList) override {}
  int GetRevision(const ConfigStoreObjectId&) override { return -1; }
  std::vector<RevisionInfo> GetInstancesRevision(const ConfigStoreObjectId&) override {
    return {};
  }
  int BeginTransaction() override {
    ++begins;
    return beginStatus;
  }
  int CommitTransaction() override {
    ++commits;
    return 0;
  }
  int CancelTransaction() override {
    ++cancels;
    return 7;
  }
  std::vector<ErrorInfo> Validate(ObjectPtr) override { return {}; }
};

TEST(ConfigStoreTransactionTest, GuardThatCannotBeginThrows) {
  auto scripted = std::make_shared<ScriptedStore>();
  scripted->beginStatus = 1;
  std::shared_ptr<ConfigStore> store = scripted;
  EXPECT_TRUE(Throws<ConfigStoreException>([&store] { ConfigStoreTransaction guard(store); },
                                           2000, "Failed to start a transaction."));
  EXPECT_EQ(1, scripted->begins);
  // A guard that never began cancels nothing.
  EXPECT_EQ(0, scripted->cancels);
}

TEST(ConfigStoreTransactionTest, GuardReturnsTheStoresStatusAndEndsOnce) {
  auto scripted = std::make_shared<ScriptedStore>();
  std::shared_ptr<ConfigStore> store = scripted;
  {
    ConfigStoreTransaction guard(store);
    EXPECT_EQ(7, guard.Cancel());
  }
  EXPECT_EQ(1, scripted->cancels);
  EXPECT_EQ(0, scripted->commits);
  {
    ConfigStoreTransaction guard(store);
  }
  EXPECT_EQ(2, scripted->cancels);
  EXPECT_EQ(2, scripted->begins);
}

}  // namespace
