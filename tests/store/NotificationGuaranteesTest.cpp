// What a write promises about its change notice: when it is sent, when it is
// not, in which order, and how long a daemon that is absent, slow or stuck
// may hold the write up.
#include <chrono>
#include <future>
#include <thread>

#include "StoreFixture.h"
#include "notify/UdsClient.h"

using namespace CorvConfigStore;
using namespace CorvTest;

namespace {

using Clock = std::chrono::steady_clock;

const char* const kSocket = "velLocalSocketNexdNotifyOmni";
const ConfigStoreObjectId kDns = Id("dns", "net");

// Scheduling slack allowed on top of the time limit before a write counts
// as held up beyond it.
constexpr long kSlackMs = 400;
const long kLimitMs = static_cast<long>(kNotificationTimeLimit.count());

long MillisecondsSince(Clock::time_point start) {
  return static_cast<long>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

// The configuration name a received request announces; empty when the
// request names none.
std::string AnnouncedName(const std::string& request) {
  const std::string before = "\"identifiers\":[\"";
  size_t start = request.find(before);
  if (start == std::string::npos) return "";
  start += before.size();
  return request.substr(start, request.find('"', start) - start);
}

class NotificationGuaranteesTest : public StoreFixture {
 protected:
  void SetUp() override {
    StoreFixture::SetUp();
    EnableNotification();
  }

  // The names announced by every request waiting on the listener, in the
  // order they were sent; connections that carried nothing (those that
  // filled the backlog) are passed over.
  static std::vector<std::string> Announced(const UnixListener& daemon) {
    std::vector<std::string> names;
    while (daemon.HasPendingConnection()) {
      std::string request;
      if (!daemon.ReceiveOne(&request)) break;
      if (!request.empty()) names.push_back(AnnouncedName(request));
    }
    return names;
  }
};

TEST_F(NotificationGuaranteesTest, TheChangeIsCommittedBeforeItIsAnnounced) {
  // The daemon is stuck, so the notification waits in connect; meanwhile
  // another connection must already see the written value.
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  UnixListener daemon(kSocket, 0);
  std::vector<int> fillers = FillBacklog(kSocket);
  ASSERT_FALSE(fillers.empty());
  auto update = std::async(std::launch::async, [this] {
    store_->Update(MakeObject(kDns, R"({"domain":"b"})"), EXTERNAL);
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(kLimitMs / 5));
  ASSERT_EQ(std::future_status::timeout, update.wait_for(std::chrono::seconds(0)))
      << "the write did not wait for the stuck daemon";
  EXPECT_TRUE(JsonEqual(R"({"domain":"b"})", raw_->Column(kDns, "UserValue")));
  // Room in the backlog lets the waiting notification through.
  int first = daemon.Accept();
  ASSERT_GE(first, 0);
  close(first);
  update.get();
  for (int fd : fillers) close(fd);
  EXPECT_EQ(std::vector<std::string>{"corv.net.dns"}, Announced(daemon));
}

TEST_F(NotificationGuaranteesTest, ACancelledTransactionAnnouncesNothing) {
  UnixListener daemon(kSocket);
  store_->SetInstances({MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0"})")}, EXTERNAL);
  ASSERT_EQ(std::vector<std::string>{"corv.net.iface"}, Announced(daemon));

  ASSERT_EQ("", raw_->RefuseWrites("INSERT", "iface"));
  EXPECT_THROW(store_->SetInstances({MakeObject(Id("iface", "net", "eth1"), R"({"name":"eth1"})")},
                                    EXTERNAL),
               ConfigStoreException);
  ASSERT_EQ("", raw_->RefuseWrites("UPDATE", "dns"));
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), INTERNAL);
  ASSERT_EQ(std::vector<std::string>{"corv.net.dns"}, Announced(daemon));
  EXPECT_THROW(store_->Update(MakeObject(kDns, R"({"domain":"b"})"), INTERNAL),
               ConfigStoreException);
  EXPECT_THROW(store_->Update(MakeObject(kDns, R"({"ttl":"not a number"})"), EXTERNAL),
               ValidationException);
  EXPECT_TRUE(Announced(daemon).empty());
  EXPECT_EQ(std::vector<std::string>{"eth0"}, raw_->Identifiers("iface", "net"));
}

