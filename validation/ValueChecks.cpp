// Checks of an object's value against the schema of its key: the throwing
// check of each kind of write, the collecting check of complete
// configurations, and validateObject for callers outside the library.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Logger.h>

#include "core/Checks.h"
#include "core/Throw.h"
#include "object/CleanupObject.h"
#include "object/ConfigStoreObjectImpl.h"
#include "schema/SchemaStore.h"
#include "validation/OptionSets.h"
#include "validation/Validation.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

const JsonValue& ValueOf(const std::shared_ptr<ConfigStoreObject>& object) {
  return *ImplOf(object).GetJsonValuePtr();
}

// Runs the check into a fresh list and throws 1084 carrying it when the
// value has faults.
void ValidateOrThrow(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object,
                     const std::unordered_set<int>& options) {
  std::vector<ErrorInfo> errors;
  if (!ValidateObjectValue(schema, object, options, errors, false))
    ThrowValidationFailure(CS_ERR_VALIDATION, errors);
}

// User data loses its empty objects and arrays before it is checked, so
// that what is checked is what will be stored. The clean-up walks objects
// only: any other value is left for the check to report.
void CleanAndValidateOrThrow(const SchemaPtr& schema,
                             const std::shared_ptr<ConfigStoreObject>& object,
                             const std::unordered_set<int>& options) {
  if (ValueOf(object).IsObject()) CleanupObject(object, schema);
  ValidateOrThrow(schema, object, options);
}

// A schema root flag that must be boolean when present.
bool RootFlag(const JsonValue& schema, const char* name) {
  if (!schema.IsObject()) return false;
  auto member = schema.FindMember(name);
  return member != schema.MemberEnd() && member->value.GetBool();
}

}  // namespace

bool ValidateObjectValue(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object,
                         const std::unordered_set<int>& options, std::vector<ErrorInfo>& errors,
                         bool quiet) {
  const JsonValue& value = ValueOf(object);
  if (value.IsObject()) {
    ValidationResult(schema->GetCompiledSchema(), value, options).AppendTo(errors, quiet);
  } else {
    errors.emplace_back(
        "/", Format(ErrorMessageForId(CS_ERR_NOT_AN_OBJECT), "Expected JSON of type object."));
  }
  return errors.empty();
}

void ValidateSet(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object) {
  CleanAndValidateOrThrow(schema, object, kSetOptions);
}

void ValidateUpdate(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object) {
  CleanAndValidateOrThrow(schema, object, kUpdateOptions);
}

void ValidatePartialConfig(const SchemaPtr& schema,
                           const std::shared_ptr<ConfigStoreObject>& object) {
  CleanAndValidateOrThrow(schema, object, kPartialConfigOptions);
}

void ValidateUserConfig(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object) {
  CleanAndValidateOrThrow(schema, object, kUserConfigOptions);
}

void ValidateVitalConfig(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object) {
  ValidateOrThrow(schema, object, kVitalOptions);
}

void ValidateCachedConfig(const SchemaPtr& schema,
                          const std::shared_ptr<ConfigStoreObject>& object) {
  ValidateOrThrow(schema, object, kCachedOptions);
}

void ValidateCSO(const SchemaPtr& schema, const std::shared_ptr<ConfigStoreObject>& object,
                 std::vector<ErrorInfo>& errors) {
  const ConfigStoreObjectId& id = IdOf(object);
  // An identity fault names the key by its path, made only then.
  auto identityFault = [&](CSErrorCodes code) {
    std::string path = "/" + id.component + "/" + id.group + "/" + id.key;
    errors.emplace_back("/", Format(ErrorMessageForId(code), path.c_str()));
  };
  if (!schema) {
    identityFault(CS_ERR_SCHEMA_NOT_FOUND);
    return;
  }
  if (schema->HasInstances() && id.instanceId.empty()) {
    identityFault(CS_ERR_NOT_SINGLETON);
    return;
  }
  if (!schema->HasInstances() && !id.instanceId.empty()) {
    identityFault(CS_ERR_NOT_A_LIST);
    return;
  }
  const JsonValue& document = schema->GetSchemaDocument();
  const std::unordered_set<int>* options = &kSetOptions;
  if (RootFlag(document, "vital"))
    options = &kVitalOptions;
  else if (RootFlag(document, "cached"))
    options = &kCachedOptions;
  ValidateObjectValue(schema, object, *options, errors, true);
}

bool validateObject(const std::shared_ptr<ConfigStoreObject>& object, ACTION action,
                    std::vector<ErrorInfo>& errors, const std::string&) {
  if (IsNull(object, "validateObject")) return false;
  const ConfigStoreObjectId& id = IdOf(object);
  SchemaPtr schema =
      CorvSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
  if (!schema) {
    CSLogger::LogErrCode(0, CS_ERR_SCHEMA_NOT_FOUND, "%s", id.toString().c_str());
    errors.emplace_back(id.component + "/" + id.key, "Schema not found.");
    return false;
  }
  if (action != ACTION_GET && action != ACTION_DELETE) {
    ValidationResult result(schema->GetCompiledSchema(), ValueOf(object), kUserConfigOptions);
    if (result.HasErrors()) {
      result.AppendTo(errors, false);
      CSLogger::Log(0, "validate completed with errors");
      return false;
    }
  }
  CSLogger::Log(2, "validate completed successfully");
  return true;
}

}  // namespace CorvConfigStore
