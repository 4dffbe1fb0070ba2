// A temporary schema store and store for one test: CORV_SCHEMASTORE_DB and
// CORV_CONFIGSTORE_DB point into a fresh temporary directory while the
// object lives, and are restored afterwards.
#pragma once

#include <corvconfigstore/Provisioning.h>
#include <stdlib.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "sqlite/DBStore.h"
#include "schema/SchemaStore.h"
#include "support/TempDir.h"

namespace CorvTest {

// Lets the schema cache's change check interval pass, so that the next
// lookup looks at the schema store again (after another process or
// connection changed it).
inline void WaitForSchemaRecheck() {
  std::this_thread::sleep_for(std::chrono::milliseconds(CorvSchemaStore::kSchemaRecheckMs + 1));
}

// The rows of a query on the database at path, each row's columns joined by
// '|' (SQL NULL written as "NULL"); empty when the database cannot be opened.
inline std::vector<std::string> QueryRows(const std::string& path, const std::string& sql) {
  std::vector<std::string> rows;
  auto connection = DBStore::StoreConnection::Open(path);
  if (!connection) return rows;
  DBStore::ExecuteStmt(
      connection, DBStore::SqlStatement(sql), {},
      [&rows](int count, char** values, char**) {
        std::string row;
        for (int i = 0; i < count; ++i) {
          if (i > 0) row += "|";
          row += values[i] != nullptr ? values[i] : "NULL";
        }
        rows.push_back(row);
        return 0;
      },
      DBStore::kDefaultTimeLimit);
  return rows;
}

class StoreEnvironment {
 public:
  StoreEnvironment() : schemaStore_(dir_.File("schema-store.db")), store_(dir_.File("store.db")) {
    Save("CORV_SCHEMASTORE_DB", savedSchemaStore_);
    Save("CORV_CONFIGSTORE_DB", savedStore_);
    setenv("CORV_SCHEMASTORE_DB", schemaStore_.c_str(), 1);
    setenv("CORV_CONFIGSTORE_DB", store_.c_str(), 1);
  }
  ~StoreEnvironment() {
    Restore("CORV_SCHEMASTORE_DB", savedSchemaStore_);
    Restore("CORV_CONFIGSTORE_DB", savedStore_);
  }
  StoreEnvironment(const StoreEnvironment&) = delete;
  StoreEnvironment& operator=(const StoreEnvironment&) = delete;

  const TempDir& Dir() const { return dir_; }
  const std::string& SchemaStorePath() const { return schemaStore_; }
  const std::string& StorePath() const { return store_; }

  // Writes text as a schema file and loads it; returns the number loaded.
  int LoadSchemas(const std::string& text, const std::string& name = "schemas.json") const {
    return CorvConfigStore::LoadSchemaFile(dir_.Write(name, text));
  }
  // Creates the store database with its tables; false on failure.
  bool ProvisionStore() const {
    return DBStore::ProvisionStore(store_, nullptr) == DBStore::kSuccess;
  }

 private:
  static void Save(const char* name, std::optional<std::string>& saved) {
    const char* value = getenv(name);
    if (value != nullptr) saved = value;
  }
  static void Restore(const char* name, const std::optional<std::string>& saved) {
    if (saved)
      setenv(name, saved->c_str(), 1);
    else
      unsetenv(name);
  }

  TempDir dir_;
  std::string schemaStore_;
  std::string store_;
  std::optional<std::string> savedSchemaStore_;
  std::optional<std::string> savedStore_;
};

}  // namespace CorvTest
