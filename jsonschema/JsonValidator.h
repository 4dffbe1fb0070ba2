// JSON Schema validation (a draft-07 subset plus the key-schema annotations)
// with options that select which rules apply.
#pragma once

#include <string>
#include <unordered_set>
#include <vector>

#include "core/Json.h"

namespace JsonValidator {

class CompiledSchema;

// One error: the JSON Pointer of the value behind the prefix ("field"), and
// what is wrong with it.
struct ErrorRecord {
  std::string field;
  std::string error;
};
using ErrorList = std::vector<ErrorRecord>;

// Validates value against schema with the rules the options select, and
// appends to errors one record per error found (every error, not only the
// first), in the order of the walk. An array schema given an object
// validates it as one instance against "items".
void Validate(const CompiledSchema& schema, const CorvConfigStore::JsonValue& value,
              ErrorList& errors, const std::unordered_set<int>& options, const std::string& prefix);

// The same against a schema used once, filling result with an array of
// {"field": <JSON Pointer behind prefix>, "error": <text>} records.
void Validate(const CorvConfigStore::JsonValue& schema, const CorvConfigStore::JsonValue& value,
              CorvConfigStore::JsonDocument& result, const std::unordered_set<int>& options,
              const std::string& prefix);

}  // namespace JsonValidator
