// Document helpers: member tests, serialisation and schema-aware equality.
#pragma once

#include <string>

#include "core/Json.h"

namespace ConfigStoreDocument {

// True when value is an object with a member of that name.
bool ValueExists(const CorvConfigStore::JsonValue& value, const char* name);

// Compact JSON text of the value.
std::string SerializeValue(const CorvConfigStore::JsonValue& value);

// Deep equality of two values described by schema (the key schema or any
// node of it; null: no schema). Numbers compare by value (1 equals 1.0) and
// object members regardless of order. An array whose schema gives its
// instances ids (an items property marked "instanceId", or
// "cs_generated_id" for items of type object marking none) compares as a
// set keyed by instance id, when every element of both arrays is an object
// with a text id and no id repeats; any other array compares in order. An
// array schema given two objects describes them as instances ("items").
bool IsEqualValue(const CorvConfigStore::JsonValue& a, const CorvConfigStore::JsonValue& b,
                  const CorvConfigStore::JsonValue* schema = nullptr);

}  // namespace ConfigStoreDocument
