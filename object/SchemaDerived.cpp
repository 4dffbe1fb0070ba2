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

bool FindInstanceIdProperty(const JsonDoc* idMap, const std::string& key, std::string* property) {
  if (idMap == nullptr) return false;
  const JsonValue* map = idMap->GetJsonValuePtr();
  if (!map->IsObject()) return false;
  auto found = map->FindMember(key.c_str());
  if (found == map->MemberEnd()) return false;
  property->assign(found->value.GetString(), found->value.GetStringLength());
  return true;
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
