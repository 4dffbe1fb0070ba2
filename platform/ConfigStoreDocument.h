// Document helpers: member tests, serialisation, schema-aware equality and
// the placement of objects in whole-store documents.
#pragma once

#include <string>

#include "core/Json.h"

namespace ConfigStoreDocument {

// True when value is an object with a member of that name.
bool ValueExists(const CorvConfigStore::JsonValue& value, const char* name);

// Compact JSON text of the value.
std::string SerializeValue(const CorvConfigStore::JsonValue& value);

}  // namespace ConfigStoreDocument
