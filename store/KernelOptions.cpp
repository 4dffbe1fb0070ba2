// The kernel options object: read what the next boot will use, and merge an
// update into the options pending for it.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/Logger.h>

#include <exception>
#include <string>

#include "core/Checks.h"
#include "core/Throw.h"
#include "db/NextBootRows.h"
#include "notify/Notify.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/MergeObject.h"
#include "store/BootContextRule.h"
#include "store/GetDBStore.h"
#include "store/SchemaLookup.h"
#include "validation/Validation.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

std::shared_ptr<ConfigStoreObject> GetKernelOptions(const ConfigStoreObjectId& id) {
  TraceHostOperation("GetKernelOptions");
  ValidateKernelOptionsCsoId(id);
  auto schema = LookupSchema(id);
  ValidateCsoId(id, schema);
  return GetKernelOptionsInternal(id, GetDBStore(DBStore::CONFIG_STORE, true), schema);
}

void UpdateKernelOptions(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "UpdateKernelOptions")) return;
  TraceHostOperation("UpdateKernelOptions");
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  ValidateKernelOptionsCsoId(id);
  auto schema = LookupSchema(id);
  ValidateCsoId(object, schema);
  ValidateUpdate(schema, object);
  // Kernel options are user configuration, and the caller is treated as an
  // external one.
  ApplyBootContextRule(OperationContext(), schema, true, EXTERNAL);
  if (object->IsEmpty()) {
    CSLogger::Log(1, "Update called with empty object for %s, deletes are not supported",
                  id.toString().c_str());
    return;
  }

  auto connection = GetDBStore(DBStore::CONFIG_STORE, true);
  if (DBStore::BeginTransaction(connection) != DBStore::kSuccess)
    ThrowBeginTransactionFailed("UpdateKernelOptions");
  try {
    // Without stored options the update is the whole of them.
    std::shared_ptr<ConfigStoreObject> merged = GetKernelOptionsInternal(id, connection, schema);
    if (merged)
      UpdateConfigInternal(object, merged, ImplOf(object).GetIdMap());
    else
      merged = object;
    ValidateSet(schema, merged);
    SetKernelOptionsInternal(merged, schema, connection);
    if (DBStore::CommitTransaction(connection) != DBStore::kSuccess)
      ThrowGeneral("Commit transaction failed.");
  } catch (const std::exception& e) {
    // The failure that brought us here is what the caller needs to see; a
    // refused cancel is only logged.
    if (DBStore::CancelTransaction(connection) != DBStore::kSuccess)
      CSLogger::Log(0, "%s: failed to cancel the transaction", "UpdateKernelOptions");
    ThrowGeneral(std::string("Transaction failed") + e.what());
  }
  NotifyIfAllowlisted(id);
}

}  // namespace CorvConfigStore
