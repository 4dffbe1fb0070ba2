// The checks every object passes before it reaches the store: identity and
// rule checks, which throw at the first violation, and value checks against
// the key's schema, which collect every fault as an ErrorInfo record.
#pragma once

#include <corvconfigstore/ErrorCodes.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/Types.h>
#include <corvconfigstore/Validation.h>

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/Json.h"
#include "db/OperationContext.h"
#include "jsonschema/JsonValidator.h"

namespace CorvSchemaStore {
class SchemaObject;
class SchemaObjectCache;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

class ConfigStoreObject;
class FilterSpecObject;

using SchemaPtr = std::shared_ptr<CorvSchemaStore::SchemaObject>;

// ---- Identity and rule checks: throw at the first violation.

// Code 1037 naming the identity when there is no schema.
void CheckSchema(const ConfigStoreObjectId& id, std::shared_ptr<CorvSchemaStore::SchemaObject> schema);

// ValidationException 2000 when the instance id does not fit the schema:
// a singleton must have none, a non-singleton must have one.
void validateSingletonNonSingleton(const ConfigStoreObjectId& id,
                                   std::shared_ptr<CorvSchemaStore::SchemaObject> schema);
void validateSingletonNonSingleton(std::shared_ptr<ConfigStoreObject> object,
                                   std::shared_ptr<CorvSchemaStore::SchemaObject> schema);

// An identity fit for one object: CheckSchema, then
// validateSingletonNonSingleton.
void ValidateCsoId(const ConfigStoreObjectId& id, const SchemaPtr& schema);
void ValidateCsoId(std::shared_ptr<ConfigStoreObject> object, const SchemaPtr& schema);

// An identity fit for an operation over instances: CheckSchema, then the
// key must have instances.
void ValidateCsoIdInstances(const ConfigStoreObjectId& id, const SchemaPtr& schema);
void ValidateCsoIdInstances(const std::shared_ptr<FilterSpecObject>& filter,
                            const SchemaPtr& schema);

// ValidationException 2000 when the instance id is empty.
void validateInstanceId(const ConfigStoreObjectId& id);

// External user writes are refused while the host boots, unless an upgrade
// is in progress (op.DuringBoot()). The boot flag is read only for an
// EXTERNAL caller.
void checkUserContext(const OperationContext& op, const USERDATA_CONTEXT& context);

// Only configurations tagged @rebootRequiredConfigStore go through the
// next-boot store.
void ValidateRebootRequiredConfig(const SchemaPtr& schema);

// The next-boot store refuses an empty object.
void ValidateEmptyObject(const std::shared_ptr<ConfigStoreObject>& object);

// The identity must be component "corv", group "kestrel", key "options".
void ValidateKernelOptionsCsoId(const ConfigStoreObjectId& id);

// ---- Value checks that throw ValidationException 1084 carrying every
// fault. The user-data checks first remove empty objects and arrays from
// the object (CleanupObject); vital and cached values are checked as given.

void ValidateSet(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object);
void ValidateUpdate(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object);
void ValidatePartialConfig(const SchemaPtr& schema,
                           const std::shared_ptr<ConfigStoreObject>& object);
void ValidateUserConfig(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object);
void ValidateVitalConfig(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object);
void ValidateCachedConfig(const SchemaPtr& schema,
                          const std::shared_ptr<ConfigStoreObject>& object);

// ---- Value checks that only collect.

// Checks identity and value of a complete configuration without throwing
// and without logging each fault: a missing schema (1037), an identity that
// does not fit the schema (1048, 1049), then the value with the rules of
// its layer (vital, cached or user).
void ValidateCSO(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object,
                 std::vector<ErrorInfo>& errors);

// Validates a parsed import document (component, group, key) against every
// schema of the cache and gives generated ids to instances that lack one.
// Returns true when errors is empty afterwards.
bool ValidateImportDocument(JsonDocument& document,
                            const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                            std::vector<ErrorInfo>& errors);

// True when the object's value touches at least one member that is neither
// vital nor cached (nor an instance id): the write is a user write.
bool isUserType(const std::shared_ptr<ConfigStoreObject>& object, const SchemaPtr& schema);

// ---- Shared by the checks.

// ValidationException 2000 with the fixed message and no records.
[[noreturn]] void ThrowRuleViolation(const char* message);

// ValidationException with the code, its message text and the records.
[[noreturn]] void ThrowValidationFailure(CSErrorCodes code, std::vector<ErrorInfo>& errors);

// Validates a whole document (component, group, key, value) against a
// schema generated for it from the cache, gives generated ids to instances
// that lack one (allocating from allocator), and appends every fault,
// logged. A value that is not a JSON object is one fault at "/". Returns
// true when errors is empty afterwards.
bool ValidateWholeDocument(JsonValue& value, JsonAllocator& allocator,
                           const std::unordered_set<int>& options,
                           const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                           std::vector<ErrorInfo>& errors);

// Validates the object's value against the schema with the options into
// errors: a value that is not a JSON object is one fault (code 1030) at "/".
// Quiet leaves the faults unlogged. Returns true when errors is empty
// afterwards (it may hold the caller's earlier records).
bool ValidateObjectValue(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object,
                         const std::unordered_set<int>& options, std::vector<ErrorInfo>& errors,
                         bool quiet);

// The validator's records for one value, computed at construction: against
// a schema used once, or against the compiled schema of a schema object.
class ValidationResult {
 public:
  ValidationResult(const JsonValue& schema, const JsonValue& value,
                   const std::unordered_set<int>& options);
  ValidationResult(const JsonValidator::CompiledSchema& schema, const JsonValue& value,
                   const std::unordered_set<int>& options);
  ValidationResult(const ValidationResult&) = delete;
  ValidationResult& operator=(const ValidationResult&) = delete;

  bool HasErrors() const { return !records_.empty(); }

  // Appends one record per validator record ("field" as location, "error"
  // as message), logging each with code 1083 at priority 0 unless quiet.
  void AppendTo(std::vector<ErrorInfo>& errors, bool quiet) const;

 private:
  JsonValidator::ErrorList records_;
};

}  // namespace CorvConfigStore
