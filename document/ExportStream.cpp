// The reading side of export: filters grouped by key in document order, each
// key's configuration read row by row.
#include "document/ExportStream.h"

#include <map>
#include <string>
#include <tuple>
#include <unordered_set>

#include "core/Checks.h"
#include "db/ReadRows.h"
#include "core/JsonDoc.h"
#include "object/ObjectAccess.h"
#include "schema/SchemaStore.h"
#include "store/GetDBStore.h"
#include "validation/Validation.h"

namespace CorvConfigStore {
namespace {

// Keys in the order the document nests them.
struct DocumentOrder {
  bool operator()(const ConfigStoreObjectId& a, const ConfigStoreObjectId& b) const {
    return std::tie(a.component, a.group, a.key) < std::tie(b.component, b.group, b.key);
  }
};

struct KeySelection {
  SchemaPtr schema;
  std::vector<std::shared_ptr<FilterSpecObject>> filters;
};

}  // namespace

void ForEachExported(
    const std::vector<std::shared_ptr<FilterSpecObject>>& filters,
    const std::function<void(const ConfigStoreObjectId& id, const ConfigStoreObject* object)>&
        visit,
    const std::function<bool(const ConfigStoreObjectId& id, const std::string& text,
                             const SchemaPtr& schema)>& takeText) {
  std::vector<std::shared_ptr<FilterSpecObject>> present;
  for (const auto& filter : filters)
    if (!IsNull(filter, "Export")) present.push_back(filter);
  if (present.empty()) return;

  auto connection = GetDBStore(DBStore::CONFIG_STORE, true);
  OperationContext op;
  std::map<ConfigStoreObjectId, KeySelection, DocumentOrder> keys;
  for (const auto& filter : present) {
    const ConfigStoreObjectId id = WithInstanceId(filter->GetConfigStoreObjectId(), "");
    KeySelection& key = keys[id];
    if (!key.schema) {
      key.schema = op.Schema(id);
      CheckSchema(id, key.schema);
    }
    key.filters.push_back(filter);
  }

  auto offer = [&visit](const ObjectPtr& object) {
    visit(object->GetConfigStoreObjectId(), object.get());
  };
  for (const auto& entry : keys) {
    // Named references, not a structured binding: C++17 lambdas cannot
    // capture a binding.
    const auto& id = entry.first;
    const auto& key = entry.second;
    if (!key.schema->HasInstances()) {
      ObjectPtr object = GetInternal(id, connection, key.schema, op);
      if (object)
        offer(object);
      else
        visit(id, nullptr);
      continue;
    }
    // Only a key that several filters select can meet an instance twice.
    std::unordered_set<std::string> seen;
    const bool several = key.filters.size() > 1;
    bool any = false;
    StoredTextTaker takeKeyText;
    if (takeText) {
      takeKeyText = [&](const ConfigStoreObjectId& instance, const std::string& text) {
        // One met before is taken, to be left out.
        if (several && seen.count(instance.instanceId) != 0) return true;
        if (!takeText(instance, text, key.schema)) return false;
        if (several) seen.insert(instance.instanceId);
        any = true;
        return true;
      };
    }
    for (const auto& filter : key.filters) {
      ForEachConfigInstance(
          filter, connection, key.schema, op,
          [&](const ObjectPtr& object) {
            if (several && !seen.insert(object->GetConfigStoreObjectId().instanceId).second)
              return;
            any = true;
            offer(object);
          },
          takeKeyText);
    }
    if (!any) visit(id, nullptr);
  }
}

}  // namespace CorvConfigStore
