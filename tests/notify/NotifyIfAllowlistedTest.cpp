// The notification entry point: the "NOTIFY_NEXD" switch of a real store in
// front of the allowlist and the delivery to a listener.
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <string>

#include "SocketSupport.h"
#include "notify/Allowlist.h"
#include "notify/Notify.h"
#include "sqlite/DBStore.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

using namespace CorvConfigStore;
using CorvTest::UnixListener;

namespace {

const ConfigStoreObjectId kOptions("options", "kestrel", "corv", "i1");

std::string ExpectedRequest(const std::string& name) {
  return BuildNotificationRequest(BuildNotificationBody(name, static_cast<long>(getpid())));
}

// A store of its own with notification on, an allowlist file of its own,
// and the working directory (where the daemon's socket is looked for) in a
// temporary directory.
class NotifyIfAllowlistedTest : public ::testing::Test {
 protected:
  void SetUp() override {
    setenv("CORV_CONFIGSTORE_DB", storePath_.c_str(), 1);
    setenv("CORV_NOTIFY_ALLOWLIST", allowlistPath_.c_str(), 1);
    ProvisionStore(storePath_);
    SetKeyValue("NOTIFY_NEXD", "true");
    ResetNotifyAllowlistForTesting();
  }
  void TearDown() override {
    ResetNotifyAllowlistForTesting();
    unsetenv("CORV_NOTIFY_ALLOWLIST");
    unsetenv("CORV_CONFIGSTORE_DB");
  }
  void WriteAllowlist(const std::string& text) { dir_.Write("allowlist.json", text); }

  CorvTest::TempDir dir_;
  CorvTest::ScopedWorkingDirectory cwd_{dir_.Path()};
  std::string storePath_ = dir_.File("store.db");
  std::string allowlistPath_ = dir_.File("allowlist.json");
};

TEST_F(NotifyIfAllowlistedTest, EnabledAndListedSendsTheRequest) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  NotifyIfAllowlisted(kOptions);
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
  EXPECT_FALSE(daemon.HasPendingConnection());
}

// Counts the statements run on the thread's default connection, where the
// switch is read.
class DefaultConnectionStatements {
 public:
  DefaultConnectionStatements() : db_(DBStore::GetDefaultConnection()->Handle()) {
    sqlite3_trace_v2(db_, SQLITE_TRACE_STMT, &DefaultConnectionStatements::OnStatement, this);
  }
  ~DefaultConnectionStatements() { sqlite3_trace_v2(db_, 0, nullptr, nullptr); }
  int Count() const { return count_; }

 private:
  static int OnStatement(unsigned, void* self, void*, void*) {
    ++static_cast<DefaultConnectionStatements*>(self)->count_;
    return 0;
  }
  sqlite3* db_;
  int count_ = 0;
};

TEST_F(NotifyIfAllowlistedTest, OnceTheAllowlistIsKnownAnUnlistedKeyReadsNoSwitch) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  // Before the allowlist is read, the switch is read first.
  DefaultConnectionStatements statements;
  NotifyIfAllowlisted(ConfigStoreObjectId("options", "network", "corv"));
  EXPECT_EQ(1, statements.Count());
  ASSERT_NE(nullptr, LoadedNotifyAllowlist());
  NotifyIfAllowlisted(ConfigStoreObjectId("options", "network", "corv"));
  EXPECT_EQ(1, statements.Count());
  EXPECT_FALSE(daemon.HasPendingConnection());
  // A listed key still asks the switch.
  NotifyIfAllowlisted(kOptions);
  EXPECT_EQ(2, statements.Count());
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
  SetKeyValue("NOTIFY_NEXD", "false");
  NotifyIfAllowlisted(kOptions);
  EXPECT_FALSE(daemon.HasPendingConnection());
}

