// The store handle's bulk writes: every instance of a key replaced in one
// transaction, whole or one layer at a time.
#include <corvconfigstore/ConfigStoreObject.h>

#include <algorithm>

#include "core/Checks.h"
#include "db/WriteRows.h"
#include "notify/Notify.h"
#include "store/BootContextRule.h"
#include "store/ConfigStoreImpl.h"
#include "store/SchemaLookup.h"
#include "store/StoreTransactions.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

void ConfigStoreImpl::SetInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                   const USERDATA_CONTEXT& context) {
  objects = DropNullObjects(objects, "SetInstances");
  const ConfigStoreObjectId first = objects.front()->GetConfigStoreObjectId();
  TraceOperation(3, "SetInstances", first, context);
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  auto schema = cache->GetSchema(first.component, first.group, first.key);
  ValidateCsoIdInstances(first, schema);
  for (const auto& object : objects) {
    CheckSameKey(first, object->GetConfigStoreObjectId());
    validateInstanceId(object->GetConfigStoreObjectId());
    ValidateSet(schema, object);
  }
  ApplyBootContextRule(
      schema,
      std::any_of(objects.begin(), objects.end(),
                  [&schema](const auto& object) { return isUserType(object, schema); }),
      context);

  RunInTransaction(connection_, "SetInstances", TransactionFailure::kWrapAll, [&] {
    DeleteInstancesInternal(first, connection_);
    SetInstancesInternal(objects, context, cache, connection_);
  });
  NotifyIfAllowlisted(first);
}

void ConfigStoreImpl::SetUserDataInstances(std::vector<std::shared_ptr<ConfigStoreObject>> objects,
                                           const USERDATA_CONTEXT& context) {
  objects = DropNullObjects(objects, "SetUserDataInstances");
  const ConfigStoreObjectId first = objects.front()->GetConfigStoreObjectId();
  TraceOperation(3, "SetUserDataInstances", first, context);
  auto schema = LookupSchema(first);
  ValidateCsoIdInstances(first, schema);
  ApplyBootContextRule(schema, true, context);
  if (context == INTERNAL)
    SetDataInstancesInternal(objects, ValidateUserConfig, DeleteAutoConfConfigInstances, nullptr,
                             WriteAutoConfConfigInstances, schema);
  else
    SetDataInstancesInternal(objects, ValidateUserConfig, DeleteUserConfigInstances,
                             WriteUserConfigInstances, nullptr, schema);
}

void ConfigStoreImpl::SetCachedDataInstances(
    std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  objects = DropNullObjects(objects, "SetCachedDataInstances");
  const ConfigStoreObjectId first = objects.front()->GetConfigStoreObjectId();
  TraceOperation(3, "SetCachedDataInstances", first, EXTERNAL);
  auto schema = LookupSchema(first);
  ValidateCsoIdInstances(first, schema);
  SetDataInstancesInternal(objects, ValidateCachedConfig, DeleteCachedConfigInstances, nullptr,
                           WriteCachedConfigInstances, schema);
}

void ConfigStoreImpl::SetVitalDataInstances(
    std::vector<std::shared_ptr<ConfigStoreObject>> objects) {
  objects = DropNullObjects(objects, "SetVitalDataInstances");
  const ConfigStoreObjectId first = objects.front()->GetConfigStoreObjectId();
  TraceOperation(3, "SetVitalDataInstances", first, EXTERNAL);
  auto schema = LookupSchema(first);
  ValidateCsoIdInstances(first, schema);
  SetDataInstancesInternal(objects, ValidateVitalConfig, DeleteVitalConfigInstances, nullptr,
                           WriteVitalConfigInstances, schema);
}

void ConfigStoreImpl::SetDataInstancesInternal(const ObjectList& objects,
                                               const Validator& validate,
                                               const LayerDelete& deleteLayer,
                                               const LayerWriteWithFlag& writeLayerWithFlag,
                                               const LayerWrite& writeLayer,
                                               const SchemaPtr& schema) {
  const ConfigStoreObjectId first = objects.front()->GetConfigStoreObjectId();
  // Every object is checked before anything is written.
  for (const auto& object : objects) {
    CheckSameKey(first, object->GetConfigStoreObjectId());
    validateInstanceId(object->GetConfigStoreObjectId());
    validate(schema, object);
  }
  RunInTransaction(connection_, "SetDataInstancesInternal", TransactionFailure::kWrapAll, [&] {
    deleteLayer(first, connection_);
    if (writeLayerWithFlag)
      writeLayerWithFlag(objects, connection_, schema->ApplyDuringUpgrade());
    else
      writeLayer(objects, connection_);
  });
  NotifyIfAllowlisted(first);
}

}  // namespace CorvConfigStore
