// Reads of the desired view of Config rows: the user value a row is meant
// to have once a boot confirms it (CASE Success WHEN 0 THEN UserValue ELSE
// DesiredValue END).
#include "db/MergeConfig.h"
#include "db/ReadRows.h"
#include "db/Statements.h"

namespace CorvConfigStore {
namespace {

ObjectPtr BuildDesiredObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                             const ConfigRow& row, FLAG flag) {
  if (flag != FLAG_WITH_VITAL_CACHED) return MakeLayerObject(id, schema, row, Layer::kValue);
  return MergeRowLayers(id, schema, row, Layer::kValue, Layer::kNone);
}

}  // namespace

ObjectPtr GetDesiredInternal(const ConfigStoreObjectId& id, const Connection& conn,
                             const SchemaPtr& schema, FLAG flag) {
  DBStore::SqlStatement statement(flag == FLAG_WITH_VITAL_CACHED ? Sql::kReadDesiredAllLayers
                                                                 : Sql::kReadDesiredUser);
  return BuildDesiredObject(id, schema, ReadObjectRow(conn, statement, id), flag);
}

ObjectList GetDesiredUserConfigInstancesInternal(const ConfigStoreObjectId& id,
                                                 const Connection& conn, const SchemaPtr& schema,
                                                 FLAG flag) {
  DBStore::SqlStatement statement(flag == FLAG_WITH_VITAL_CACHED
                                      ? Sql::kReadDesiredInstancesAllLayers
                                      : Sql::kReadDesiredInstancesUser);
  ObjectList objects;
  for (const ConfigRow& row : ReadInstanceRows(conn, statement, id)) {
    ObjectPtr object = BuildDesiredObject(WithInstanceId(id, row.identifier), schema, row, flag);
    if (object) objects.push_back(object);
  }
  return objects;
}

}  // namespace CorvConfigStore
