// Running the validator and turning its records into ErrorInfo records.
#include <corvconfigstore/Logger.h>

#include "core/Throw.h"
#include "jsonschema/CompiledSchema.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

ValidationResult::ValidationResult(const JsonValue& schema, const JsonValue& value,
                                   const std::unordered_set<int>& options)
    : ValidationResult(JsonValidator::CompiledSchema(schema), value, options) {}

ValidationResult::ValidationResult(const JsonValidator::CompiledSchema& schema,
                                   const JsonValue& value, const std::unordered_set<int>& options) {
  JsonValidator::Validate(schema, value, records_, options, "");
}

void ValidationResult::AppendTo(std::vector<ErrorInfo>& errors, bool quiet) const {
  for (const auto& record : records_) {
    errors.emplace_back(record.field, record.error);
    if (!quiet)
      CSLogger::LogErrCode(0, CS_ERR_VALIDATION_RECORD, "%s: %s", errors.back().location.c_str(),
                           errors.back().message.c_str());
  }
}

void ThrowValidationFailure(CSErrorCodes code, std::vector<ErrorInfo>& errors) {
  std::string message = Format(ErrorMessageForId(code));
  throw ValidationException(code, message.c_str(), errors);
}

}  // namespace CorvConfigStore
