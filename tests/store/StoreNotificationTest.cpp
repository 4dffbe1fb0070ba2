// Changes announced to the host daemon by the store's writes: the exact
// request on the daemon's socket, and when none is sent.
#include <unistd.h>

#include "StoreFixture.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

// The request the daemon receives for a configuration name, spelt out here
// byte for byte rather than built by the library's own routines.
std::string ExpectedRequest(const std::string& name) {
  std::string body =
      R"({"method":"invoke","id":"9","params":{"serviceId":"com.velmo.corv.nexd.notifier",)"
      R"("operationId":"notify","input":{"STRUCTURE":{"operation-input":{"identifiers":[")" +
      name + R"("],"cartel_id":)" + std::to_string(getpid()) +
      R"(}}},"ctx":{"securityCtx":{"schemeId":"com.velmo.omni.std.security.no_authentication"}}},)"
      R"("jsonrpc":"2.0"})";
  return "POST /api HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) +
         "\r\nContent-Type: application/json\r\n\r\n" + body;
}

class StoreNotificationTest : public StoreFixture {
 protected:
  void SetUp() override {
    StoreFixture::SetUp();
    EnableNotification();
  }

  // Every request waiting on the daemon's socket, without waiting for more.
  std::vector<std::string> Received() {
    std::vector<std::string> requests;
    while (daemon_.HasPendingConnection()) {
      std::string request;
      if (!daemon_.ReceiveOne(&request)) break;
      requests.push_back(request);
    }
    return requests;
  }

  // Checks that exactly one request for name arrived.
  void ExpectOne(const std::string& name, const char* operation) {
    std::vector<std::string> requests = Received();
    ASSERT_EQ(1u, requests.size()) << operation;
    EXPECT_EQ(ExpectedRequest(name), requests[0]) << operation;
  }

  UnixListener daemon_{"velLocalSocketNexdNotifyOmni"};
};

const ConfigStoreObjectId kDns = Id("dns", "net");

TEST_F(StoreNotificationTest, SetSendsTheExactRequest) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  std::vector<std::string> requests = Received();
  ASSERT_EQ(1u, requests.size());
  EXPECT_EQ(ExpectedRequest("corv.net.dns"), requests[0]);
}

TEST_F(StoreNotificationTest, EveryWriteAndDeleteNotifiesOnce) {
  auto dns = [](const char* json) { return MakeObject(kDns, json); };
  auto eth = [](const char* name) {
    return MakeObject(Id("iface", "net", name), std::string(R"({"name":")") + name + "\"}");
  };
  store_->Set(dns(R"({"domain":"a"})"), INTERNAL);
  ExpectOne("corv.net.dns", "Set");
  store_->SetUserData(dns(R"({"domain":"b"})"), EXTERNAL);
  ExpectOne("corv.net.dns", "SetUserData");
  store_->SetVitalData(dns(R"({"uptime":1})"));
  ExpectOne("corv.net.dns", "SetVitalData");
  store_->SetCachedData(dns(R"({"lastSync":"x"})"));
  ExpectOne("corv.net.dns", "SetCachedData");
  store_->Update(dns(R"({"ttl":3})"), EXTERNAL);
  ExpectOne("corv.net.dns", "Update");
  store_->Delete(kDns);
  ExpectOne("corv.net.dns", "Delete");
  store_->SetInstances({eth("eth0"), eth("eth1")}, EXTERNAL);
  ExpectOne("corv.net.iface", "SetInstances");
  store_->SetUserDataInstances({eth("eth0")}, INTERNAL);
  ExpectOne("corv.net.iface", "SetUserDataInstances");
  store_->SetCachedDataInstances({eth("eth0")});
  ExpectOne("corv.net.iface", "SetCachedDataInstances");
  store_->SetVitalDataInstances({eth("eth0")});
  ExpectOne("corv.net.iface", "SetVitalDataInstances");
  auto named = Filter(Id("iface", "net"));
  named->SetValue("name", "eth1");
  store_->DeleteInstances(named);
  ExpectOne("corv.net.iface", "DeleteInstances");
  EXPECT_EQ(std::vector<std::string>{"eth0"}, raw_->Identifiers("iface", "net"));
}

