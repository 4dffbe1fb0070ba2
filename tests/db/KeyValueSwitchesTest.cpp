// The key-value switches and the public key-value reads and writes.
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/Provisioning.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <functional>
#include <thread>

#include "core/Throw.h"
#include "support/FailureDetails.h"
#include "support/LogCapture.h"
#include "support/TempDir.h"

namespace {

using CorvConfigStore::ConfigStoreException;

class KeyValueSwitches : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = dir_.File("store.db");
    CorvConfigStore::ProvisionStore(store_);
    setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
  }

  // Changes the store behind the library's back.
  void Raw(const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(SQLITE_OK, sqlite3_open(store_.c_str(), &db));
    EXPECT_EQ(SQLITE_OK, sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr))
        << sqlite3_errmsg(db);
    sqlite3_close(db);
  }

  void UseMissingStore() { setenv("CORV_CONFIGSTORE_DB", dir_.File("missing.db").c_str(), 1); }

  CorvTest::TempDir dir_;
  std::string store_;
};

// Runs body and checks that it throws ConfigStoreException with the code and
// message.
void ExpectThrows(const std::function<void()>& body, int code, const std::string& message) {
  try {
    body();
    ADD_FAILURE() << "no exception; expected [" << code << "] " << message;
  } catch (const ConfigStoreException& error) {
    EXPECT_EQ(code, error.GetErrorCode());
    EXPECT_EQ(message, error.what());
  }
}

TEST_F(KeyValueSwitches, IsBootIsTrueOnlyForExactlyTrue) {
  EXPECT_FALSE(CorvConfigStore::IsBoot());  // absent
  CorvConfigStore::SetKeyValue("IS_BOOT", "true");
  EXPECT_TRUE(CorvConfigStore::IsBoot());
  for (const char* value : {"True", "TRUE", "1", "", "true ", "yes", "false"}) {
    CorvConfigStore::SetKeyValue("IS_BOOT", value);
    EXPECT_FALSE(CorvConfigStore::IsBoot()) << '"' << value << '"';
  }
}

TEST_F(KeyValueSwitches, IsBootSeesWritesOfOtherConnections) {
  EXPECT_FALSE(CorvConfigStore::IsBoot());
  Raw("INSERT OR REPLACE INTO KeyValue VALUES ('IS_BOOT', 'true')");
  EXPECT_TRUE(CorvConfigStore::IsBoot());
}

TEST_F(KeyValueSwitches, IsBootReadsTheStoreNamedNow) {
  CorvConfigStore::SetKeyValue("IS_BOOT", "true");
  EXPECT_TRUE(CorvConfigStore::IsBoot());
  std::string other = dir_.File("other.db");
  CorvConfigStore::ProvisionStore(other);
  setenv("CORV_CONFIGSTORE_DB", other.c_str(), 1);
  EXPECT_FALSE(CorvConfigStore::IsBoot());
  setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
  EXPECT_TRUE(CorvConfigStore::IsBoot());
}

TEST_F(KeyValueSwitches, IsBootWorksOnAnyThread) {
  CorvConfigStore::SetKeyValue("IS_BOOT", "true");
  bool booting = false;
  std::thread([&booting] { booting = CorvConfigStore::IsBoot(); }).join();
  EXPECT_TRUE(booting);
}

TEST_F(KeyValueSwitches, IsBootFailsWhenTheStoreIsMissing) {
  UseMissingStore();
  CorvTest::LogCapture log;
  ExpectThrows([] { CorvConfigStore::IsBoot(); }, 2000, "Failed to read value from database.");
  EXPECT_TRUE(log.Has(0, "[2000] Failed to read value from database."));
}

TEST_F(KeyValueSwitches, IsBootFailsWhenTheReadFails) {
  Raw("DROP TABLE KeyValue");
  ExpectThrows([] { CorvConfigStore::IsBoot(); }, 2000, "Failed to read value from database.");
}

TEST_F(KeyValueSwitches, NotificationIsEnabledOnlyByExactlyTrue) {
  EXPECT_FALSE(CorvConfigStore::IsNexdNotificationEnabled());  // absent
  CorvConfigStore::SetKeyValue("NOTIFY_NEXD", "true");
  EXPECT_TRUE(CorvConfigStore::IsNexdNotificationEnabled());
  for (const char* value : {"", "True", "1", "on", "false"}) {
    CorvConfigStore::SetKeyValue("NOTIFY_NEXD", value);
    EXPECT_FALSE(CorvConfigStore::IsNexdNotificationEnabled()) << '"' << value << '"';
  }
}

TEST_F(KeyValueSwitches, NotificationFailureIsFalseWithoutAnException) {
  CorvConfigStore::SetKeyValue("NOTIFY_NEXD", "true");
  Raw("DROP TABLE KeyValue");
  CorvTest::LogCapture log;
  EXPECT_FALSE(CorvConfigStore::IsNexdNotificationEnabled());
  EXPECT_FALSE(log.Contains("[2000]"));
  UseMissingStore();
  EXPECT_FALSE(CorvConfigStore::IsNexdNotificationEnabled());
}

