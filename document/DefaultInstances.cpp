// Instance lists and the shipped default configuration: removing the
// instances equal to a default, adding the defaults a list lacks, and the
// instance equality both rest on.
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/Logger.h>

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "core/ConfigStoreDocument.h"
#include "db/OperationContext.h"
#include "db/ReadRows.h"
#include "document/ImportExportInternal.h"
#include "object/ConfigStoreObjectImpl.h"
#include "core/JsonDoc.h"
#include "object/ObjectAccess.h"
#include "schema/SchemaStore.h"
#include "store/GetDBStore.h"
#include "store/ObjectLists.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

namespace {

// The shipped default instances of id's key (only the one id names, when it
// names one).
ObjectList ReadDefaultInstances(const ConfigStoreObjectId& id, const SchemaPtr& schema) {
  return GetDefaultConfigInstancesInternal(std::make_shared<FilterSpecObject>(id),
                                           GetDBStore(DBStore::CONFIG_STORE, true), schema);
}

bool UsesGeneratedIds(const SchemaPtr& schema) {
  return schema->GetInstanceIdProperty() == kGeneratedIdProperty;
}

}  // namespace

bool IsEqualInstance(const std::shared_ptr<ConfigStoreObject>& a,
                     const std::shared_ptr<ConfigStoreObject>& b, const SchemaPtr& schema) {
  if (!a || !b) return false;
  const ConfigStoreObjectId idA = a->GetConfigStoreObjectId();
  const ConfigStoreObjectId idB = b->GetConfigStoreObjectId();
  const bool generated = UsesGeneratedIds(schema);
  if (idA.component != idB.component || idA.group != idB.group || idA.key != idB.key) return false;
  if (!generated && idA.instanceId != idB.instanceId) return false;

  JsonDocument valueA, valueB;
  valueA.CopyFrom(*ImplOf(a).GetJsonValuePtr(), valueA.GetAllocator());
  valueB.CopyFrom(*ImplOf(b).GetJsonValuePtr(), valueB.GetAllocator());
  if (generated) {
    ClearGeneratedInstanceId(&valueA);
    ClearGeneratedInstanceId(&valueB);
  }
  return ConfigStoreDocument::IsEqualValue(valueA, valueB, &schema->GetSchemaDocument());
}

void FilterDefaultConfigInstances(std::vector<std::shared_ptr<ConfigStoreObject>>& objects) {
  const ObjectList present = DropNullObjects(objects, "FilterDefaultConfigInstances");
  const ConfigStoreObjectId id = WithInstanceId(present.front()->GetConfigStoreObjectId(), "");
  if (CSLogger::IsEnabled(3))
    CSLogger::Log(3, "%s invoked for %s", "FilterDefaultConfigInstances", id.toString().c_str());
  auto schema = OperationContext().Schema(id);
  ValidateCsoIdInstances(id, schema);
  ObjectList defaults = ReadDefaultInstances(id, schema);

  ObjectList kept;
  if (UsesGeneratedIds(schema)) {
    // Generated ids say nothing about which default an object came from:
    // each default absorbs the first equal object only.
    for (const auto& object : present) {
      auto match = std::find_if(defaults.begin(), defaults.end(), [&](const ObjectPtr& candidate) {
        return IsEqualInstance(object, candidate, schema);
      });
      if (match == defaults.end())
        kept.push_back(object);
      else
        defaults.erase(match);
    }
  } else {
    std::unordered_map<ConfigStoreObjectId, ObjectPtr> defaultById;
    for (const auto& entry : defaults) defaultById[entry->GetConfigStoreObjectId()] = entry;
    for (const auto& object : present) {
      auto found = defaultById.find(object->GetConfigStoreObjectId());
      if (found == defaultById.end() || !IsEqualInstance(object, found->second, schema))
        kept.push_back(object);
    }
  }
  objects.swap(kept);
}

void AddDefaultConfigInstances(ConfigStoreObjectId id,
                               std::vector<std::shared_ptr<ConfigStoreObject>>& objects) {
  if (CSLogger::IsEnabled(3))
    CSLogger::Log(3, "%s invoked for %s", "AddDefaultConfigInstances", id.toString().c_str());
  auto schema = OperationContext().Schema(id);
  ValidateCsoIdInstances(id, schema);
  ObjectList defaults = ReadDefaultInstances(id, schema);
  if (defaults.empty()) return;
  if (objects.empty()) {
    objects = defaults;
    return;
  }
  std::unordered_set<ConfigStoreObjectId> listed;
  for (const auto& object : objects)
    if (object) listed.insert(object->GetConfigStoreObjectId());
  for (const auto& entry : defaults)
    if (listed.count(entry->GetConfigStoreObjectId()) == 0) objects.push_back(entry);
}

}  // namespace CorvConfigStore
