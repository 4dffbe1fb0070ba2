// The next-boot store's operations: identity and tag checks, then the
// next-boot rows, each write in a transaction of its own.
#include "store/NextBootStoreImpl.h"

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>

#include "core/Checks.h"
#include "db/NextBootRows.h"
#include "store/ObjectLists.h"
#include "store/SchemaLookup.h"
#include "store/StoreTransactions.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

NextBootStoreImpl::NextBootStoreImpl(std::shared_ptr<DBStore::StoreConnection> connection)
    : connection_(std::move(connection)) {}

NextBootStoreImpl::~NextBootStoreImpl() = default;

template <typename T, typename Operation>
void NextBootStoreImpl::ExecuteUnderTransaction(
    const T& argument, const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
    Operation operation) {
  RunInTransaction(connection_, "ExecuteUnderTransaction",
                   TransactionFailure::kKeepStoreExceptions,
                   [&] { operation(argument, schema, connection_); });
}

std::shared_ptr<ConfigStoreObject> NextBootStoreImpl::Get(const ConfigStoreObjectId& id) {
  TraceOperation(3, "Get", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(id, schema);
  ValidateRebootRequiredConfig(schema);
  return GetRebootRequiredConfigInternal(id, schema, connection_);
}

void NextBootStoreImpl::Set(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "Set")) return;
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  TraceOperation(3, "Set", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(object, schema);
  ValidateRebootRequiredConfig(schema);
  ValidateSet(schema, object);
  ValidateEmptyObject(object);
  ExecuteUnderTransaction(object, schema, SetRebootRequiredConfigInternal);
}

void NextBootStoreImpl::Delete(const ConfigStoreObjectId& id) {
  TraceOperation(3, "Delete", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(id, schema);
  ValidateRebootRequiredConfig(schema);
  ExecuteUnderTransaction(id, schema, DeleteRebootRequiredConfigInternal);
}

void NextBootStoreImpl::Reset(const ConfigStoreObjectId& id) {
  TraceOperation(3, "Reset", id, EXTERNAL);
  auto schema = LookupSchema(id);
  CheckSchema(id, schema);
  ValidateRebootRequiredConfig(schema);
  ExecuteUnderTransaction(id, schema, ClearRebootRequiredConfigInstances);
}

void NextBootStoreImpl::SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  objects = DropNullObjects(objects, "SetInstances");
  const ConfigStoreObjectId first = objects.front()->GetConfigStoreObjectId();
  TraceOperation(3, "SetInstances", first, EXTERNAL);
  auto schema = LookupSchema(first);
  ValidateCsoIdInstances(first, schema);
  ValidateRebootRequiredConfig(schema);
  for (const auto& object : objects) {
    CheckSameKey(first, object->GetConfigStoreObjectId());
    validateInstanceId(object->GetConfigStoreObjectId());
    ValidateSet(schema, object);
    ValidateEmptyObject(object);
  }
  ExecuteUnderTransaction(objects, schema, SetRebootRequiredConfigInstancesInternal);
}

std::vector<std::shared_ptr<ConfigStoreObject>> NextBootStoreImpl::GetInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "GetInstances")) return {};
  TraceOperation(3, "GetInstances", filter->GetConfigStoreObjectId(), EXTERNAL);
  auto schema = LookupSchema(filter->GetConfigStoreObjectId());
  ValidateCsoIdInstances(filter, schema);
  ValidateRebootRequiredConfig(schema);
  return GetRebootRequiredConfigInstancesInternal(filter, schema, connection_);
}

void NextBootStoreImpl::DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "DeleteInstances")) return;
  TraceOperation(3, "DeleteInstances", filter->GetConfigStoreObjectId(), EXTERNAL);
  auto schema = LookupSchema(filter->GetConfigStoreObjectId());
  ValidateCsoIdInstances(filter, schema);
  ValidateRebootRequiredConfig(schema);
  ExecuteUnderTransaction(filter, schema, DeleteRebootRequiredConfigInstancesInternal);
}

}  // namespace CorvConfigStore
