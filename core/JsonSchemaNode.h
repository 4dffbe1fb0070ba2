// Lookups in a JSON schema node shared by the validator and the document
// helpers. A node that is not an object answers "absent" to every question,
// so malformed schemas never reach a rapidjson precondition.
#pragma once

#include "core/Json.h"

namespace CorvConfigStore {

// The keyword's value in the schema node, or null when absent.
const JsonValue* SchemaKeyword(const JsonValue& schema, const char* name);

// The keyword is written as the boolean true ("vital": true).
bool SchemaFlag(const JsonValue& schema, const char* name);

// "type" names exactly this type (a single text, not a list).
bool SchemaHasType(const JsonValue& schema, const char* type);

// The schema that describes value: an array schema given an object stands
// for one of its instances, so "items" describes the object; any other
// pairing keeps the schema.
const JsonValue& InstanceSchema(const JsonValue& schema, const JsonValue& value);

// For an array schema whose instances have ids: the items' property marked
// "instanceId", or "cs_generated_id" for items of type object marking none;
// null for any other schema.
const char* InstanceIdPropertyOf(const JsonValue& schema);

}  // namespace CorvConfigStore
