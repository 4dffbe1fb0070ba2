// Rows as the readers see them: a map from column name to text (SQL NULL
// columns absent), the collectors that fill such maps from a statement, the
// parameter lists of a row key, and the layer objects built from one column.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "sqlite/DBStore.h"

namespace CorvSchemaStore {
class SchemaObject;
}

namespace CorvConfigStore {

using Connection = std::shared_ptr<DBStore::StoreConnection>;
using SchemaPtr = std::shared_ptr<CorvSchemaStore::SchemaObject>;
using ObjectPtr = std::shared_ptr<ConfigStoreObject>;
using ObjectList = std::vector<ObjectPtr>;

// Column name to text; a column holding SQL NULL is absent.
using RowMap = std::unordered_map<std::string, std::string>;
// The rows of a raw read, in result order.
using RowList = std::shared_ptr<std::vector<std::shared_ptr<RowMap>>>;

// The identifier of one instance of id's object.
inline ConfigStoreObjectId WithInstanceId(const ConfigStoreObjectId& id,
                                          const std::string& instanceId) {
  return ConfigStoreObjectId(id.key, id.group, id.component, instanceId);
}

// Parameters of a row key: Name, ConfigGroup, Component.
DBStore::SqlParams KeyParams(const ConfigStoreObjectId& id);
// Name, ConfigGroup, Component, Identifier.
DBStore::SqlParams InstanceParams(const ConfigStoreObjectId& id);
// The numbered form: ?1 Identifier, ?2 Name, ?3 ConfigGroup, ?4 Component,
// ?5 Version.
DBStore::SqlParams NumberedParams(const ConfigStoreObjectId& id, const std::string& version);

// A text parameter, or NULL when the text is empty.
DBStore::SqlParam TextOrNull(const std::string& text);

// Stores every non-NULL column of one result row into row; an earlier value
// of the same column is overwritten.
void StoreColumns(RowMap& row, int count, char** values, char** names);

// Runs statement and folds every result row into row. Returns the database
// layer's status.
int ReadRow(const Connection& conn, const DBStore::SqlStatement& statement,
            const DBStore::SqlParams& params, RowMap& row);

// Runs statement and keeps one row map per result row. Returns the database
// layer's status.
int ReadRows(const Connection& conn, const DBStore::SqlStatement& statement,
             const DBStore::SqlParams& params, std::vector<RowMap>& rows);

// The row-list collector of the raw reads: one shared row map per result
// row. Throws ConfigStoreException 2000 "Get store rows failed." when the
// statement fails; no rows is an empty list.
RowList CollectRows(const Connection& conn, const DBStore::SqlStatement& statement,
                    const DBStore::SqlParams& params);

// Reads one row of an object: binds Name, ConfigGroup, Component and
// Identifier of id. Throws ConfigStoreException 2000 "Get failed: <id>" when
// the statement fails; no matching row leaves the map empty.
RowMap ReadObjectRow(const Connection& conn, const DBStore::SqlStatement& statement,
                     const ConfigStoreObjectId& id);

// Reads every row of an object: binds Name, ConfigGroup and Component of id.
// Throws ConfigStoreException 2000 "Read Instances failed for: <id>" when
// the statement fails.
std::vector<RowMap> ReadInstanceRows(const Connection& conn, const DBStore::SqlStatement& statement,
                                     const ConfigStoreObjectId& id);

// The Revision column as a base-10 integer; -1 when the row has none.
int RowRevision(const RowMap& row);

// The text of a column, or the empty text when it is absent.
const std::string& RowText(const RowMap& row, const char* column);

// The layer object of one column: the column's JSON, with the row's
// version, creation and modification time and revision; empty when the
// column is absent. Text that is not one JSON object raises
// ConfigStoreException 1082.
ObjectPtr MakeLayerObject(const ConfigStoreObjectId& id, const SchemaPtr& schema, const RowMap& row,
                          const char* column);

// The column that holds a row's user value at run time: with an upgrade in
// progress DesiredValue when present, else UserValue; otherwise UserValue
// only when Success is "1", and none (null) when it is not.
const char* RunTimeUserColumn(const RowMap& row);

// The user value of a confirmed row only: UserValue when Success is "1".
const char* ConfirmedUserColumn(const RowMap& row);

}  // namespace CorvConfigStore
