// Validation of whole documents nested component, group, key: objects
// handed in by callers, import documents, and apply files.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/ValidateApplyFile.h>

#include "core/Checks.h"
#include "object/ConfigStoreObjectImpl.h"
#include "schema/SchemaStore.h"
#include "validation/OptionSets.h"
#include "validation/Validation.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

bool ValidateWholeDocument(JsonValue& value, JsonAllocator& allocator,
                           const std::unordered_set<int>& options,
                           const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                           std::vector<ErrorInfo>& errors) {
  if (!value.IsObject()) {
    errors.emplace_back("/", "INCORRECT TYPE: expected object.");
    return errors.empty();
  }
  JsonDocument schema;
  JsonDocument scratch;
  CorvSchemaStore::GenerateSchemaDocument(value, cache, schema, scratch);
  ValidationResult result(schema, value, options);
  CorvSchemaStore::PopulateGeneratedInstanceId(schema, value, allocator);
  result.AppendTo(errors, false);
  return errors.empty();
}

bool ValidateDocument(const std::shared_ptr<ConfigStoreObject>& object,
                      std::vector<ErrorInfo>& errors) {
  if (IsNull(object, "ValidateDocument")) return false;
  const std::shared_ptr<JsonDoc>& doc = ImplOf(object).GetDoc();
  return ValidateWholeDocument(*doc->GetJsonValuePtr(), doc->GetAllocator(), kUserConfigOptions,
                               CorvSchemaStore::SchemaStore::GetCache(), errors);
}

bool ValidateImportDocument(JsonDocument& document,
                            const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                            std::vector<ErrorInfo>& errors) {
  return ValidateWholeDocument(document, document.GetAllocator(), kSetOptions, cache, errors);
}

void ValidateApplyFile(const JsonValue& document, const JsonValue& schema) {
  ValidationResult result(schema, document, kApplyFileOptions);
  if (!result.HasErrors()) return;
  std::vector<ErrorInfo> errors;
  result.AppendTo(errors, false);
  ThrowValidationFailure(CS_ERR_APPLY_FILE, errors);
}

}  // namespace CorvConfigStore
