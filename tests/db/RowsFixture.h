// The world of the row tests: a provisioned store and schema store of their
// own, a connection of the database layer, a raw SQLite handle on the same
// file to look at (and break) rows behind the library's back, and helpers to
// build objects and check failures.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Exceptions.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/UpgradeContext.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "core/Json.h"
#include "db/ConfigRow.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/JsonDoc.h"
#include "sqlite/DBStore.h"
#include "schema/SchemaStore.h"
#include "support/LogCapture.h"
#include "support/StoreEnvironment.h"
#include "object/ObjectAccess.h"

namespace CorvTest {

using CorvConfigStore::ConfigStoreObject;
using CorvConfigStore::ConfigStoreObjectId;
using CorvConfigStore::ConfigStoreObjectImpl;
using CorvConfigStore::FilterSpecObject;
using CorvConfigStore::ObjectList;
using CorvConfigStore::ObjectPtr;
using CorvConfigStore::SchemaPtr;

// Keys of component "corv" used by the row tests:
// - net.dns: a singleton with plain, list, instance-list, nested, vital and
//   cached members (version "2.1");
// - net.iface: a key with instances, with vital and cached members;
// - net.shared: shared with a SmartNIC;
// - sys.motd: a plain singleton; sys.hwinfo: vital as a whole; sys.late:
//   not applied during upgrades;
// - sys.boot, sys.kernel: next-boot configuration with instances and
//   without;
// - kestrel.options: the kernel options.
inline const char* kRowSchemas = R"({
  "corv": {
    "net": {
      "dns": {"type": "object", "version": "2.1", "properties": {
        "domain": {"type": "string"},
        "servers": {"type": "array", "items": {"type": "string"}},
        "hosts": {"type": "array", "items": {"type": "object", "properties": {
          "name": {"type": "string", "instanceId": true},
          "ip": {"type": "string"},
          "seen": {"type": "integer", "cached": true}}}},
        "options": {"type": "object", "properties": {
          "rotate": {"type": "boolean"}, "ndots": {"type": "integer"}}},
        "uptime": {"type": "integer", "vital": true},
        "lastSync": {"type": "string", "cached": true},
        "hw": {"type": "object", "vital": true, "properties": {
          "serial": {"type": "string"}}}}},
      "iface": {"type": "array", "items": {"type": "object", "properties": {
        "name": {"type": "string", "instanceId": true},
        "mtu": {"type": "integer"},
        "speed": {"type": "integer", "vital": true},
        "carrier": {"type": "boolean", "cached": true}}}},
      "shared": {"type": "object", "valueType": "corv-shared", "properties": {
        "mode": {"type": "string"}}}
    },
    "sys": {
      "motd": {"type": "object", "properties": {
        "text": {"type": "string"}, "x": {"type": "integer"}}},
      "hwinfo": {"type": "object", "vital": true, "properties": {
        "serial": {"type": "string"}}},
      "late": {"type": "object", "applyDuringUpgrade": false, "properties": {
        "text": {"type": "string"}}},
      "boot": {"type": "array", "tags": ["@rebootRequiredConfigStore"],
        "items": {"type": "object", "properties": {
          "name": {"type": "string", "instanceId": true},
          "args": {"type": "string"},
          "slot": {"type": "integer", "vital": true}}}},
      "kernel": {"type": "object", "tags": ["@rebootRequiredConfigStore"], "properties": {
        "cmdline": {"type": "string"}, "board": {"type": "string", "vital": true}}}
    },
    "kestrel": {
      "options": {"type": "object", "properties": {
        "cmdline": {"type": "string"}, "console": {"type": "string"},
        "arch": {"type": "string", "vital": true}}}
    }
  }
})";

