// Factories of configuration objects and drift objects from JSON text.
#include "store/ObjectFactories.h"

#include <corvconfigstore/HostOperations.h>

#include "core/Throw.h"
#include "db/OperationContext.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/DriftObjectImpl.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

namespace {

// The instance id the value carries under the key's instance-id property,
// or the empty string when it carries none (or the key has no instances).
std::string InstanceIdInValue(const JsonValue& value, const CorvSchemaStore::SchemaObject& schema) {
  const std::string& property = schema.GetInstanceIdProperty();
  if (property.empty()) return std::string();
  auto member = value.FindMember(property.c_str());
  if (member == value.MemberEnd() || !member->value.IsString()) return std::string();
  return std::string(member->value.GetString(), member->value.GetStringLength());
}

}  // namespace

std::shared_ptr<ConfigStoreObject> CreateObject(
    const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& document,
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
    std::optional<unsigned long> index) {
  if (!schema) ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
  if (!schema->HasInstances()) index.reset();
  JsonValue& value = *document->GetJsonValuePtr();
  RAPIDJSON_ASSERT(value.IsObject());
  if (schema->UsesGeneratedIds())
    CorvSchemaStore::PopulateGeneratedInstanceId(schema->GetSchemaDocument(), value,
                                                 document->GetAllocator());
  // The object's own instance id is written into its value on construction,
  // so an identifier without one would blank the id the value holds: it
  // takes that id instead.
  ConfigStoreObjectId objectId = id;
  if (objectId.instanceId.empty()) objectId.instanceId = InstanceIdInValue(value, *schema);
  auto impl = std::make_shared<ConfigStoreObjectImpl>(objectId, objectId, index, document, schema,
                                                      "", "", "", -1, true, nullptr, nullptr);
  return std::make_shared<ConfigStoreObject>(impl);
}

std::shared_ptr<ConfigStoreObject> CreateObject(const ConfigStoreObjectId& id,
                                                const std::string& json) {
  return CreateObject(id, json, std::nullopt);
}

std::shared_ptr<ConfigStoreObject> CreateObject(const ConfigStoreObjectId& id,
                                                const std::string& json,
                                                std::optional<unsigned long> index) {
  std::shared_ptr<JsonDoc> document = CreateDocumentFromString(json);
  return CreateObject(id, document, OperationContext().Schema(id), index);
}

std::shared_ptr<DriftObject> CreateDriftObject(const ConfigStoreObjectId& id,
                                               const std::string& drift, std::string operation) {
  return std::make_shared<DriftObjectImpl>(id, operation, drift);
}

}  // namespace CorvConfigStore
