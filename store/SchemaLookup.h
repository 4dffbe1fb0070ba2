// Finding the schema of the configuration an identifier names.
#pragma once

#include <corvconfigstore/ObjectId.h>

#include <memory>

#include "schema/SchemaStore.h"

namespace CorvConfigStore {

// The schema store's schema of (component, group, key); null when there is
// none. The identity checks that follow report a missing schema.
inline std::shared_ptr<CorvSchemaStore::SchemaObject> LookupSchema(const ConfigStoreObjectId& id) {
  return CorvSchemaStore::SchemaStore::GetStore()->GetSchema(id.component, id.group, id.key);
}

}  // namespace CorvConfigStore
