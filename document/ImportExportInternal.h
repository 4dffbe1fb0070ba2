// The pieces of import and export that work on parsed documents and on maps
// of configuration objects.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <string>
#include <vector>

#include "core/IdOrderedMap.h"
#include "core/Json.h"

namespace CorvSchemaStore {
class SchemaObject;
class SchemaObjectCache;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

// Configuration objects by identity. An entry holding an empty pointer
// stands for "nothing stored": every instance of its configuration (its
// identity has an empty instance id) is to be removed, or, in an export, is
// shown as null. Entries keep the order the document gives them.
using CsoIdObjectMap = IdOrderedMap<std::shared_ptr<ConfigStoreObject>>;

// Parses an import document into out and validates it as a whole. Keys
// holding null become empty entries; after validation, every other key gets
// an empty entry of its configuration (so its stored instances go) and one
// entry per object: the singleton's value, or each instance of an array
// under its own instance id. Returns false, with the validator's records in
// errors, when the document is invalid or an object cannot be built (its
// instance id missing); out must not be used then. Throws code 1080 when the
// text is not JSON.
bool GetCsoidObjMapFromDocument(const std::string& docString, CsoIdObjectMap& out,
                                const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                                std::vector<ErrorInfo>& errors);

// True when a and b (neither null) denote the same instance of the schema's
// key and hold equal values. With generated instance ids the ids play no
// part: only component, group and key must match, and the values are
// compared without their generated ids.
bool IsEqualInstance(const std::shared_ptr<ConfigStoreObject>& a,
                     const std::shared_ptr<ConfigStoreObject>& b,
                     const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema);

}  // namespace CorvConfigStore
