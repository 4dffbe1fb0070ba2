// The instance-id map and the defaults a configuration object takes from its
// key's schema.
#pragma once

#include <memory>
#include <string>

#include "core/JsonDoc.h"

namespace CorvSchemaStore {
class SchemaObject;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

// The schema's instance-id map, shared with the schema (to be read, never
// changed); null when the map has no members, and null after logging
// "Schema object not found for key: <key>" at priority 0 when there is no
// schema.
std::shared_ptr<JsonDoc> GetInstanceIdMapFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema, const std::string& key);

// The schema's default values, shared with the schema (to be read, never
// changed); null when there are none, and null after logging "Schema object
// is null." at priority 0 when there is no schema.
std::shared_ptr<JsonDoc> GetDefaultsFromSchema(
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema);

}  // namespace CorvConfigStore
