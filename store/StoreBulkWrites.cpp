// The store handle's bulk writes: every instance of a key replaced in one
// transaction, whole or one layer at a time.
#include <corvconfigstore/ConfigStoreObject.h>

#include <algorithm>

#include "core/Checks.h"
#include "db/WriteRows.h"
#include "object/ObjectAccess.h"
#include "store/ConfigStoreImpl.h"
#include "schema/SchemaStore.h"
#include "store/StoreOperation.h"
#include "store/StoreTransactions.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

namespace {

// Every object must name an instance of the operation's key and be valid
// by check; all are checked before anything is written.
template <typename Check>
void CheckInstances(const StoreOperation& op, const ObjectList& objects, Check check) {
  for (const auto& object : objects) {
    CheckSameKey(op.Id(), IdOf(object));
    validateInstanceId(IdOf(object));
    check(op.Schema(), object);
  }
}

}  // namespace

void ConfigStoreImpl::SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                   const USERDATA_CONTEXT& context) {
  objects = DropNullObjects(objects, "SetInstances");
  StoreOperation op(3, "SetInstances", IdOf(objects.front()), context);
  const SchemaPtr& schema = op.Schema();
  ValidateCsoIdInstances(op.Id(), schema);
  CheckInstances(op, objects, ValidateSet);
  op.CheckBootRule(std::any_of(objects.begin(), objects.end(), [&schema](const auto& object) {
    return isUserType(object, schema);
  }));

  RunInTransaction(connection_, "SetInstances", TransactionFailure::kWrapAll, [&] {
    DeleteInstancesInternal(op.Id(), connection_);
    SetInstancesInternal(objects, context, op.Context(), connection_);
  });
  op.Notify();
}

void ConfigStoreImpl::SetUserDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                           const USERDATA_CONTEXT& context) {
  objects = DropNullObjects(objects, "SetUserDataInstances");
  StoreOperation op(3, "SetUserDataInstances", IdOf(objects.front()), context);
  ValidateCsoIdInstances(op.Id(), op.Schema());
  op.CheckBootRule(true);
  if (context == INTERNAL) {
    SetDataInstancesInternal(op, objects, ValidateUserConfig, DeleteAutoConfConfigInstances,
                      WriteAutoConfConfigInstances);
    return;
  }
  const bool success = op.Schema()->ApplyDuringUpgrade();
  SetDataInstancesInternal(op, objects, ValidateUserConfig, DeleteUserConfigInstances,
                    [&](const ObjectList& layer, const Connection& conn) {
                      WriteUserConfigInstances(layer, conn, success, op.Context());
                    });
}

void ConfigStoreImpl::SetCachedDataInstances(
    std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  objects = DropNullObjects(objects, "SetCachedDataInstances");
  StoreOperation op(3, "SetCachedDataInstances", IdOf(objects.front()), EXTERNAL);
  ValidateCsoIdInstances(op.Id(), op.Schema());
  SetDataInstancesInternal(op, objects, ValidateCachedConfig, DeleteCachedConfigInstances,
                    WriteCachedConfigInstances);
}

void ConfigStoreImpl::SetVitalDataInstances(
    std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  objects = DropNullObjects(objects, "SetVitalDataInstances");
  StoreOperation op(3, "SetVitalDataInstances", IdOf(objects.front()), EXTERNAL);
  ValidateCsoIdInstances(op.Id(), op.Schema());
  SetDataInstancesInternal(op, objects, ValidateVitalConfig, DeleteVitalConfigInstances,
                    WriteVitalConfigInstances);
}

void ConfigStoreImpl::SetDataInstancesInternal(const StoreOperation& op, const ObjectList& objects,
                                        const LayerCheck& check, const LayerClear& clearLayer,
                                        const LayerWrite& writeLayer) {
  CheckInstances(op, objects, check);
  RunInTransaction(connection_, "SetDataInstancesInternal", TransactionFailure::kWrapAll, [&] {
    clearLayer(op.Id(), connection_);
    writeLayer(objects, connection_);
  });
  op.Notify();
}

}  // namespace CorvConfigStore
