// Writers of Config rows by value layer: the user layer, the cached, vital
// and auto-configuration layers, all layers at once, and the split writes
// behind Set.
#include <corvconfigstore/UpgradeContext.h>

#include "core/Checks.h"
#include "core/Throw.h"
#include "db/Statements.h"
#include "db/WriteRows.h"
#include "object/ConfigStoreObjectImpl.h"
#include "schema/SchemaStore.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

// The object's value as written to its column: NULL when it has no members.
DBStore::SqlParam LayerParam(const ObjectPtr& object) {
  if (object->IsEmpty()) return DBStore::SqlParam::Null();
  return DBStore::SqlParam::Text(ImplOf(object).GetSerializedData());
}

DBStore::SqlParams ObjectParams(const ObjectPtr& object) {
  return NumberedParams(object->GetConfigStoreObjectId(), object->GetVersion());
}

// The one writer of the cached, vital and auto-configuration layers.
void WriteLayerInstances(const char* operation, const char* text, const ObjectList& objects,
                         const Connection& conn) {
  DBStore::SqlStatement statement(text);
  for (const ObjectPtr& object : objects) {
    if (IsNull(object, operation)) continue;
    DBStore::SqlParams params = ObjectParams(object);
    params.push_back(LayerParam(object));
    if (DBStore::ExecuteStmt(conn, statement, params, nullptr, kStmtTimeLimit) != DBStore::kSuccess)
      ThrowGeneral("Write config instances failed");
  }
}

std::string ColumnText(const ColumnMap& columns, const char* name) {
  auto found = columns.find(name);
  return found == columns.end() ? std::string() : found->second;
}

// The column map of one object split into its layers.
ColumnMap SplitColumns(const ObjectPtr& object,
                       const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                       USERDATA_CONTEXT context) {
  const ConfigStoreObjectId& id = object->GetConfigStoreObjectId();
  SchemaPtr schema = cache->GetSchema(id.component, id.group, id.key);
  if (!schema) ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
  LayerParts parts = SplitLayers(object, schema);
  auto text = [](const ObjectPtr& part) {
    return part ? ImplOf(part).GetSerializedData() : std::string();
  };
  ColumnMap columns;
  columns[context == INTERNAL ? "AutoConfValue" : "UserValue"] = text(parts.user);
  columns["VitalValue"] = text(parts.vital);
  columns["CachedValue"] = text(parts.cached);
  columns["Version"] = object->GetVersion();
  return columns;
}

}  // namespace

void WriteUserConfigInstances(const ObjectList& objects, const Connection& conn, bool success) {
  int flag = GetUpgradeCtx() == 2 ? (success ? 1 : 0) : 1;
  DBStore::SqlStatement statement(Sql::kWriteUserLayer);
  for (const ObjectPtr& object : objects) {
    if (IsNull(object, "WriteUserConfigInstances")) continue;
    DBStore::SqlParams params = ObjectParams(object);
    params.push_back(DBStore::SqlParam::Int(flag));
    params.push_back(LayerParam(object));
    if (DBStore::ExecuteStmt(conn, statement, params, nullptr, kStmtTimeLimit) != DBStore::kSuccess)
      ThrowGeneral("Write user data failed");
  }
}

void WriteCachedConfigInstances(const ObjectList& objects, const Connection& conn) {
  WriteLayerInstances("WriteCachedConfigInstances", Sql::kWriteCachedLayer, objects, conn);
}

void WriteVitalConfigInstances(const ObjectList& objects, const Connection& conn) {
  WriteLayerInstances("WriteVitalConfigInstances", Sql::kWriteVitalLayer, objects, conn);
}

void WriteAutoConfConfigInstances(const ObjectList& objects, const Connection& conn) {
  WriteLayerInstances("WriteAutoConfConfigInstances", Sql::kWriteAutoConfLayer, objects, conn);
}

void WriteCompleteConfigInstances(const ColumnMapsById& columns, const Connection& conn) {
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  DBStore::SqlStatement statement(Sql::kWriteAllLayers);
  // Once an entry is written unconfirmed, so are the later ones of the call.
  int success = 1;
  for (const auto& entry : columns) {
    const ConfigStoreObjectId& id = entry.first;
    SchemaPtr schema = cache->GetSchema(id.component, id.group, id.key);
    if (!schema)
      ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
    if (GetUpgradeCtx() == 2 && !schema->ApplyDuringUpgrade()) success = 0;
    std::string version = ColumnText(entry.second, "Version");
    DBStore::SqlParams params =
        NumberedParams(id, version.empty() ? schema->GetVersion() : version);
    params.push_back(DBStore::SqlParam::Int(success));
    for (const char* column : {"AutoConfValue", "UserValue", "VitalValue", "CachedValue"})
      params.push_back(TextOrNull(ColumnText(entry.second, column)));
    if (DBStore::ExecuteStmt(conn, statement, params, nullptr, kStmtTimeLimit) != DBStore::kSuccess)
      ThrowGeneral("WriteComplete failed");
  }
}

void SetInternal(const ObjectPtr& object,
                 const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                 USERDATA_CONTEXT context, const Connection& conn) {
  SetInstancesInternal({object}, context, cache, conn);
}

void SetInstancesInternal(const ObjectList& objects, USERDATA_CONTEXT context,
                          const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                          const Connection& conn) {
  ColumnMapsById columns;
  for (const ObjectPtr& object : objects)
    if (!IsNull(object, "SetInstancesInternal"))
      columns[object->GetConfigStoreObjectId()] = SplitColumns(object, cache, context);
  WriteCompleteConfigInstances(columns, conn);
}

}  // namespace CorvConfigStore
