// Notification names, allowlist matching, the request bytes, and delivery
// to a listener once notification is on.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "SocketSupport.h"
#include "notify/Notify.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

using namespace CorvConfigStore;
using CorvTest::UnixListener;

namespace {

const ConfigStoreObjectId kOptions("options", "kestrel", "corv");
const ConfigStoreObjectId kOptionsInstance("options", "kestrel", "corv", "i1");

TEST(NotificationNameTest, FullNameAndGroupWildcardIgnoreTheInstanceId) {
  EXPECT_EQ(NotificationName(kOptions), "corv.kestrel.options");
  EXPECT_EQ(NotificationName(kOptionsInstance), "corv.kestrel.options");
  EXPECT_EQ(NotificationGroupWildcard(kOptionsInstance), "corv.kestrel.*");
}

TEST(AllowlistMatchTest, FullNameMatchesEveryInstanceOfThatKeyOnly) {
  NotifyAllowlist allowlist{"corv.kestrel.options"};
  EXPECT_TRUE(IsAllowlisted(allowlist, kOptions));
  EXPECT_TRUE(IsAllowlisted(allowlist, kOptionsInstance));
  EXPECT_FALSE(IsAllowlisted(allowlist, ConfigStoreObjectId("other", "kestrel", "corv")));
  EXPECT_FALSE(IsAllowlisted(allowlist, ConfigStoreObjectId("options", "kestrel", "host")));
}

TEST(AllowlistMatchTest, GroupWildcardMatchesEveryKeyOfThatGroupAndNothingElse) {
  NotifyAllowlist allowlist{"corv.kestrel.*"};
  EXPECT_TRUE(IsAllowlisted(allowlist, kOptions));
  EXPECT_TRUE(IsAllowlisted(allowlist, kOptionsInstance));
  EXPECT_TRUE(IsAllowlisted(allowlist, ConfigStoreObjectId("flags", "kestrel", "corv", "x")));
  EXPECT_FALSE(IsAllowlisted(allowlist, ConfigStoreObjectId("options", "network", "corv")));
  EXPECT_FALSE(IsAllowlisted(allowlist, ConfigStoreObjectId("options", "kestrel", "host")));
  EXPECT_FALSE(IsAllowlisted(allowlist, ConfigStoreObjectId("options", "kestrel2", "corv")));
}

TEST(AllowlistMatchTest, ComponentWildcardMatchesNothing) {
  NotifyAllowlist allowlist{"corv.*", "*", "*.*.*", "corv.*.options"};
  EXPECT_FALSE(IsAllowlisted(allowlist, kOptions));
  EXPECT_FALSE(IsAllowlisted(allowlist, kOptionsInstance));
}

TEST(AllowlistMatchTest, StarInsideANameIsAnOrdinaryCharacter) {
  NotifyAllowlist allowlist{"corv.kestrel.opt*", "corv.kes*.*"};
  EXPECT_FALSE(IsAllowlisted(allowlist, kOptions));
  EXPECT_TRUE(IsAllowlisted(allowlist, ConfigStoreObjectId("opt*", "kestrel", "corv")));
}

TEST(AllowlistMatchTest, EmptyListMatchesNothing) {
  EXPECT_FALSE(IsAllowlisted(NotifyAllowlist{}, kOptions));
}

const char* const kOptionsBody =
    "{\"method\":\"invoke\",\"id\":\"9\",\"params\":{\"serviceId\":\"com.velmo.corv.nexd.notifier\","
    "\"operationId\":\"notify\",\"input\":{\"STRUCTURE\":{\"operation-input\":{\"identifiers\":"
    "[\"corv.kestrel.options\"],\"cartel_id\":4242}}},\"ctx\":{\"securityCtx\":{\"schemeId\":"
    "\"com.velmo.omni.std.security.no_authentication\"}}},\"jsonrpc\":\"2.0\"}";

TEST(NotificationRequestTest, BodyIsTheExactJsonRpcCall) {
  EXPECT_EQ(BuildNotificationBody("corv.kestrel.options", 4242), kOptionsBody);
}

TEST(NotificationRequestTest, NameIsInsertedWithoutEscaping) {
  std::string body = BuildNotificationBody("a\"b", 1);
  EXPECT_NE(body.find("\"identifiers\":[\"a\"b\"],\"cartel_id\":1}"), std::string::npos) << body;
}

TEST(NotificationRequestTest, RequestHasFixedHeadersInOrder) {
  std::string body = kOptionsBody;
  EXPECT_EQ(BuildNotificationRequest(body),
            "POST /api HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) +
                "\r\nContent-Type: application/json\r\n\r\n" + body);
  EXPECT_EQ(body.size(), 304u);
}

TEST(NotificationRequestTest, ContentLengthCountsBodyBytesOnly) {
  // "é" is two bytes in UTF-8: the body is 8 bytes, 7 characters.
  EXPECT_EQ(BuildNotificationRequest("{\"\xC3\xA9\":1}"),
            "POST /api HTTP/1.1\r\nContent-Length: 8\r\nContent-Type: application/json\r\n\r\n"
            "{\"\xC3\xA9\":1}");
  EXPECT_EQ(BuildNotificationRequest(""),
            "POST /api HTTP/1.1\r\nContent-Length: 0\r\nContent-Type: application/json\r\n\r\n");
}

// The request a notification about the configuration name from this
// process carries.
std::string ExpectedRequest(const std::string& name) {
  return BuildNotificationRequest(BuildNotificationBody(name, static_cast<long>(getpid())));
}

// Runs in a temporary working directory, where the daemon's socket is
// looked for, with an allowlist file of its own.
class NotifyAllowlistedChangeTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("CORV_NOTIFY_ALLOWLIST", allowlistPath_.c_str(), 1);
    ResetNotifyAllowlistForTesting();
  }
  void TearDown() override {
    ResetNotifyAllowlistForTesting();
    unsetenv("CORV_NOTIFY_ALLOWLIST");
  }
  void WriteAllowlist(const std::string& text) { dir_.Write("allowlist.json", text); }

  CorvTest::TempDir dir_;
  CorvTest::ScopedWorkingDirectory cwd_{dir_.Path()};
  std::string allowlistPath_ = dir_.File("allowlist.json");
};

