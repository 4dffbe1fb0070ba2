// JSON Schema validation (a draft-07 subset plus the key-schema annotations)
// with options that select which rules apply.
#pragma once

#include <string>
#include <unordered_set>

#include "core/Json.h"

namespace JsonValidator {

// Validates value against schema with the rules the options select, and
// fills result with an array of {"field": <JSON Pointer behind prefix>,
// "error": <text>} records, one per error found (every error, not only the
// first). An array schema given an object validates it as one instance
// against "items".
void Validate(const CorvConfigStore::JsonValue& schema, const CorvConfigStore::JsonValue& value,
              CorvConfigStore::JsonDocument& result, const std::unordered_set<int>& options,
              const std::string& prefix);

}  // namespace JsonValidator
