// The store handle's single-object writes and its deletes.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/Logger.h>

#include "core/Checks.h"
#include "db/ReadRows.h"
#include "db/WriteRows.h"
#include "object/CleanupObject.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/MergeObject.h"
#include "object/ObjectAccess.h"
#include "store/ConfigStoreImpl.h"
#include "schema/SchemaStore.h"
#include "store/StoreOperation.h"
#include "store/StoreTransactions.h"
#include "validation/Validation.h"

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
  StoreOperation op(3, "Set", IdOf(object), context);
  ValidateCsoId(object, op.Schema());
  ValidateSet(op.Schema(), object);
  op.CheckBootRule(isUserType(object, op.Schema()));
  SetInternal(object, context, op.Context(), connection_);
  op.Notify();
}

void ConfigStoreImpl::SetUserData(std::shared_ptr<ConfigStoreObject> object,
                                  const USERDATA_CONTEXT& context) {
  if (IsNull(object, "SetUserData")) return;
  StoreOperation op(3, "SetUserData", IdOf(object), context);
  ValidateCsoId(object, op.Schema());
  op.CheckBootRule(true);
  ValidateUserConfig(op.Schema(), object);
  // Announced before the write: a write that fails afterwards has already
  // been announced.
  op.Notify();
  if (context == INTERNAL)
    WriteAutoConfConfigInstances({object}, connection_);
  else
    WriteUserConfigInstances({object}, connection_, op.Schema()->ApplyDuringUpgrade(),
                             op.Context());
}

void ConfigStoreImpl::SetVitalData(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "SetVitalData")) return;
  StoreOperation op(3, "SetVitalData", IdOf(object), EXTERNAL);
  ValidateCsoId(object, op.Schema());
  ValidateVitalConfig(op.Schema(), object);
  WriteVitalConfigInstances({object}, connection_);
  op.Notify();
}

void ConfigStoreImpl::SetCachedData(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "SetCachedData")) return;
  StoreOperation op(3, "SetCachedData", IdOf(object), EXTERNAL);
  ValidateCsoId(object, op.Schema());
  ValidateCachedConfig(op.Schema(), object);
  WriteCachedConfigInstances({object}, connection_);
  op.Notify();
}

void ConfigStoreImpl::Update(std::shared_ptr<ConfigStoreObject> object,
                             const USERDATA_CONTEXT& context) {
  if (IsNull(object, "Update")) return;
  StoreOperation op(3, "Update", IdOf(object), context);
  const SchemaPtr& schema = op.Schema();
  ValidateCsoId(object, schema);
  ValidateUpdate(schema, object);
  const bool userData = isUserType(object, schema);
  op.CheckBootRule(userData);
  if (object->IsEmpty()) {
    CSLogger::Log(1, "Update called with empty object for %s, deletes are not supported",
                  op.Id().toString().c_str());
    return;
  }
  const UPDATE_CONTEXT updateContext = context == INTERNAL ? UPDATE_INTERNAL
                                       : userData          ? UPDATE_USER_EXTERNAL
                                                           : UPDATE_NON_USER_EXTERNAL;

  RunInTransaction(connection_, "Update", TransactionFailure::kKeepStoreExceptions, [&] {
    StoredObject stored = GetForUpdateInternal(op.Id(), schema, context, op.Context(), connection_);
    if (!stored.current) {
      ValidateSet(schema, object);
      SetByContextInternal(object, schema, updateContext, connection_);
      return;
    }
    // The merged whole must be valid, but only the caller's layer is
    // written: the other layers of the row stay as they are.
    MergeUpdate(object, stored.current);
    ValidateSet(schema, stored.current);
    // A row whose caller's layer is still empty gets that layer from the
    // update alone. A caller's view that is the current object already holds
    // the update, cleaned by the check.
    ObjectPtr layer =
        stored.callerView ? stored.callerView : std::make_shared<ConfigStoreObject>(op.Id());
    if (layer != stored.current) {
      MergeUpdate(object, layer);
      CleanupObject(layer, schema);
    }
    UpdateByContextInternal(layer, schema, updateContext, connection_);
  });
  op.Notify();
}

void ConfigStoreImpl::Delete(const ConfigStoreObjectId& id) {
  StoreOperation op(3, "Delete", id, EXTERNAL);
  ValidateCsoId(id, op.Schema());
  DeleteInternal(id, connection_);
  op.Notify();
}

void ConfigStoreImpl::DeleteInstances(const std::shared_ptr<FilterSpecObject>& filter) {
  if (IsNull(filter, "DeleteInstances")) return;
  StoreOperation op(3, "DeleteInstances", IdOf(filter), EXTERNAL);
  const ConfigStoreObjectId& id = op.Id();
  ValidateCsoIdInstances(filter, op.Schema());
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
    for (const auto& match :
         GetConfigInstancesInternal(filter, connection_, op.Schema(), op.Context()))
      DeleteInternal(match->GetConfigStoreObjectId(), connection_);
  });
  op.Notify();
}

}  // namespace CorvConfigStore
