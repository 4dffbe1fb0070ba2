// The kernel options object: read what the next boot will use, and merge an
// update into the options pending for it.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/Logger.h>

#include <string>

#include "core/Checks.h"
#include "db/NextBootRows.h"
#include "db/OperationContext.h"
#include "notify/Notify.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/MergeObject.h"
#include "object/ObjectAccess.h"
#include "store/BootContextRule.h"
#include "store/GetDBStore.h"
#include "store/StoreTransactions.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

std::shared_ptr<ConfigStoreObject> GetKernelOptions(const ConfigStoreObjectId& id) {
  TraceHostOperation("GetKernelOptions");
  ValidateKernelOptionsCsoId(id);
  auto schema = OperationContext().Schema(id);
  ValidateCsoId(id, schema);
  return GetKernelOptionsInternal(id, GetDBStore(DBStore::CONFIG_STORE, true), schema);
}

void UpdateKernelOptions(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "UpdateKernelOptions")) return;
  TraceHostOperation("UpdateKernelOptions");
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  ValidateKernelOptionsCsoId(id);
  OperationContext op;
  auto schema = op.Schema(id);
  ValidateCsoId(object, schema);
  ValidateUpdate(schema, object);
  // Kernel options are user configuration, and the caller is treated as an
  // external one.
  ApplyBootContextRule(op, schema, true, EXTERNAL);
  if (object->IsEmpty()) {
    CSLogger::Log(1, "Update called with empty object for %s, deletes are not supported",
                  id.toString().c_str());
    return;
  }

  auto connection = GetDBStore(DBStore::CONFIG_STORE, true);
  RunInTransaction(connection, "UpdateKernelOptions",
                   TransactionFailure::kWrapAllAsTransactionFailed, [&] {
                     // Without stored options the update is the whole of them.
                     std::shared_ptr<ConfigStoreObject> merged =
                         GetKernelOptionsInternal(id, connection, schema);
                     if (merged)
                       UpdateConfigInternal(object, merged, ImplOf(object).GetIdMap());
                     else
                       merged = object;
                     ValidateSet(schema, merged);
                     SetKernelOptionsInternal(merged, schema, connection);
                   });
  NotifyIfAllowlisted(id);
}

}  // namespace CorvConfigStore
