// Checks of an identity against the schema of its key: the schema exists,
// and the instance id fits a singleton or a non-singleton key.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>

#include "core/Throw.h"
#include "object/ObjectAccess.h"
#include "schema/SchemaStore.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

void ThrowRuleViolation(const char* message) {
  std::vector<ErrorInfo> none;
  throw ValidationException(CS_ERR_GENERAL, message, none);
}

void CheckSchema(const ConfigStoreObjectId& id,
                 std::shared_ptr<CorvSchemaStore::SchemaObject> schema) {
  if (!schema)
    ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
}

void validateSingletonNonSingleton(const ConfigStoreObjectId& id,
                                   std::shared_ptr<CorvSchemaStore::SchemaObject> schema) {
  if (!schema->HasInstances() && !id.instanceId.empty())
    ThrowRuleViolation("Singleton object cannot contain instanceId");
  if (schema->HasInstances() && id.instanceId.empty())
    ThrowRuleViolation("Non-Singleton object should contain instanceId");
}

void validateSingletonNonSingleton(std::shared_ptr<ConfigStoreObject> object,
                                   std::shared_ptr<CorvSchemaStore::SchemaObject> schema) {
  validateSingletonNonSingleton(IdOf(object), schema);
}

void ValidateCsoId(const ConfigStoreObjectId& id, const SchemaPtr& schema) {
  CheckSchema(id, schema);
  validateSingletonNonSingleton(id, schema);
}

void ValidateCsoId(std::shared_ptr<ConfigStoreObject> object, const SchemaPtr& schema) {
  ValidateCsoId(IdOf(object), schema);
}

void ValidateCsoIdInstances(const ConfigStoreObjectId& id, const SchemaPtr& schema) {
  CheckSchema(id, schema);
  if (!schema->HasInstances())
    ThrowRuleViolation("API called for singleton object, non-singleton expected");
}

void ValidateCsoIdInstances(const std::shared_ptr<FilterSpecObject>& filter,
                            const SchemaPtr& schema) {
  ValidateCsoIdInstances(filter->GetConfigStoreObjectId(), schema);
}

void validateInstanceId(const ConfigStoreObjectId& id) {
  if (id.instanceId.empty()) ThrowRuleViolation("Non-Singleton object should contain instanceId");
}

void ValidateKernelOptionsCsoId(const ConfigStoreObjectId& id) {
  if (id.component != "corv" || id.group != "kestrel" || id.key != "options")
    ThrowRuleViolation("API should only be invoked for Kernel options configuration.");
}

}  // namespace CorvConfigStore
