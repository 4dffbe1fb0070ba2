// Reads of the current value of Config rows: one row, one row for a caller's
// context, every instance of an object, and the auto-configuration view.
#include "db/ReadRows.h"

#include <corvconfigstore/KeyValue.h>
#include <corvconfigstore/UpgradeContext.h>

#include "core/Checks.h"
#include "db/BulkReads.h"
#include "db/MergeConfig.h"
#include "db/Statements.h"

namespace CorvConfigStore {

ObjectPtr GetInternal(const ConfigStoreObjectId& id, const Connection& conn,
                      const SchemaPtr& schema) {
  RowMap row = ReadObjectRow(conn, READ_TABLE_CONFIG, id);
  return MergeRowLayers(id, schema, row, "AutoConfValue", RunTimeUserColumn(row));
}

ObjectPtr GetConfigByBootAndContext(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                    USERDATA_CONTEXT context, const Connection& conn) {
  bool duringBoot = GetUpgradeCtx() == 0 && IsBoot();
  RowMap row = ReadObjectRow(conn, READ_TABLE_CONFIG, id);
  const char* main;
  if (context != EXTERNAL)
    main = "AutoConfValue";
  else if (duringBoot)
    main = ConfirmedUserColumn(row);
  else
    main = RunTimeUserColumn(row);
  return MergeRowLayers(id, schema, row, main, nullptr);
}

ObjectList GetConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                      const Connection& conn, const SchemaPtr& schema) {
  if (IsNull(filter, "GetConfigInstancesInternal")) return {};
  ConfigStoreObjectId id = filter->GetConfigStoreObjectId();
  ObjectList objects;
  if (!id.instanceId.empty()) {
    if (ObjectPtr object = GetInternal(id, conn, schema)) objects.push_back(object);
  } else {
    for (const RowMap& row : ReadInstanceRows(conn, GET_INSTANCES, id)) {
      ConfigStoreObjectId instance = WithInstanceId(id, RowText(row, "Identifier"));
      ObjectPtr object =
          MergeRowLayers(instance, schema, row, "AutoConfValue", RunTimeUserColumn(row));
      if (object) objects.push_back(object);
    }
  }
  FilterConfigStoreObjects(objects, filter);
  return objects;
}

ObjectPtr GetCurrentConfigInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                   const SchemaPtr& schema) {
  RowMap row = ReadObjectRow(conn, READ_TABLE_USER_AUTO_CONFIG, id);
  return MergeConfig(MakeLayerObject(id, schema, row, "AutoConfValue"),
                     MakeLayerObject(id, schema, row, ConfirmedUserColumn(row)), nullptr, nullptr);
}

ObjectList GetCurrentConfigInstancesInternal(const ConfigStoreObjectId& id, const Connection& conn,
                                             const SchemaPtr& schema) {
  ObjectList objects;
  for (const RowMap& row : ReadInstanceRows(conn, GET_INSTANCES, id)) {
    ObjectPtr object =
        GetCurrentConfigInternal(WithInstanceId(id, RowText(row, "Identifier")), conn, schema);
    if (object) objects.push_back(object);
  }
  return objects;
}

}  // namespace CorvConfigStore
