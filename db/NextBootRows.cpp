// Next-boot rows: storing, deleting, clearing and reading the values that
// take effect at the next boot, behind the remediation guard, and the
// boot-mode marker that tells the boot that such values are pending.
#include "db/NextBootRows.h"

#include "core/Checks.h"
#include "core/Throw.h"
#include "db/BulkReads.h"
#include "db/MergeConfig.h"
#include "db/ReadRows.h"
#include "db/Statements.h"
#include "db/WriteRows.h"
#include "schema/SchemaStore.h"
#include "sqlite/DBError.h"

namespace CorvConfigStore {

const char kBootModeKey[] = "BOOT_MODE";
const char kBootModeRemediation[] = "1";
const char kBootModePending[] = "4";

namespace {

void MarkNextBootPending(const Connection& conn) {
  if (DBStore::WriteKeyValue(conn, kBootModeKey, kBootModePending) != DBStore::kSuccess)
    DBStore::ThrowFailure(conn, "Failed to write BootMode to database.");
}

// Removes every next-boot row of id's type, with no guard of its own.
void DeleteNextBootRows(const ConfigStoreObjectId& id, const Connection& conn) {
  ExecuteWrite(conn, DBStore::SqlStatement(Sql::kDeleteNextBootRows), KeyParams(id),
               "Failed to clear RebootRequired config for csoId: " + id.toString());
}

void StoreNextBootValue(const ObjectPtr& object, const SchemaPtr& schema, const Connection& conn) {
  DBStore::SqlParams params =
      NumberedParams(object->GetConfigStoreObjectId(), object->GetVersion());
  for (const DBStore::SqlParam& layer : LayerPartParams(object, schema)) params.push_back(layer);
  params.push_back(DBStore::SqlParam::Text("SET"));
  ExecuteWrite(conn, DBStore::SqlStatement(Sql::kStoreNextBootValue), params,
               "Failed to update reboot-required configuraition.");
}

void StoreNextBootDeletion(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                           const Connection& conn) {
  if (!schema) ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
  DBStore::SqlParams params = NumberedParams(id, schema->GetVersion());
  params.push_back(
      DBStore::SqlParam::Text(schema->IsInstanceForm() ? "DELETE_INSTANCE" : "DELETE"));
  ExecuteWrite(conn, DBStore::SqlStatement(Sql::kStoreNextBootDeletion), params,
               "Failed to delete reboot-required configuraition.");
}

ObjectPtr BuildNextBootObject(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                              const ConfigRow& row) {
  return MergeRowLayers(id, schema, row, Layer::kUser, Layer::kNone);
}

}  // namespace

bool IsRemediating(const Connection& conn) {
  std::string mode;
  if (DBStore::ReadKeyValue(conn, kBootModeKey, mode) != DBStore::kSuccess)
    DBStore::ThrowFailure(conn, "Failed to read value from database.");
  return mode == kBootModeRemediation;
}

void CheckNotRemediating(const Connection& conn) {
  if (IsRemediating(conn))
    ThrowGeneral("Corv host is being remediated by Plexa, cannot set next-boot configuration.");
}

void SetRebootRequiredConfigInternal(const ObjectPtr& object, const SchemaPtr& schema,
                                     const Connection& conn) {
  if (IsNull(object, "SetRebootRequiredConfigInternal")) return;
  CheckNotRemediating(conn);
  StoreNextBootValue(object, schema, conn);
  MarkNextBootPending(conn);
}

void SetRebootRequiredConfigInstancesInternal(const ObjectList& objects, const SchemaPtr& schema,
                                              const Connection& conn) {
  ObjectList present;
  for (const ObjectPtr& object : objects)
    if (!IsNull(object, "SetRebootRequiredConfigInstancesInternal")) present.push_back(object);
  CheckNotRemediating(conn);
  if (present.empty()) return;
  DeleteNextBootRows(WithInstanceId(present.front()->GetConfigStoreObjectId(), ""), conn);
  for (const ObjectPtr& object : present) StoreNextBootValue(object, schema, conn);
  MarkNextBootPending(conn);
}

void DeleteRebootRequiredConfigInternal(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                        const Connection& conn) {
  CheckNotRemediating(conn);
  StoreNextBootDeletion(id, schema, conn);
  MarkNextBootPending(conn);
}

void DeleteRebootRequiredConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                                 const SchemaPtr& schema,
                                                 const OperationContext& op,
                                                 const Connection& conn) {
  if (IsNull(filter, "DeleteRebootRequiredConfigInstancesInternal")) return;
  CheckNotRemediating(conn);
  for (const ObjectPtr& object : GetConfigInstancesInternal(filter, conn, schema, op))
    StoreNextBootDeletion(object->GetConfigStoreObjectId(), schema, conn);
  MarkNextBootPending(conn);
}

void ClearRebootRequiredConfigInstances(const ConfigStoreObjectId& id, const SchemaPtr&,
                                        const Connection& conn) {
  CheckNotRemediating(conn);
  DeleteNextBootRows(id, conn);
}

ObjectPtr GetRebootRequiredConfigInternal(const ConfigStoreObjectId& id, const SchemaPtr& schema,
                                          const Connection& conn) {
  DBStore::SqlStatement statement(Sql::kReadNextBootValue);
  return BuildNextBootObject(id, schema, ReadObjectRow(conn, statement, id));
}

ObjectList GetRebootRequiredConfigInstancesInternal(const std::shared_ptr<FilterSpecObject>& filter,
                                                    const SchemaPtr& schema,
                                                    const Connection& conn) {
  if (IsNull(filter, "GetRebootRequiredConfigInstancesInternal")) return {};
  ConfigStoreObjectId id = filter->GetConfigStoreObjectId();
  ObjectList objects;
  if (!id.instanceId.empty()) {
    if (ObjectPtr object = GetRebootRequiredConfigInternal(id, schema, conn))
      objects.push_back(object);
  } else {
    DBStore::SqlStatement statement(Sql::kReadNextBootValues);
    for (const ConfigRow& row : ReadInstanceRows(conn, statement, id)) {
      ObjectPtr object = BuildNextBootObject(WithInstanceId(id, row.identifier), schema, row);
      if (object) objects.push_back(object);
    }
  }
  FilterConfigStoreObjects(objects, filter);
  return objects;
}

}  // namespace CorvConfigStore
