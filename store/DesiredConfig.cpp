// Reads of desired user configuration: what the next boot will apply.
#include <corvconfigstore/HostOperations.h>

#include "core/Checks.h"
#include "db/OperationContext.h"
#include "db/ReadRows.h"
#include "store/GetDBStore.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

std::shared_ptr<ConfigStoreObject> GetDesiredUserConfig(const ConfigStoreObjectId& id, FLAG flag) {
  TraceHostOperation("GetDesiredUserConfig");
  auto schema = OperationContext().Schema(id);
  ValidateCsoId(id, schema);
  return GetDesiredInternal(id, GetDBStore(DBStore::CONFIG_STORE, true), schema, flag);
}

std::vector<std::shared_ptr<ConfigStoreObject>> GetDesiredUserConfigInstances(
    const ConfigStoreObjectId& id, FLAG flag) {
  TraceHostOperation("GetDesiredUserConfigInstances");
  auto schema = OperationContext().Schema(id);
  ValidateCsoIdInstances(id, schema);
  return GetDesiredUserConfigInstancesInternal(id, GetDBStore(DBStore::CONFIG_STORE, true), schema,
                                               flag);
}

}  // namespace CorvConfigStore
