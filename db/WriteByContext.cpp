// Writes of one row by layer selector: the user layer of an external
// caller (0), the auto-configuration layer of an internal one (2), or the
// user layer keeping what the row already pends or auto-configures (any
// other value).
#include "core/Checks.h"
#include "core/Throw.h"
#include "db/Statements.h"
#include "db/WriteRows.h"

namespace CorvConfigStore {
namespace {

void Run(const char* text, const DBStore::SqlParams& params, const ObjectPtr& object,
         const Connection& conn) {
  ExecuteWrite(conn, DBStore::SqlStatement(text), params,
               "Database call to update configuration by context failed for: " +
                   object->GetConfigStoreObjectId().toString());
}

}  // namespace

void SetByContextInternal(const ObjectPtr& object, const SchemaPtr& schema, UPDATE_CONTEXT context,
                          const Connection& conn) {
  if (IsNull(object, "SetByContextInternal")) return;
  const char* text = context == UPDATE_USER_EXTERNAL ? Sql::kSetUserByContext
                     : context == UPDATE_INTERNAL    ? Sql::kSetAutoConfByContext
                                                     : Sql::kSetUserKeepingAutoConf;
  DBStore::SqlParams params =
      NumberedParams(object->GetConfigStoreObjectId(), object->GetVersion());
  for (const DBStore::SqlParam& layer : LayerPartParams(object, schema)) params.push_back(layer);
  Run(text, params, object, conn);
}

void UpdateByContextInternal(const ObjectPtr& object, const SchemaPtr& schema,
                             UPDATE_CONTEXT context, const Connection& conn) {
  if (IsNull(object, "UpdateByContextInternal")) return;
  const char* text = context == UPDATE_USER_EXTERNAL ? Sql::kUpdateUserByContext
                     : context == UPDATE_INTERNAL    ? Sql::kUpdateAutoConfByContext
                                                     : Sql::kUpdateUserKeepingDesired;
  DBStore::SqlParams params = LayerPartParams(object, schema);
  for (const DBStore::SqlParam& key : InstanceParams(object->GetConfigStoreObjectId()))
    params.push_back(key);
  Run(text, params, object, conn);
}

}  // namespace CorvConfigStore
