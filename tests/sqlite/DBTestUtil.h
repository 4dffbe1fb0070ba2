// Helpers of the database layer tests: a provisioned store in a temporary
// directory, and direct SQLite access that bypasses the layer under test.
#pragma once

#include <gtest/gtest.h>
#include <sqlite3.h>
#include <stdlib.h>

#include <memory>
#include <string>

#include "sqlite/DBStore.h"
#include "support/TempDir.h"

namespace CorvTest {

// Runs SQL on its own SQLite connection; returns SQLite's message on
// failure, the empty text on success.
inline std::string RawExec(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  std::string error;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READWRITE, nullptr) != SQLITE_OK) {
    error = sqlite3_errmsg(db);
  } else if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
    error = sqlite3_errmsg(db);
  }
  sqlite3_close_v2(db);
  return error;
}

// The first column of the first row of a query on a connection, "<null>"
// for SQL NULL and "<error: ...>" when it fails.
inline std::string QueryText(sqlite3* db, const std::string& sql) {
  sqlite3_stmt* stmt = nullptr;
  if (sqlite3_prepare_v2(db, sql.c_str(), -1, &stmt, nullptr) != SQLITE_OK)
    return std::string("<error: ") + sqlite3_errmsg(db) + ">";
  std::string result = "<no row>";
  int rc = sqlite3_step(stmt);
  if (rc == SQLITE_ROW) {
    const unsigned char* text = sqlite3_column_text(stmt, 0);
    result = text != nullptr ? reinterpret_cast<const char*>(text) : "<null>";
  } else if (rc != SQLITE_DONE) {
    result = std::string("<error: ") + sqlite3_errmsg(db) + ">";
  }
  sqlite3_finalize(stmt);
  return result;
}

// The same on a connection of its own.
inline std::string RawQuery(const std::string& path, const std::string& sql) {
  sqlite3* db = nullptr;
  std::string result;
  if (sqlite3_open_v2(path.c_str(), &db, SQLITE_OPEN_READONLY, nullptr) != SQLITE_OK)
    result = std::string("<error: ") + sqlite3_errmsg(db) + ">";
  else
    result = QueryText(db, sql);
  sqlite3_close_v2(db);
  return result;
}

// Prepared statements currently alive on a connection.
inline int StatementCount(sqlite3* db) {
  int count = 0;
  for (sqlite3_stmt* stmt = sqlite3_next_stmt(db, nullptr); stmt != nullptr;
       stmt = sqlite3_next_stmt(db, stmt))
    ++count;
  return count;
}

// A test with its own provisioned store, named by CORV_CONFIGSTORE_DB.
class StoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    store_ = dir_.File("store.db");
    std::string error;
    ASSERT_EQ(DBStore::kSuccess, DBStore::ProvisionStore(store_, &error)) << error;
    setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
  }

  // Runs a statement without parameters or rows through the layer.
  int Exec(const std::shared_ptr<DBStore::StoreConnection>& connection, const std::string& sql,
           int timeLimit = DBStore::kDefaultTimeLimit) {
    return DBStore::ExecuteStmt(connection, DBStore::SqlStatement(sql), {}, nullptr, timeLimit);
  }

  TempDir dir_;
  std::string store_;
};

}  // namespace CorvTest
