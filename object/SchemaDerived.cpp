// Copies of the schema's instance-id map and defaults.
#include "object/SchemaDerived.h"

#include <corvconfigstore/Logger.h>

#include "schema/SchemaStore.h"

namespace CorvConfigStore {

namespace {

// A document of its own holding a copy of value; null for anything but an
// object with members, which would answer no question.
std::shared_ptr<JsonDoc> CopyIfNotEmpty(const JsonValue& value) {
  if (!value.IsObject() || value.ObjectEmpty()) return nullptr;
  std::shared_ptr<JsonDoc> doc = CreateDocument();
  doc->GetJsonValuePtr()->CopyFrom(value, doc->GetAllocator());
  return doc;
}

}  // namespace

std::shared_ptr<JsonDoc> GetInstanceIdMapFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema, const std::string& key) {
  if (!schema) {
    CSLogger::Log(0, "Schema object not found for key: %s", key.c_str());
    return nullptr;
  }
  return CopyIfNotEmpty(schema->GetInstanceIdMap());
}

std::shared_ptr<JsonDoc> GetDefaultsFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema) {
  if (!schema) {
    CSLogger::Log(0, "Schema object is null.");
    return nullptr;
  }
  return CopyIfNotEmpty(schema->GetDefaults());
}

}  // namespace CorvConfigStore