// The identity of a "corv" key.
inline ConfigStoreObjectId Id(const char* key, const char* group, const char* instance = "") {
  return ConfigStoreObjectId(key, group, "corv", instance);
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

// Runs f and checks that it throws ConfigStoreException with the code and
// message.
inline ::testing::AssertionResult Throws(const std::function<void()>& f, int code,
                                         const std::string& message) {
  try {
    f();
  } catch (const CorvConfigStore::ConfigStoreException& e) {
    if (e.GetErrorCode() == code && message == e.what()) return ::testing::AssertionSuccess();
    return ::testing::AssertionFailure() << "threw [" << e.GetErrorCode() << "] " << e.what()
                                         << ", expected [" << code << "] " << message;
  } catch (const std::exception& e) {
    return ::testing::AssertionFailure() << "threw another type: " << e.what();
  }
  return ::testing::AssertionFailure() << "did not throw";
}

// The serialised value of an object, "<none>" for an empty pointer.
inline std::string Json(const ObjectPtr& object) {
  return object ? ImplOf(object).GetSerializedData() : "<none>";
}

class RowsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(env_.ProvisionStore());
    ASSERT_EQ(env_.LoadSchemas(kRowSchemas), 9);
    conn_ = DBStore::GetConnection(DBStore::CONFIG_STORE);
    ASSERT_TRUE(conn_);
    ASSERT_EQ(sqlite3_open_v2(env_.StorePath().c_str(), &raw_, SQLITE_OPEN_READWRITE, nullptr),
              SQLITE_OK);
    sqlite3_busy_timeout(raw_, 3000);
  }
  void TearDown() override {
    CorvConfigStore::SetUpgradeCtx(0);
    sqlite3_close_v2(raw_);
  }

  SchemaPtr Schema(const ConfigStoreObjectId& id) {
    return CorvSchemaStore::SchemaStore::GetCache()->GetSchema(id.component, id.group, id.key);
  }

  // A new object of id holding the JSON text, as a caller builds it.
  ObjectPtr Make(const ConfigStoreObjectId& id, const std::string& json) {
    auto impl = std::make_shared<ConfigStoreObjectImpl>(
        id, id, std::nullopt, CorvConfigStore::CreateDocumentFromString(json), Schema(id), "", "",
        "", -1, true, nullptr, nullptr);
    return std::make_shared<ConfigStoreObject>(impl);
  }

  // Runs SQL on the raw handle; SQLite's message on failure, "" on success.
  std::string Exec(const std::string& sql) {
    char* error = nullptr;
    if (sqlite3_exec(raw_, sql.c_str(), nullptr, nullptr, &error) == SQLITE_OK) return "";
    std::string message = error != nullptr ? error : "failed";
    sqlite3_free(error);
    return message;
  }

  // The first column of the first row of a query: "<null>" for NULL,
  // "<no row>" when there is none.
  std::string Query(const std::string& sql) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(raw_, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
      return std::string("<error: ") + sqlite3_errmsg(raw_) + ">";
    std::string result = "<no row>";
    if (sqlite3_step(stmt) == SQLITE_ROW) {
      const unsigned char* text = sqlite3_column_text(stmt, 0);
      result = text != nullptr ? reinterpret_cast<const char*>(text) : "<null>";
    }
    sqlite3_finalize(stmt);
    return result;
  }

  // One column of the row of id in table.
  std::string Column(const ConfigStoreObjectId& id, const std::string& column,
                     const std::string& table = "Config") {
    return Query("SELECT " + column + " FROM " + table + " WHERE Component = '" + id.component +
                 "' AND ConfigGroup = '" + id.group + "' AND Name = '" + id.key +
                 "' AND Identifier = '" + id.instanceId + "'");
  }

  // Number of rows a query's condition selects in table.
  int Count(const std::string& table, const std::string& condition = "1") {
    return std::stoi(Query("SELECT COUNT(*) FROM " + table + " WHERE " + condition));
  }

  // Inserts a Config row with the given columns (SQL expressions).
  void InsertRow(const ConfigStoreObjectId& id, const std::string& columns,
                 const std::string& values) {
    ASSERT_EQ(Exec("INSERT INTO Config (Component, ConfigGroup, Name, Identifier, Version, " +
                   columns + ") VALUES ('" + id.component + "', '" + id.group + "', '" + id.key +
                   "', '" + id.instanceId + "', '1.0', " + values + ")"),
              "");
  }

  // Makes every statement that changes table (or only its insert, update
  // or delete) fail, through a trigger.
  void BreakWrites(const std::string& table, const std::string& event) {
    ASSERT_EQ(
        Exec("CREATE TRIGGER break_" + table + "_" + std::to_string(triggers_++) + " BEFORE " +
             event + " ON " + table + " BEGIN SELECT RAISE(ABORT, 'broken for the test'); END"),
        "");
  }

  StoreEnvironment env_;
  CorvConfigStore::Connection conn_;
  sqlite3* raw_ = nullptr;
  int triggers_ = 0;
};

}  // namespace CorvTest
