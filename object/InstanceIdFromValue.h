// Reading the instance id an instance value carries, as its key's schema
// directs.
#pragma once

#include <memory>
#include <string>

#include "core/Json.h"

namespace CorvSchemaStore {
class SchemaObject;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

// The instance id held by value: the empty string when the schema names no
// instance-id property (a singleton, or no schema at all); otherwise the
// string under that property. A value that is not an object, lacks the
// property or holds a non-string there raises ConfigStoreException 1032
// with the property name.
std::string GetInstanceIdFromValue(const JsonValue& value,
                                   const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema);

}  // namespace CorvConfigStore
