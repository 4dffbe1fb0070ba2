// Running the validator and turning its result into ErrorInfo records.
#include <corvconfigstore/Logger.h>

#include "core/Throw.h"
#include "jsonschema/JsonValidator.h"
#include "validation/Validation.h"

namespace CorvConfigStore {
namespace {

// The result document's memory pool grows in 64 KiB chunks; its parse stack
// stays small, since the validator builds records as values, never parses.
constexpr size_t kResultChunkSize = 65536;
constexpr size_t kResultStackSize = 1024;

}  // namespace

ValidationResult::ValidationResult(const JsonValue& schema, const JsonValue& value,
                                   const std::unordered_set<int>& options)
    : allocator_(kResultChunkSize), document_(&allocator_, kResultStackSize) {
  JsonValidator::Validate(schema, value, document_, options, "");
}

bool ValidationResult::HasErrors() const { return !document_.GetArray().Empty(); }

void ConvertValidationResult(const JsonValue& result, std::vector<ErrorInfo>& errors, bool quiet) {
  for (const JsonValue& record : result.GetArray()) {
    const JsonValue& field = record["field"];
    const JsonValue& error = record["error"];
    errors.emplace_back(std::string(field.GetString(), field.GetStringLength()),
                        std::string(error.GetString(), error.GetStringLength()));
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