TEST_F(NotifyAllowlistedChangeTest, SendsTheExactRequestForAListedName) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  CorvTest::LogCapture log(4);
  NotifyAllowlistedChange(kOptionsInstance);
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
  EXPECT_FALSE(daemon.HasPendingConnection());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(NotifyAllowlistedChangeTest, GroupWildcardSendsTheFullName) {
  WriteAllowlist("[\"corv.kestrel.*\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  NotifyAllowlistedChange(ConfigStoreObjectId("flags", "kestrel", "corv", "x"));
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.flags"));

  NotifyAllowlistedChange(ConfigStoreObjectId("flags", "network", "corv"));
  EXPECT_FALSE(daemon.HasPendingConnection());
}

TEST_F(NotifyAllowlistedChangeTest, EachNotificationUsesItsOwnConnection) {
  WriteAllowlist("[\"corv.kestrel.options\", \"corv.network.dns\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  NotifyAllowlistedChange(kOptions);
  NotifyAllowlistedChange(ConfigStoreObjectId("dns", "network", "corv"));
  std::string first, second;
  ASSERT_TRUE(daemon.ReceiveOne(&first));
  ASSERT_TRUE(daemon.ReceiveOne(&second));
  EXPECT_EQ(first, ExpectedRequest("corv.kestrel.options"));
  EXPECT_EQ(second, ExpectedRequest("corv.network.dns"));
}

TEST_F(NotifyAllowlistedChangeTest, UnlistedNameSendsNothing) {
  WriteAllowlist("[\"corv.kestrel.options\", \"corv.*\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  CorvTest::LogCapture log(4);
  NotifyAllowlistedChange(ConfigStoreObjectId("other", "kestrel", "corv"));
  EXPECT_FALSE(daemon.HasPendingConnection());
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(NotifyAllowlistedChangeTest, MissingAllowlistIsLoggedEachTimeAndRetried) {
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  const std::string warning = "Failed to read notify list: Notification allowlist " +
                              allowlistPath_ + " missing.. Defaulting to empty list.";
  CorvTest::LogCapture log(1);
  NotifyAllowlistedChange(kOptions);
  EXPECT_EQ(log.Lines(), (std::vector<std::pair<int, std::string>>{
                             {0, "[2000] Notification allowlist " + allowlistPath_ + " missing."},
                             {1, warning}}));
  log.Clear();
  NotifyAllowlistedChange(kOptions);
  EXPECT_TRUE(log.Has(1, warning));
  EXPECT_FALSE(daemon.HasPendingConnection());

  WriteAllowlist("[\"corv.kestrel.options\"]");
  NotifyAllowlistedChange(kOptions);
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
}

TEST_F(NotifyAllowlistedChangeTest, MalformedAllowlistIsLoggedAndRetried) {
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  WriteAllowlist("{\"corv.kestrel.options\": 1}");
  CorvTest::LogCapture log(1);
  NotifyAllowlistedChange(kOptions);
  ASSERT_EQ(log.Lines().size(), 2u);
  EXPECT_EQ(log.Lines()[0].first, 0);
  EXPECT_EQ(log.Lines()[0].second.rfind("[1082] JSON error:", 0), 0u) << log.Lines()[0].second;
  // The warning quotes the exception's text.
  EXPECT_EQ(log.Lines()[1],
            std::make_pair(1, "Failed to read notify list: " + log.Lines()[0].second.substr(7) +
                                  ". Defaulting to empty list."));
  EXPECT_FALSE(daemon.HasPendingConnection());

  log.Clear();
  WriteAllowlist("[\"corv.kestrel.options\", false]");
  NotifyAllowlistedChange(kOptions);
  EXPECT_TRUE(log.Contains("Failed to read notify list: JSON error:"));
  EXPECT_FALSE(daemon.HasPendingConnection());

  WriteAllowlist("[\"corv.kestrel.options\"]");
  NotifyAllowlistedChange(kOptions);
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
}

TEST_F(NotifyAllowlistedChangeTest, AbsentDaemonIsLoggedAndNeverThrown) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  CorvTest::LogCapture log(4);
  EXPECT_NO_THROW(NotifyAllowlistedChange(kOptionsInstance));
  EXPECT_EQ(log.Lines(), (std::vector<std::pair<int, std::string>>{
                             {2, "Error while sending notification for config object 'comp corv "
                                 "grp kestrel key options id i1' to Nexd: Failed to connect "
                                 "socket: No such file or directory"}}));
}

TEST_F(NotifyAllowlistedChangeTest, DaemonNotListeningIsLoggedAndNeverThrown) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  daemon.Close();
  CorvTest::LogCapture log(4);
  EXPECT_NO_THROW(NotifyAllowlistedChange(kOptions));
  EXPECT_EQ(log.Lines(), (std::vector<std::pair<int, std::string>>{
                             {2, "Error while sending notification for config object 'comp corv "
                                 "grp kestrel key options' to Nexd: Failed to connect socket: "
                                 "Connection refused"}}));
}

TEST_F(NotifyAllowlistedChangeTest, DeliveryFailureIsBelowTheDefaultLogLevel) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  CorvTest::LogCapture log(1);
  NotifyAllowlistedChange(kOptions);
  EXPECT_TRUE(log.Lines().empty());
}

}  // namespace
