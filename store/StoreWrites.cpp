// The store handle's single-object writes and its deletes.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/Logger.h>

#include "core/Checks.h"
#include "db/ReadRows.h"
#include "db/WriteRows.h"
#include "notify/Notify.h"
#include "object/CleanupObject.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/MergeObject.h"
#include "store/BootContextRule.h"
#include "store/ConfigStoreImpl.h"
#include "store/SchemaLookup.h"
#include "store/StoreTransactions.h"
#include "validation/Validation.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

namespace {

// Merges an update into target; the update's instance-id map names the
// arrays that are merged instance by instance.
void MergeUpdate(const ObjectPtr& update, const ObjectPtr& target) {
  UpdateConfigInternal(update, target, ImplOf(update).GetIdMap());
}

}  // namespace

void ConfigStoreImpl::Set(std::shared_ptr<ConfigStoreObject> object,
                          const USERDATA_CONTEXT& context) {
  if (IsNull(object, "Set")) return;
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  TraceOperation(3, "Set", id, context);
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  auto schema = cache->GetSchema(id.component, id.group, id.key);
  ValidateCsoId(object, schema);
  ValidateSet(schema, object);
  ApplyBootContextRule(schema, isUserType(object, schema), context);
  SetInternal(object, cache, context, connection_);
  NotifyIfAllowlisted(id);
}

void ConfigStoreImpl::SetUserData(std::shared_ptr<ConfigStoreObject> object,
                                  const USERDATA_CONTEXT& context) {
  if (IsNull(object, "SetUserData")) return;
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  TraceOperation(3, "SetUserData", id, context);
  auto schema = LookupSchema(id);
  ValidateCsoId(object, schema);
  ApplyBootContextRule(schema, true, context);
  ValidateUserConfig(schema, object);
  // Announced before the write: a write that fails afterwards has already
  // been announced.
  NotifyIfAllowlisted(id);
  if (context == INTERNAL)
    WriteAutoConfConfigInstances({object}, connection_);
  else
    WriteUserConfigInstances({object}, connection_, schema->ApplyDuringUpgrade());
}

void ConfigStoreImpl::SetVitalData(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "SetVitalData")) return;
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  TraceOperation(3, "SetVitalData", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(object, schema);
  ValidateVitalConfig(schema, object);
  WriteVitalConfigInstances({object}, connection_);
  NotifyIfAllowlisted(id);
}

void ConfigStoreImpl::SetCachedData(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "SetCachedData")) return;
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  TraceOperation(3, "SetCachedData", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(object, schema);
  ValidateCachedConfig(schema, object);
  WriteCachedConfigInstances({object}, connection_);
  NotifyIfAllowlisted(id);
}

void ConfigStoreImpl::Update(std::shared_ptr<ConfigStoreObject> object,
                             const USERDATA_CONTEXT& context) {
  if (IsNull(object, "Update")) return;
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  TraceOperation(3, "Update", id, context);
  auto schema = LookupSchema(id);
  ValidateCsoId(object, schema);
  ValidateUpdate(schema, object);
  const bool userData = isUserType(object, schema);
  ApplyBootContextRule(schema, userData, context);
  if (object->IsEmpty()) {
    CSLogger::Log(1, "Update called with empty object for %s, deletes are not supported",
                  id.toString().c_str());
    return;
  }
  const UPDATE_CONTEXT updateContext = context == INTERNAL ? UPDATE_INTERNAL
                                       : userData          ? UPDATE_USER_EXTERNAL
                                                           : UPDATE_NON_USER_EXTERNAL;

  RunInTransaction(connection_, "Update", TransactionFailure::kKeepStoreExceptions, [&] {
    std::shared_ptr<ConfigStoreObject> stored = GetInternal(id, connection_, schema);
    if (!stored) {
      ValidateSet(schema, object);
      SetByContextInternal(object, schema, updateContext, connection_);
      return;
    }
    // The merged whole must be valid, but only the caller's layer is
    // written: the other layers of the row stay as they are.
    MergeUpdate(object, stored);
    ValidateSet(schema, stored);
    std::shared_ptr<ConfigStoreObject> layer =
        GetConfigByBootAndContext(id, schema, context, connection_);
    // A row whose caller's layer is still empty gets that layer from the
    // update alone.
    if (!layer) layer = std::make_shared<ConfigStoreObject>(id);
    MergeUpdate(object, layer);
    CleanupObject(layer, schema);
    UpdateByContextInternal(layer, schema, updateContext, connection_);
  });
  NotifyIfAllowlisted(id);
}

void ConfigStoreImpl::Delete(const ConfigStoreObjectId& id) {
  TraceOperation(3, "Delete", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoId(id, schema);
  DeleteInternal(id, connection_);
  NotifyIfAllowlisted(id);
}

void ConfigStoreImpl::DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "DeleteInstances")) return;
  const ConfigStoreObjectId id = filter->GetConfigStoreObjectId();
  TraceOperation(3, "DeleteInstances", id, EXTERNAL);
  auto schema = LookupSchema(id);
  ValidateCsoIdInstances(filter, schema);
  if (filter->IsEmpty()) {
    // Without criteria the identifier alone says what goes. This path sends
    // no notification.
    if (!id.instanceId.empty())
      DeleteInternal(id, connection_);
    else
      DeleteInstancesInternal(id, connection_);
    return;
  }
  RunInTransaction(connection_, "DeleteInstances", TransactionFailure::kWrapAll, [&] {
    for (const auto& match : GetConfigInstancesInternal(filter, connection_, schema))
      DeleteInternal(match->GetConfigStoreObjectId(), connection_);
  });
  NotifyIfAllowlisted(id);
}

}  // namespace CorvConfigStore