TEST_F(KeyValueSwitches, SetAndGetRoundTrip) {
  EXPECT_EQ("", CorvConfigStore::GetKeyValue("BOOT_INFO"));
  CorvConfigStore::SetKeyValue("BOOT_INFO", "{\"type\": 2}");
  EXPECT_EQ("{\"type\": 2}", CorvConfigStore::GetKeyValue("BOOT_INFO"));
  CorvConfigStore::SetKeyValue("BOOT_INFO", "");
  EXPECT_EQ("", CorvConfigStore::GetKeyValue("BOOT_INFO"));
  CorvConfigStore::SetKeyValue("it's", "quoted 'text' \xc3\xa9");
  EXPECT_EQ("quoted 'text' \xc3\xa9", CorvConfigStore::GetKeyValue("it's"));
}

TEST_F(KeyValueSwitches, ListKeyValuesGivesEveryEntryOrderedByKey) {
  EXPECT_TRUE(CorvConfigStore::ListKeyValues().empty());
  CorvConfigStore::SetKeyValue("NOTIFY_NEXD", "true");
  CorvConfigStore::SetKeyValue("BOOT_INFO", "{\"type\": 2}");
  CorvConfigStore::SetKeyValue("empty", "");
  using Entries = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ((Entries{{"BOOT_INFO", "{\"type\": 2}"}, {"NOTIFY_NEXD", "true"}, {"empty", ""}}),
            CorvConfigStore::ListKeyValues());
}

TEST_F(KeyValueSwitches, ListKeyValuesFailsAsTheOtherReadsDo) {
  Raw("DROP TABLE KeyValue");
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { CorvConfigStore::ListKeyValues(); },
                                          "Failed to list KV table", {"no such table: KeyValue"}));
  UseMissingStore();
  ExpectThrows([] { CorvConfigStore::ListKeyValues(); }, 1002,
               CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1002),
                                       "/etc/velmo/configstore/current-store-1"));
}

TEST_F(KeyValueSwitches, MissingStoreIsCode1002NamingTheStandardLocation) {
  UseMissingStore();
  // The message names the standard store location, whatever the
  // environment says.
  std::string message = CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1002),
                                                "/etc/velmo/configstore/current-store-1");
  ASSERT_NE(std::string::npos, message.find("/etc/velmo/configstore/current-store-1"));
  ExpectThrows([] { CorvConfigStore::SetKeyValue("K", "V"); }, 1002, message);
  ExpectThrows([] { CorvConfigStore::GetKeyValue("K"); }, 1002, message);
  struct stat status;
  EXPECT_NE(0, stat(dir_.File("missing.db").c_str(), &status));
}

TEST_F(KeyValueSwitches, AStoreThatCannotBeOpenedSaysWhyBesideTheStandardLocation) {
  std::string junk = dir_.Write("junk.db", "not a database at all, only text");
  setenv("CORV_CONFIGSTORE_DB", junk.c_str(), 1);
  std::string message = CorvConfigStore::Format(CorvConfigStore::ErrorMessageForId(1002),
                                                "/etc/velmo/configstore/current-store-1");
  std::vector<std::string> why = {junk + ": file is not a database"};
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { CorvConfigStore::SetKeyValue("K", "V"); },
                                          message, why, 1002));
  EXPECT_TRUE(CorvTest::ThrowsWithDetails([] { CorvConfigStore::GetKeyValue("K"); }, message,
                                          why, 1002));
}

TEST_F(KeyValueSwitches, WriteFailureNamesTheKey) {
  Raw("DROP TABLE KeyValue");
  ExpectThrows([] { CorvConfigStore::SetKeyValue("BOOT_MODE", "1"); }, 2000,
               "Failed to write KV table for key: BOOT_MODE");
}

TEST_F(KeyValueSwitches, WriteFailureOnAReadOnlyTableNamesTheKey) {
  // A trigger that refuses writes, as a store whose key-value table is
  // closed to changes.
  Raw("CREATE TRIGGER NoWrites BEFORE INSERT ON KeyValue BEGIN "
      "SELECT RAISE(ABORT, 'read only'); END");
  ExpectThrows([] { CorvConfigStore::SetKeyValue("K", "V"); }, 2000,
               "Failed to write KV table for key: K");
  EXPECT_EQ("", CorvConfigStore::GetKeyValue("K"));
}

TEST_F(KeyValueSwitches, ReadFailureNamesTheKey) {
  Raw("DROP TABLE KeyValue");
  ExpectThrows([] { CorvConfigStore::GetKeyValue("BOOT_MODE"); }, 2000,
               "Failed to read KV table for key: BOOT_MODE");
}

}  // namespace
