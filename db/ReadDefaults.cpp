// Reads of the shipped defaults (DefaultConfig rows) as configuration
// objects.
#include <corvconfigstore/Logger.h>

#include "core/Checks.h"
#include "db/BulkReads.h"
#include "db/MergeConfig.h"
#include "db/ReadRows.h"
#include "db/Statements.h"

namespace CorvConfigStore {
namespace {

// The default row of one instance; a missing row is logged, not an error.
bool ReadDefaultRow(const ConfigStoreObjectId& id, const Connection& conn, ConfigRow& row) {
  row = ReadObjectRow(conn, GET_DEFAULT_INSTANCE, id);
  if (row.found) return true;
  CSLogger::Log(0, "Object not found: %s", id.toString().c_str());
  return false;
}

// Lists the default instances of id's object and reads each with read.
template <typename Read>
ObjectList ReadDefaultInstances(const ConfigStoreObjectId& id, const Connection& conn,
                                const SchemaPtr& schema, Read read) {
  ObjectList objects;
  if (!id.instanceId.empty()) {
    if (ObjectPtr object = read(id, conn, schema)) objects.push_back(object);
    return objects;
  }
  DBStore::SqlStatement statement(Sql::kReadDefaultInstances);
  for (const ConfigRow& row : ReadInstanceRows(conn, statement, id)) {
    ObjectPtr object = read(WithInstanceId(id, row.identifier), conn, schema);
    if (object) objects.push_back(object);
  }
  return objects;
}

}  // namespace

ObjectPtr GetDefaultConfigInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                   const SchemaPtr& schema) {
  ConfigRow row;
  if (!ReadDefaultRow(id, conn, row)) return nullptr;
  return MergeRowLayers(id, schema, row, Layer::kValue, Layer::kNone);
}

ObjectPtr GetDefaultUserConfigInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                       const SchemaPtr& schema) {
  ConfigRow row;
  if (!ReadDefaultRow(id, conn, row)) return nullptr;
  return MakeLayerObject(id, schema, row, Layer::kValue);
}

ObjectList GetDefaultConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                             const Connection& conn, const SchemaPtr& schema) {
  if (IsNull(filter, "GetDefaultConfigInstancesInternal")) return {};
  ObjectList objects = ReadDefaultInstances(filter->GetConfigStoreObjectId(), conn, schema,
                                            GetDefaultConfigInternal);
  FilterConfigStoreObjects(objects, filter);
  return objects;
}

ObjectList GetDefaultUserConfigInstancesInternal(const ConfigStoreObjectId& id,
                                                 const Connection& conn, const SchemaPtr& schema) {
  return ReadDefaultInstances(id, conn, schema, GetDefaultUserConfigInternal);
}

}  // namespace CorvConfigStore
