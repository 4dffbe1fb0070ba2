// Removal of empty objects and empty arrays from user configuration before
// it is written.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>

#include <memory>

namespace CorvSchemaStore {
class SchemaObject;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

// Erases, guided by the key's schema, every object member and every instance
// of a list that is left without members, and every list left empty. An
// instance holding nothing but "cs_generated_id" counts as empty. Schema
// nodes tagged "solutionUser", "vital" or "cached", and objects whose kind is
// not user configuration, are left alone. Members the schema does not
// describe, and values whose JSON type differs from the schema's, are left
// for validation to judge.
void CleanupObject(const std::shared_ptr<ConfigStoreObject>& object,
                   const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema);

}  // namespace CorvConfigStore
