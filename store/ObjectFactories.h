// Building a configuration object from a parsed JSON document.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <optional>

#include "core/JsonDoc.h"

namespace CorvSchemaStore {
class SchemaObject;
}

namespace CorvConfigStore {

// A top-level object of id working on document (shared, not copied) with
// the map, defaults and version of schema. index is kept only for a key
// with instances. Instances that use generated ids and lack one are given
// one. When the key has instances and id carries no instance id, the object
// takes the one the value holds under the instance-id property; otherwise
// the id's instance id is written into the value. Throws 1037 (naming id)
// for a null schema and 1082 when the document's value is not an object.
std::shared_ptr<ConfigStoreObject> CreateObject(
    const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& document,
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema,
    std::optional<unsigned long> index);

}  // namespace CorvConfigStore
