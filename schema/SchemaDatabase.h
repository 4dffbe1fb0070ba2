// The schema store database: the Schema table, the SmartnicSchema view over
// it, and the reads and writes of key schema rows.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sqlite/DBStore.h"

namespace CorvSchemaStore {

// One row of the Schema table.
struct SchemaRow {
  std::string component;
  std::string group;
  std::string key;
  std::string version;
  std::string valueType;  // empty: NULL in the table
  std::string document;   // the normalised key schema as compact JSON text
};

// Opens the schema store database at path for writing, creating the file
// (mode 0600) and its table and view when missing. Raises
// ConfigStoreException 2000 naming the path and the reason.
std::shared_ptr<DBStore::StoreConnection> OpenSchemaDatabaseForWrite(const std::string& path);

// Inserts or replaces the row of (component, group, key). 0 on success.
int WriteSchemaRow(const std::shared_ptr<DBStore::StoreConnection>& connection,
                   const SchemaRow& row);

// Reads every row, ordered by component, group and key (version and value
// type are left empty). 0 on success.
int ReadSchemaRows(const std::shared_ptr<DBStore::StoreConnection>& connection,
                   std::vector<SchemaRow>& rows);

}  // namespace CorvSchemaStore
