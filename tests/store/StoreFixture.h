// The world of the store tests: a provisioned store and schema store of
// their own, an allowlist file, the working directory (where the daemon's
// socket is looked for) in a temporary directory, an open store handle, and
// helpers to build objects and to look at rows behind the library's back.
#pragma once

#include <corvconfigstore/ConfigStore.h>
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/NextBootStore.h>
#include <corvconfigstore/Provisioning.h>
#include <corvconfigstore/UpgradeContext.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/Json.h"
#include "notify/Allowlist.h"
#include "notify/SocketSupport.h"
#include "support/LogCapture.h"
#include "support/StoreEnvironment.h"

namespace CorvTest {

using CorvConfigStore::ConfigStore;
using CorvConfigStore::ConfigStoreObject;
using CorvConfigStore::ConfigStoreObjectId;
using CorvConfigStore::FilterSpecObject;
using ObjectPtr = std::shared_ptr<ConfigStoreObject>;
using ObjectList = std::vector<ObjectPtr>;

// Keys of component "corv" used by the tests:
// - net.dns: a singleton with a list of instances (hosts), a nested object,
//   a vital, a cached and a solution-user member;
// - net.iface and lab.iface: keys with instances, with vital and cached
//   members;
// - sys.motd: a plain singleton, not in the allowlist;
// - sys.clock: a boot-exempt singleton, in the allowlist by full name;
// - sys.legacy: a singleton whose user writes during an upgrade stay
//   unconfirmed;
// - sys.hwinfo: a singleton that is vital as a whole;
// - sys.kernel, sys.boot, sys.bootalt: configuration for the next boot
//   only, a singleton and two keys with instances.
inline const char* kTestSchemas = R"({
  "corv": {
    "net": {
      "dns": {
        "type": "object",
        "properties": {
          "domain": {"type": "string"},
          "servers": {"type": "array", "items": {"type": "string"}},
          "ttl": {"type": "integer", "minimum": 0},
          "hosts": {"type": "array", "items": {"type": "object", "properties": {
            "name": {"type": "string", "instanceId": true},
            "ip": {"type": "string"}}}},
          "options": {"type": "object", "properties": {
            "rotate": {"type": "boolean"}, "ndots": {"type": "integer"}}},
          "uptime": {"type": "integer", "vital": true},
          "lastSync": {"type": "string", "cached": true},
          "managedBy": {"type": "string", "solutionUser": true}
        }
      },
      "iface": {
        "type": "array",
        "items": {"type": "object", "properties": {
          "name": {"type": "string", "instanceId": true},
          "mtu": {"type": "integer"},
          "enabled": {"type": "boolean"},
          "speed": {"type": "integer", "vital": true},
          "carrier": {"type": "boolean", "cached": true}}}
      }
    },
    "lab": {
      "iface": {
        "type": "array",
        "items": {"type": "object", "properties": {
          "name": {"type": "string", "instanceId": true},
          "mtu": {"type": "integer"}}}
      }
    },
    "sys": {
      "motd": {"type": "object", "properties": {"text": {"type": "string"}}},
      "clock": {"type": "object", "bootExempt": true,
                "properties": {"zone": {"type": "string"}}},
      "legacy": {"type": "object", "applyDuringUpgrade": false,
                 "properties": {"v": {"type": "string"}}},
      "hwinfo": {"type": "object", "vital": true,
                 "properties": {"serial": {"type": "string"}}},
      "kernel": {"type": "object", "tags": ["@rebootRequiredConfigStore"],
                 "properties": {"cmdline": {"type": "string"}}},
      "boot": {
        "type": "array", "tags": ["@rebootRequiredConfigStore"],
        "items": {"type": "object", "properties": {
          "name": {"type": "string", "instanceId": true},
          "args": {"type": "string"}}}
      },
      "bootalt": {
        "type": "array", "tags": ["@rebootRequiredConfigStore"],
        "items": {"type": "object", "properties": {
          "name": {"type": "string", "instanceId": true},
          "args": {"type": "string"}}}
      }
    }
  }
})";

inline const char* kTestAllowlist = R"(["corv.net.*", "corv.sys.clock"])";

// The identity of a "corv" key.
inline ConfigStoreObjectId Id(const char* key, const char* group, const char* instance = "") {
  return ConfigStoreObjectId(key, group, "corv", instance);
}

// A configuration object holding the JSON text.
inline ObjectPtr MakeObject(const ConfigStoreObjectId& id, const std::string& json) {
  auto object = std::make_shared<ConfigStoreObject>(id);
  object->SetData(json.c_str());
  return object;
}

// True when two JSON texts hold equal values (members in any order).
inline ::testing::AssertionResult JsonEqual(const std::string& expected,
                                            const std::string& actual) {
  CorvConfigStore::JsonDocument a, b;
  a.Parse(expected.c_str());
  b.Parse(actual.c_str());
  if (a.HasParseError()) return ::testing::AssertionFailure() << "bad expected JSON " << expected;
  if (b.HasParseError()) return ::testing::AssertionFailure() << "not JSON: " << actual;
  if (a == b) return ::testing::AssertionSuccess();
  return ::testing::AssertionFailure() << "expected " << expected << "\n  actual " << actual;
}

