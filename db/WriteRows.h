// Writes and deletes of Config rows. Every operation runs on the caller's
// connection inside the caller's transaction and stops at its first
// failure, leaving the caller to cancel the transaction.
#pragma once

#include <corvconfigstore/Types.h>

#include <optional>
#include <string>

#include "core/IdOrderedMap.h"
#include "db/ConfigRow.h"

namespace CorvConfigStore {

// The value layers one complete write stores in a row; an empty text is
// stored as NULL. An empty version stands for the schema's.
struct RowLayers {
  std::string user;
  std::string autoConf;
  std::string vital;
  std::string cached;
  std::string version;
};
using RowLayersById = IdOrderedMap<RowLayers>;

// Each object's value (bound NULL when empty) becomes the row's user value,
// confirmed (while op's upgrade context is 2: confirmed when success is
// set); the desired value becomes NULL, the other layers are kept. Throws
// 2000 "Write user data failed".
void WriteUserConfigInstances(const ObjectList& objects, const Connection& conn, bool success,
                              const OperationContext& op);

// Each object's value becomes the row's cached, vital or auto-configuration
// layer; every other column is kept (Success 1 for a new row). Throw 2000
// "Write config instances failed".
void WriteCachedConfigInstances(const ObjectList& objects, const Connection& conn);
void WriteVitalConfigInstances(const ObjectList& objects, const Connection& conn);
void WriteAutoConfConfigInstances(const ObjectList& objects, const Connection& conn);

// Called after each row a bulk write has written, for callers that show
// how far a long write is.
using RowWritten = std::function<void()>;

// Writes every layer of each row at once; the desired value becomes NULL.
// Rows are written in the order they were added. In op's upgrade context 2
// a schema that does not apply during upgrades writes its entry, and every
// later one, unconfirmed. Throws 1037 for an
// entry without schema and 2000 "WriteComplete failed" when a write fails.
// written, when given, is called after each row.
void WriteCompleteConfigInstances(const RowLayersById& rows, const OperationContext& op,
                                  const Connection& conn, const RowWritten& written = nullptr);

// The JSON texts of the layers of an object divided by the schema's
// "vital" and "cached" tags; each is empty when the object has nothing of
// that layer.
struct LayerParts {
  std::optional<std::string> user;
  std::optional<std::string> vital;
  std::optional<std::string> cached;
};
LayerParts SplitLayers(const ObjectPtr& object, const SchemaPtr& schema);
// The split object's user, vital and cached parts as statement parameters,
// in that order; NULL for an absent part.
DBStore::SqlParams LayerPartParams(const ObjectPtr& object, const SchemaPtr& schema);

// Splits each object into its layers and writes all of them with
// WriteCompleteConfigInstances; the user part goes to the auto-configuration
// layer for an INTERNAL caller. Throws 1037 when op's schema cache has no
// schema for an object.
void SetInternal(const ObjectPtr& object, USERDATA_CONTEXT context, const OperationContext& op,
                 const Connection& conn);
void SetInstancesInternal(const ObjectList& objects, USERDATA_CONTEXT context,
                          const OperationContext& op, const Connection& conn,
                          const RowWritten& written = nullptr);

// Insert-or-replace of one row by layer selector, the object split into its
// user (or, for UPDATE_INTERNAL, auto-configuration), vital and cached
// parts. Throws 2000 "Database call to update configuration by context
// failed for: <id>".
void SetByContextInternal(const ObjectPtr& object, const SchemaPtr& schema, UPDATE_CONTEXT context,
                          const Connection& conn);
// The same as an update of the existing row.
void UpdateByContextInternal(const ObjectPtr& object, const SchemaPtr& schema,
                             UPDATE_CONTEXT context, const Connection& conn);

// Deletes the one row of id. Throws 2000 "Delete failed: <id>".
void DeleteInternal(const ConfigStoreObjectId& id, const Connection& conn);
// Deletes every row of id's object. Throws 2000 "Delete instances failed:
// <id>".
void DeleteInstancesInternal(const ConfigStoreObjectId& id, const Connection& conn);

// Set one layer to NULL in every row of id's object; the rows stay. Throw
// 2000 "Failed to Delete in SetConfigInstancesInternal".
void DeleteUserConfigInstances(const ConfigStoreObjectId& id, const Connection& conn);
void DeleteVitalConfigInstances(const ConfigStoreObjectId& id, const Connection& conn);
void DeleteCachedConfigInstances(const ConfigStoreObjectId& id, const Connection& conn);
void DeleteAutoConfConfigInstances(const ConfigStoreObjectId& id, const Connection& conn);
// The runner of the four: statement bound with Name, ConfigGroup, Component.
void DeletePartialConfigInstances(const DBStore::SqlStatement& statement,
                                  const ConfigStoreObjectId& id, const Connection& conn);

}  // namespace CorvConfigStore
