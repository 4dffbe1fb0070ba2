// Reading what an export holds one configuration at a time, in the order of
// the document.
#pragma once

#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/FilterSpecObject.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CorvSchemaStore {
class SchemaObject;
}  // namespace CorvSchemaStore

namespace CorvConfigStore {

// Calls visit with each configuration the filters select, in order of
// component, group and key, a key's instances in the store's order: the
// object as read, or null (with the key's identifier) for a key with
// nothing selected. Null filters are logged
// (1041) and skipped; every key's schema is checked (1037) before anything
// is read. An instance that several filters select is visited once.
//
// With takeText, an instance whose value is one stored layer is first
// offered as that layer's text (unchecked), with its key's schema; takeText
// returns false to have the object read and visited instead.
void ForEachExported(
    const std::vector<std::shared_ptr<FilterSpecObject>>& filters,
    const std::function<void(const ConfigStoreObjectId& id, const ConfigStoreObject* object)>&
        visit,
    const std::function<bool(const ConfigStoreObjectId& id, const std::string& text,
                             const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema)>&
        takeText = nullptr);

}  // namespace CorvConfigStore