TEST_F(NotifyIfAllowlistedTest, GroupWildcardCoversEveryKeyAndInstanceOfTheGroup) {
  WriteAllowlist("[\"corv.kestrel.*\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  NotifyIfAllowlisted(ConfigStoreObjectId("options", "kestrel", "corv"));
  NotifyIfAllowlisted(ConfigStoreObjectId("flags", "kestrel", "corv", "a"));
  NotifyIfAllowlisted(ConfigStoreObjectId("flags", "kestrel", "corv", "b"));
  std::string first, second, third;
  ASSERT_TRUE(daemon.ReceiveOne(&first));
  ASSERT_TRUE(daemon.ReceiveOne(&second));
  ASSERT_TRUE(daemon.ReceiveOne(&third));
  EXPECT_EQ(first, ExpectedRequest("corv.kestrel.options"));
  EXPECT_EQ(second, ExpectedRequest("corv.kestrel.flags"));
  EXPECT_EQ(third, ExpectedRequest("corv.kestrel.flags"));

  NotifyIfAllowlisted(ConfigStoreObjectId("options", "network", "corv"));
  NotifyIfAllowlisted(ConfigStoreObjectId("options", "kestrel", "other"));
  EXPECT_FALSE(daemon.HasPendingConnection());
}

TEST_F(NotifyIfAllowlistedTest, UnlistedObjectSendsNothing) {
  WriteAllowlist("[\"corv.kestrel.options\", \"corv.*\"]");
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  NotifyIfAllowlisted(ConfigStoreObjectId("flags", "kestrel", "corv"));
  EXPECT_FALSE(daemon.HasPendingConnection());
}

TEST_F(NotifyIfAllowlistedTest, SwitchOtherThanTrueSendsNothingAndReadsNoAllowlist) {
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  CorvTest::LogCapture log(2);
  for (const char* value : {"", "false", "True", "TRUE", "1", "true "}) {
    SetKeyValue("NOTIFY_NEXD", value);
    // No allowlist file: reading it would be logged.
    NotifyIfAllowlisted(kOptions);
    EXPECT_FALSE(daemon.HasPendingConnection()) << value;
  }
  EXPECT_TRUE(log.Lines().empty());

  // Nor was an existing file loaded while the switch was off: a list
  // written afterwards is the one in force once the switch is on.
  WriteAllowlist("[\"corv.kestrel.flags\"]");
  SetKeyValue("NOTIFY_NEXD", "false");
  NotifyIfAllowlisted(kOptions);
  WriteAllowlist("[\"corv.kestrel.options\"]");
  SetKeyValue("NOTIFY_NEXD", "true");
  NotifyIfAllowlisted(kOptions);
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
}

TEST_F(NotifyIfAllowlistedTest, AbsentSwitchSendsNothing) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  ProvisionStore(dir_.File("fresh.db"));
  setenv("CORV_CONFIGSTORE_DB", dir_.File("fresh.db").c_str(), 1);
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  NotifyIfAllowlisted(kOptions);
  EXPECT_FALSE(daemon.HasPendingConnection());
}

TEST_F(NotifyIfAllowlistedTest, UnreadableStoreSendsNothingAndDoesNotThrow) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  setenv("CORV_CONFIGSTORE_DB", dir_.File("no-such-store.db").c_str(), 1);
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  EXPECT_NO_THROW(NotifyIfAllowlisted(kOptions));
  EXPECT_FALSE(daemon.HasPendingConnection());
}

TEST_F(NotifyIfAllowlistedTest, MissingAllowlistIsWarnedOnEveryCallAndRetried) {
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  const std::string warning = "Failed to read notify list: Notification allowlist " +
                              allowlistPath_ + " missing.. Defaulting to empty list.";
  CorvTest::LogCapture log(4);
  EXPECT_NO_THROW(NotifyIfAllowlisted(kOptions));
  EXPECT_NO_THROW(NotifyIfAllowlisted(kOptions));
  int warnings = 0;
  for (const auto& line : log.Lines()) warnings += line == std::make_pair(1, warning);
  EXPECT_EQ(warnings, 2);
  EXPECT_FALSE(daemon.HasPendingConnection());

  WriteAllowlist("[\"corv.kestrel.options\"]");
  NotifyIfAllowlisted(kOptions);
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
}

TEST_F(NotifyIfAllowlistedTest, MalformedAllowlistIsWarnedAndRetried) {
  UnixListener daemon("velLocalSocketNexdNotifyOmni");
  WriteAllowlist("[\"corv.kestrel.options\", 3]");
  CorvTest::LogCapture log(1);
  EXPECT_NO_THROW(NotifyIfAllowlisted(kOptions));
  bool warned = false;
  for (const auto& line : log.Lines())
    warned |= line.first == 1 && line.second.rfind("Failed to read notify list: JSON error:", 0) == 0;
  EXPECT_TRUE(warned);
  EXPECT_FALSE(daemon.HasPendingConnection());

  WriteAllowlist("[\"corv.kestrel.options\"]");
  NotifyIfAllowlisted(kOptions);
  std::string received;
  ASSERT_TRUE(daemon.ReceiveOne(&received));
  EXPECT_EQ(received, ExpectedRequest("corv.kestrel.options"));
}

TEST_F(NotifyIfAllowlistedTest, AbsentDaemonIsLoggedAndNeverThrown) {
  WriteAllowlist("[\"corv.kestrel.options\"]");
  CorvTest::LogCapture log(2);
  EXPECT_NO_THROW(NotifyIfAllowlisted(kOptions));
  EXPECT_EQ(log.Lines(), (std::vector<std::pair<int, std::string>>{
                             {2, "Error while sending notification for config object 'comp corv "
                                 "grp kestrel key options id i1' to Nexd: Failed to connect "
                                 "socket: No such file or directory"}}));
}

}  // namespace