TEST_F(StoreNotificationTest, FullNameEntryNotifiesForItsKey) {
  store_->Set(MakeObject(Id("clock", "sys"), R"({"zone":"UTC"})"), EXTERNAL);
  ExpectOne("corv.sys.clock", "Set");
}

TEST_F(StoreNotificationTest, NothingIsSentForKeysOutsideTheAllowlist) {
  store_->Set(MakeObject(Id("motd", "sys"), R"({"text":"hi"})"), EXTERNAL);
  store_->Update(MakeObject(Id("motd", "sys"), R"({"text":"ho"})"), EXTERNAL);
  store_->Delete(Id("motd", "sys"));
  EXPECT_TRUE(Received().empty());
}

TEST_F(StoreNotificationTest, NothingIsSentWhenNotificationIsOff) {
  SetKeyValue("NOTIFY_NEXD", "false");
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  SetKeyValue("NOTIFY_NEXD", "");
  store_->Delete(kDns);
  EXPECT_TRUE(Received().empty());
}

TEST_F(StoreNotificationTest, EmptyFilterDeleteSendsNothing) {
  store_->SetInstances({MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0"})"),
                        MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1"})")},
                       EXTERNAL);
  ExpectOne("corv.net.iface", "SetInstances");
  store_->DeleteInstances(Filter(Id("iface", "net", "eth0")));
  store_->DeleteInstances(Filter(Id("iface", "net")));
  EXPECT_TRUE(raw_->Identifiers("iface", "net").empty());
  EXPECT_TRUE(Received().empty());
}

TEST_F(StoreNotificationTest, ReadsRefusalsAndEmptyUpdatesSendNothing) {
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  ExpectOne("corv.net.dns", "Set");
  store_->Get(kDns);
  store_->GetInstances(Filter(Id("iface", "net")));
  store_->Validate(MakeObject(kDns, R"({"domain":"b"})"));
  store_->Update(MakeObject(kDns, "{}"), EXTERNAL);
  EXPECT_THROW(store_->Set(MakeObject(kDns, R"({"domain":5})"), EXTERNAL), ValidationException);
  StartBoot();
  EXPECT_THROW(store_->SetUserData(MakeObject(kDns, R"({"domain":"c"})"), EXTERNAL),
               ValidationException);
  EXPECT_TRUE(Received().empty());
}

TEST_F(StoreNotificationTest, SetUserDataAnnouncesBeforeItWrites) {
  ASSERT_EQ("", raw_->RefuseWrites("INSERT", "dns"));
  EXPECT_TRUE(Throws<ConfigStoreException>(
      [this] { store_->SetUserData(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL); }, 2000,
      "Write user data failed"));
  ExpectOne("corv.net.dns", "SetUserData");
  // The other writes announce only what they wrote.
  EXPECT_THROW(store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL),
               ConfigStoreException);
  EXPECT_THROW(store_->SetVitalData(MakeObject(kDns, R"({"uptime":1})")), ConfigStoreException);
  EXPECT_TRUE(Received().empty());
}

TEST_F(StoreNotificationTest, NextBootStoreSendsNothing) {
  auto next = store_->GetNextBootStore();
  next->Set(MakeObject(Id("kernel", "sys"), R"({"cmdline":"quiet"})"));
  EXPECT_TRUE(Received().empty());
}

TEST_F(StoreNotificationTest, MissingAllowlistSendsNothingAndTheWriteSucceeds) {
  ScopedEnv missing("CORV_NOTIFY_ALLOWLIST", env_.Dir().File("absent.json"));
  ResetNotifyAllowlistForTesting();
  LogCapture log;
  store_->Set(MakeObject(kDns, R"({"domain":"a.org"})"), EXTERNAL);
  EXPECT_TRUE(JsonEqual(R"({"domain":"a.org"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(Received().empty());
  EXPECT_TRUE(log.Contains("Failed to read notify list"));
}

}  // namespace
