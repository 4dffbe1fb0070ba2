// Confirmation, after a boot, of the configuration that was pending for it:
// wholly or in part.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/HostOperations.h>

#include "core/Checks.h"
#include "db/NextBootRows.h"
#include "db/OperationContext.h"
#include "store/GetDBStore.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

void SetBootStatus(const ConfigStoreObjectId& id, bool status) {
  TraceHostOperation("SetBootStatus");
  SetBootStatusInternal(id, status, GetDBStore(DBStore::CONFIG_STORE, true));
}

void SetPartialBootStatus(std::shared_ptr<ConfigStoreObject> object) {
  if (IsNull(object, "SetPartialBootStatus")) return;
  TraceHostOperation("SetPartialBootStatus");
  const ConfigStoreObjectId id = object->GetConfigStoreObjectId();
  auto schema = OperationContext().Schema(id);
  // The value check needs a schema: a configuration without one is refused
  // with its identity rather than checked against nothing.
  CheckSchema(id, schema);
  ValidatePartialConfig(schema, object);
  SetPartialBootStatusInternal(object, schema, GetDBStore(DBStore::CONFIG_STORE, true));
}

}  // namespace CorvConfigStore