TEST_F(NotificationGuaranteesTest, AWriteInsideTheCallersTransactionIsAnnouncedAtItsOwnCommit) {
  // The write's own transaction is nested in the caller's: it is announced
  // when it ends, and a later rollback by the caller does not call that
  // back.
  UnixListener daemon(kSocket);
  {
    ConfigStoreTransaction transaction(store_);
    store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
    EXPECT_EQ(std::vector<std::string>{"corv.net.dns"}, Announced(daemon));
    transaction.Cancel();
  }
  EXPECT_EQ("<no row>", raw_->Column(kDns, "UserValue"));
}

TEST_F(NotificationGuaranteesTest, AnnouncementsArriveInTheOrderOfTheWrites) {
  UnixListener daemon(kSocket);
  store_->Set(MakeObject(Id("clock", "sys"), R"({"zone":"UTC"})"), EXTERNAL);
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  store_->SetInstances({MakeObject(Id("iface", "net", "eth0"), R"({"name":"eth0"})")}, EXTERNAL);
  store_->Update(MakeObject(Id("clock", "sys"), R"({"zone":"CET"})"), EXTERNAL);
  store_->Delete(kDns);
  EXPECT_EQ((std::vector<std::string>{"corv.sys.clock", "corv.net.dns", "corv.net.iface",
                                      "corv.sys.clock", "corv.net.dns"}),
            Announced(daemon));
}

TEST_F(NotificationGuaranteesTest, AnAbsentDaemonCostsTheWriteNothing) {
  LogCapture log;
  Clock::time_point start = Clock::now();
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  EXPECT_LT(MillisecondsSince(start), kLimitMs);
  EXPECT_TRUE(JsonEqual(R"({"domain":"a"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(log.Contains("Error while sending notification for config object '" +
                           kDns.toString() +
                           "' to Nexd: Failed to connect socket: No such file or directory"));
}

TEST_F(NotificationGuaranteesTest, ADaemonThatNeverAcceptsHoldsTheWriteUpToTheLimitOnly) {
  UnixListener daemon(kSocket, 0);
  std::vector<int> fillers = FillBacklog(kSocket);
  ASSERT_FALSE(fillers.empty());
  LogCapture log;
  Clock::time_point start = Clock::now();
  store_->Update(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  long elapsed = MillisecondsSince(start);
  EXPECT_GE(elapsed, kLimitMs - 10);
  EXPECT_LT(elapsed, kLimitMs + kSlackMs);
  EXPECT_TRUE(JsonEqual(R"({"domain":"a"})", raw_->Column(kDns, "UserValue")));
  EXPECT_TRUE(log.Contains("to Nexd: Failed to connect socket: Resource temporarily unavailable"));
  for (int fd : fillers) close(fd);
}

TEST_F(NotificationGuaranteesTest, ASlowDaemonThatAcceptsWithinTheLimitGetsTheNotice) {
  UnixListener daemon(kSocket, 0);
  std::vector<int> fillers = FillBacklog(kSocket);
  ASSERT_FALSE(fillers.empty());
  std::thread slow([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(kLimitMs / 4));
    int first = daemon.Accept();
    if (first >= 0) close(first);
  });
  store_->Set(MakeObject(kDns, R"({"domain":"a"})"), EXTERNAL);
  slow.join();
  for (int fd : fillers) close(fd);
  EXPECT_EQ(std::vector<std::string>{"corv.net.dns"}, Announced(daemon));
}

TEST_F(NotificationGuaranteesTest, ADaemonThatAcceptsAndNeverReadsCostsTheWriteNothing) {
  SilentDaemon daemon(kSocket);
  LogCapture log;
  Clock::time_point start = Clock::now();
  for (int i = 0; i < 5; ++i)
    store_->Update(MakeObject(kDns, "{\"ttl\":" + std::to_string(i) + "}"), EXTERNAL);
  EXPECT_LT(MillisecondsSince(start), kLimitMs);
  EXPECT_TRUE(JsonEqual(R"({"ttl":4})", raw_->Column(kDns, "UserValue")));
  EXPECT_FALSE(log.Contains("Error while sending notification"));
}

}  // namespace
