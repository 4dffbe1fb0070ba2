// The schema's instance-id map and defaults as objects see them.
#include "object/SchemaDerived.h"

#include <corvconfigstore/Logger.h>

#include "schema/SchemaStore.h"

namespace CorvConfigStore {

namespace {

// A handle on one of the schema's own documents, keeping the schema alive;
// null for anything but an object with members, which would answer no
// question. Objects only read their instance-id map and defaults, so every
// object of a key shares the schema's documents rather than copying them.
std::shared_ptr<JsonDoc> ShareIfNotEmpty(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema, const JsonDocument& document) {
  if (!document.IsObject() || document.ObjectEmpty()) return nullptr;
  return std::make_shared<JsonDoc>(
      std::shared_ptr<JsonDocument>(schema, const_cast<JsonDocument*>(&document)));
}

}  // namespace

std::shared_ptr<JsonDoc> GetInstanceIdMapFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema, const std::string& key) {
  if (!schema) {
    CSLogger::Log(0, "Schema object not found for key: %s", key.c_str());
    return nullptr;
  }
  return ShareIfNotEmpty(schema, schema->GetInstanceIdMap());
}

std::shared_ptr<JsonDoc> GetDefaultsFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema) {
  if (!schema) {
    CSLogger::Log(0, "Schema object is null.");
    return nullptr;
  }
  return ShareIfNotEmpty(schema, schema->GetDefaults());
}

}  // namespace CorvConfigStore