// Runs f and checks that it throws E with the code and message.
template <typename E>
::testing::AssertionResult Throws(const std::function<void()>& f, int code,
                                  const std::string& message) {
  try {
    f();
  } catch (const E& e) {
    if (e.GetErrorCode() == code && message == e.what()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure()
           << "threw [" << e.GetErrorCode() << "] " << e.what() << ", expected [" << code
           << "] " << message;
  } catch (const std::exception& e) {
    return ::testing::AssertionFailure() << "threw another type: " << e.what();
  }
  return ::testing::AssertionFailure() << "did not throw";
}

// Direct access to the store's database, bypassing the library.
class RawDatabase {
 public:
  explicit RawDatabase(const std::string& path) {
    if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK)
      std::abort();
    sqlite3_busy_timeout(db_, 3000);
  }
  ~RawDatabase() { sqlite3_close_v2(db_); }
  RawDatabase(const RawDatabase&) = delete;
  RawDatabase& operator=(const RawDatabase&) = delete;

  // Runs SQL; returns SQLite's message on failure, the empty text on success.
  std::string Exec(const std::string& sql) {
    if (sqlite3_exec(db_, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return "";
    return sqlite3_errmsg(db_);
  }

  // One column of the row of id in table: "<null>" for SQL NULL, "<no row>"
  // when the row is absent.
  std::string Column(const ConfigStoreObjectId& id, const std::string& column,
                     const std::string& table = "Config") {
    std::string sql = "SELECT " + column + " FROM " + table +
                      " WHERE Component = ? AND ConfigGroup = ? AND Name = ? AND Identifier = ?";
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
      return std::string("<error: ") + sqlite3_errmsg(db_) + ">";
    const std::string* params[] = {&id.component, &id.group, &id.key, &id.instanceId};
    for (int i = 0; i < 4; ++i)
      sqlite3_bind_text(stmt, i + 1, params[i]->c_str(), -1, SQLITE_TRANSIENT);
    std::string result = "<no row>";
    if (sqlite3_step(stmt) == SQLITE_ROW) {
      const unsigned char* text = sqlite3_column_text(stmt, 0);
      result = text != nullptr ? reinterpret_cast<const char*>(text) : "<null>";
    }
    sqlite3_finalize(stmt);
    return result;
  }

  // The Identifier column of every row of a key in table, sorted.
  std::vector<std::string> Identifiers(const char* key, const char* group,
                                       const std::string& table = "Config") {
    std::string sql = "SELECT Identifier FROM " + table +
                      " WHERE Component = 'corv' AND ConfigGroup = ? AND Name = ?";
    sqlite3_stmt* stmt = nullptr;
    std::vector<std::string> ids;
    if (sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK) return ids;
    sqlite3_bind_text(stmt, 1, group, -1, SQLITE_TRANSIENT);
    sqlite3_bind_text(stmt, 2, key, -1, SQLITE_TRANSIENT);
    while (sqlite3_step(stmt) == SQLITE_ROW)
      ids.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(stmt, 0)));
    sqlite3_finalize(stmt);
    std::sort(ids.begin(), ids.end());
    return ids;
  }

  // Makes every statement of the given kind ("INSERT", "UPDATE" or
  // "DELETE") on a key of Config fail, so that a write fails in the middle
  // of an operation.
  std::string RefuseWrites(const char* kind, const char* key) {
    return Exec(std::string("CREATE TRIGGER refuse_") + kind + "_" + key + " BEFORE " + kind +
                " ON Config WHEN " + (std::string(kind) == "DELETE" ? "OLD" : "NEW") +
                ".Name = '" + key + "' BEGIN SELECT RAISE(ABORT, 'refused'); END");
  }

 private:
  sqlite3* db_ = nullptr;
};

// Saves an environment variable and restores it at the end of the scope.
class ScopedEnv {
 public:
  ScopedEnv(const char* name, const std::string& value) : name_(name) {
    if (const char* old = getenv(name)) saved_ = old;
    setenv(name, value.c_str(), 1);
  }
  ~ScopedEnv() {
    if (saved_)
      setenv(name_, saved_->c_str(), 1);
    else
      unsetenv(name_);
  }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  const char* name_;
  std::optional<std::string> saved_;
};

class StoreFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(env_.ProvisionStore());
    ASSERT_GT(env_.LoadSchemas(kTestSchemas), 0);
    CorvConfigStore::ResetNotifyAllowlistForTesting();
    store_ = ConfigStore::GetStore("");
    ASSERT_TRUE(store_);
    raw_ = std::make_unique<RawDatabase>(env_.StorePath());
  }
  void TearDown() override {
    raw_.reset();
    store_.reset();
    CorvConfigStore::SetUpgradeCtx(0);
    CorvConfigStore::ResetNotifyAllowlistForTesting();
  }

  // Turns the daemon notification on.
  void EnableNotification() { CorvConfigStore::SetKeyValue("NOTIFY_NEXD", "true"); }
  // Puts the host into its boot phase.
  void StartBoot() { CorvConfigStore::SetKeyValue("IS_BOOT", "true"); }

  // Writes a shipped default row.
  void AddDefault(const ConfigStoreObjectId& id, const std::string& value,
                  const std::string& vital = "NULL") {
    ASSERT_EQ("", raw_->Exec("INSERT INTO DefaultConfig (Identifier, Name, ConfigGroup, "
                             "Component, Version, Value, VitalValue) VALUES ('" +
                             id.instanceId + "', '" + id.key + "', '" + id.group + "', '" +
                             id.component + "', '1.0', '" + value + "', " + vital + ")"));
  }

  std::shared_ptr<FilterSpecObject> Filter(const ConfigStoreObjectId& id) {
    return std::make_shared<FilterSpecObject>(id);
  }

  StoreEnvironment env_;
  ScopedEnv allowlist_{"CORV_NOTIFY_ALLOWLIST", env_.Dir().Write("allowlist.json", kTestAllowlist)};
  ScopedWorkingDirectory cwd_{env_.Dir().Path()};
  std::shared_ptr<ConfigStore> store_;
  std::unique_ptr<RawDatabase> raw_;
};

}  // namespace CorvTest
