// The schema's instance-id map and defaults as objects see them.
#include "object/SchemaDerived.h"

#include <corvconfigstore/Logger.h>

#include "schema/SchemaStore.h"

namespace CorvConfigStore {

std::shared_ptr<JsonDoc> GetInstanceIdMapFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema, const std::string& key) {
  if (!schema) {
    CSLogger::Log(0, "Schema object not found for key: %s", key.c_str());
    return nullptr;
  }
  return schema->SharedInstanceIdMap();
}

std::shared_ptr<JsonDoc> GetDefaultsFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema) {
  if (!schema) {
    CSLogger::Log(0, "Schema object is null.");
    return nullptr;
  }
  return schema->SharedDefaults();
}

}  // namespace CorvConfigStore
