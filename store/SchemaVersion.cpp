// The schema version of a configuration key.
#include <corvconfigstore/HostOperations.h>
#include <corvconfigstore/Logger.h>

#include "db/OperationContext.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

std::string GetSchemaVersion(const ConfigStoreObjectId& id) {
  auto schema = OperationContext().Schema(id);
  if (!schema) {
    CSLogger::Log(0, "%s: Schema object not found", "GetSchemaVersion");
    return std::string();
  }
  return schema->GetVersion();
}

}  // namespace CorvConfigStore
