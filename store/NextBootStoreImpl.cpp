// The next-boot store's operations: identity and tag checks, then the
// next-boot rows, each write in a transaction of its own.
#include "store/NextBootStoreImpl.h"

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>

#include "core/Checks.h"
#include "db/NextBootRows.h"
#include "store/ObjectLists.h"
#include "store/StoreOperation.h"
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
  StoreOperation op(3, "Get", id, EXTERNAL);
  ValidateCsoId(id, op.Schema());
  ValidateRebootRequiredConfig(op.Schema());
  return GetRebootRequiredConfigInternal(id, op.Schema(), connection_);
}

void NextBootStoreImpl::Set(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "Set")) return;
  StoreOperation op(3, "Set", object->GetConfigStoreObjectId(), EXTERNAL);
  ValidateCsoId(object, op.Schema());
  ValidateRebootRequiredConfig(op.Schema());
  ValidateSet(op.Schema(), object);
  ValidateEmptyObject(object);
  ExecuteUnderTransaction(object, op.Schema(), SetRebootRequiredConfigInternal);
}

void NextBootStoreImpl::Delete(const ConfigStoreObjectId& id) {
  StoreOperation op(3, "Delete", id, EXTERNAL);
  ValidateCsoId(id, op.Schema());
  ValidateRebootRequiredConfig(op.Schema());
  ExecuteUnderTransaction(id, op.Schema(), DeleteRebootRequiredConfigInternal);
}

void NextBootStoreImpl::Reset(const ConfigStoreObjectId& id) {
  StoreOperation op(3, "Reset", id, EXTERNAL);
  CheckSchema(id, op.Schema());
  ValidateRebootRequiredConfig(op.Schema());
  ExecuteUnderTransaction(id, op.Schema(), ClearRebootRequiredConfigInstances);
}

void NextBootStoreImpl::SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  objects = DropNullObjects(objects, "SetInstances");
  StoreOperation op(3, "SetInstances", objects.front()->GetConfigStoreObjectId(), EXTERNAL);
  ValidateCsoIdInstances(op.Id(), op.Schema());
  ValidateRebootRequiredConfig(op.Schema());
  for (const auto& object : objects) {
    CheckSameKey(op.Id(), object->GetConfigStoreObjectId());
    validateInstanceId(object->GetConfigStoreObjectId());
    ValidateSet(op.Schema(), object);
    ValidateEmptyObject(object);
  }
  ExecuteUnderTransaction(objects, op.Schema(), SetRebootRequiredConfigInstancesInternal);
}

std::vector<std::shared_ptr<ConfigStoreObject>> NextBootStoreImpl::GetInstances(
    const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "GetInstances")) return {};
  StoreOperation op(3, "GetInstances", filter->GetConfigStoreObjectId(), EXTERNAL);
  ValidateCsoIdInstances(filter, op.Schema());
  ValidateRebootRequiredConfig(op.Schema());
  return GetRebootRequiredConfigInstancesInternal(filter, op.Schema(), connection_);
}

void NextBootStoreImpl::DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "DeleteInstances")) return;
  StoreOperation op(3, "DeleteInstances", filter->GetConfigStoreObjectId(), EXTERNAL);
  ValidateCsoIdInstances(filter, op.Schema());
  ValidateRebootRequiredConfig(op.Schema());
  // The instances to delete are the current ones, as this operation sees
  // the host's phase.
  ExecuteUnderTransaction(filter, op.Schema(),
                          [&op](const std::shared_ptr<FilterSpecObject>& selected,
                                const SchemaPtr& schema, const Connection& conn) {
                            DeleteRebootRequiredConfigInstancesInternal(selected, schema,
                                                                        op.Context(), conn);
                          });
}

}  // namespace CorvConfigStore
