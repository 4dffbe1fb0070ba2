// The checks a key schema passes before it enters the schema store: only
// known keywords, each with a value of the right form, annotations where
// they apply; and the form of component, group and key names.
#pragma once

#include <string>

#include "core/Json.h"

namespace CorvSchemaStore {

// A component, group or key name: 1 to 64 letters, digits, '_' or '-'.
bool IsValidSchemaName(const std::string& name);

// Checks the key schema of the key named by keyName ("component.group.key").
// Raises ConfigStoreException 2000 at the first fault, naming the key, the
// keyword and where in the schema it stands (a JSON Pointer, "/" for the
// root), e.g. Unknown keyword "minimun" in schema of corv.net.dns at
// /properties/mtu.
void CheckKeySchema(const std::string& keyName, const CorvConfigStore::JsonValue& schema);

}  // namespace CorvSchemaStore
