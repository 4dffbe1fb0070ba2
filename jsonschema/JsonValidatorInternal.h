// What the files of the validator share: the decoded options, the error
// list, JSON Pointer building, descriptions of values for messages, and
// the lookup of the schemas that apply to an object member.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "core/Json.h"
#include "jsonschema/JsonPattern.h"

namespace JsonValidator {

using CorvConfigStore::JsonValue;

// The option integers, decoded.
struct Options {
  bool types = false;       // 0: type and the combinators
  bool values = false;      // 1: value constraints
  bool userOnly = false;    // 3: no vital, cached or solutionUser member
  bool noReadOnly = false;  // 4: no readOnly member
  bool vitalOnly = false;   // 5: only vital members and the instance id
  bool required = false;    // 7: required
  bool closed = false;      // 8: only declared members
  bool cachedOnly = false;  // 9: only cached members and the instance id
};

struct ErrorRecord {
  std::string field;
  std::string error;
};
using ErrorList = std::vector<ErrorRecord>;

// Appends an error about the value at path (the prefix followed by the JSON
// Pointer; an empty path stands for "/").
void AddError(ErrorList& errors, const std::string& path, std::string text);

// Appends "/" and the member name with "~" and "/" escaped as "~0", "~1".
void AppendName(std::string& path, const JsonValue& name);
// Appends "/" and the array index.
void AppendIndex(std::string& path, size_t index);

// The value (or a member name) as JSON text for a message, cut short when
// long.
std::string Describe(const JsonValue& value);

// The schemas that apply to member name of an object under schema: the
// "properties" entry and every "patternProperties" entry whose pattern the
// name matches. "additionalProperties" is left to the caller, since it
// applies only when this finds nothing.
struct PatternFailure {
  const JsonValue* pattern;
  JsonPattern::Outcome outcome;  // kInvalid or kFailed
  std::string reason;
};
void FindMemberSchemas(const JsonValue& schema, const JsonValue& name,
                       std::vector<const JsonValue*>& schemas,
                       std::vector<PatternFailure>* failures);

// Option 1: enum, const and the numeric, length, size, pattern, format
// and uniqueness keywords of one schema node, for the value itself.
void CheckValueConstraints(const JsonValue& schema, const JsonValue& value, const std::string& path,
                           ErrorList& errors);

// Options 3, 4, 5 and 9: the annotations of the members value holds,
// walked from the key schema.
void CheckLayers(const JsonValue& schema, const JsonValue& value, std::string& path,
                 const Options& options, ErrorList& errors);

}  // namespace JsonValidator
