// Setting up a store: creating the database, loading key schemas into the
// schema store and shipped defaults into the store.
#pragma once

#include <corvconfigstore/Export.h>

#include <string>

namespace CorvConfigStore {

// The store database in force: CORV_CONFIGSTORE_DB, or
// "/etc/velmo/configstore/current-store-1" when it is unset or empty.
CORV_EXPORT std::string ConfigStorePath();

// The schema store database in force: CORV_SCHEMASTORE_DB, or
// "/etc/velmo/configstore/schema-store-1" when it is unset or empty.
CORV_EXPORT std::string SchemaStorePath();

// Creates the store database at path (mode 0600) with its tables, or
// completes an existing one; idempotent. Throws ConfigStoreException 2000
// naming the path and the reason on failure.
CORV_EXPORT void ProvisionStore(const std::string& path);

// Loads a file of key schemas, nested component, group, key, into the schema
// store named by CORV_SCHEMASTORE_DB (created when missing), in one
// transaction: a file with any fault loads nothing. Returns the number of
// key schemas loaded. Throws ConfigStoreException naming the key and the
// fault.
CORV_EXPORT int LoadSchemaFile(const std::string& path);

// Loads a defaults document, nested component, group, key (an array of
// instances for a key with instances), into the DefaultConfig rows of the
// store named by CORV_CONFIGSTORE_DB, in one transaction. Returns the number
// of rows written.
CORV_EXPORT int LoadDefaultsFile(const std::string& path);

}  // namespace CorvConfigStore
