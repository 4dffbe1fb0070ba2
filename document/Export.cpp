// Export of stored configurations as a whole-store document.
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/Logger.h>

#include "core/Checks.h"
#include "db/ReadRows.h"
#include "document/ImportExportInternal.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/JsonDoc.h"
#include "core/ConfigStoreDocument.h"
#include "schema/SchemaStore.h"
#include "store/GetDBStore.h"
#include "validation/Validation.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {

namespace {

// The document of an export grows in chunks of this many bytes.
constexpr size_t kExportChunkSize = 65536;

}  // namespace

void ExportInternal(JsonDocument& document, CsoIdObjectMap& objects, bool clearGeneratedIds) {
  JsonAllocator& allocator = document.GetAllocator();
  for (const auto& entry : objects) {
    const ConfigStoreObjectId& id = entry.first;
    // The copy is what is cleaned and placed; the object stays as it is.
    JsonValue value;
    if (entry.second) value.CopyFrom(*ImplOf(entry.second).GetJsonValuePtr(), allocator);
    if (clearGeneratedIds) ClearGeneratedInstanceId(&value);
    ConfigStoreDocument::AddObject(document, id.component, id.group, id.key, id.instanceId, value,
                                   allocator);
  }
}

std::string Export(std::vector<std::shared_ptr<FilterSpecObject>> filters) {
  CSLogger::Log(3, "%s invoked", "Export");
  JsonAllocator allocator(kExportChunkSize);
  JsonDocument document(&allocator);
  document.SetObject();
  if (filters.empty()) return ConfigStoreDocument::SerializeValue(document);

  auto connection = GetDBStore(DBStore::CONFIG_STORE, true);
  OperationContext op;
  CsoIdObjectMap objects;
  for (const auto& filter : filters) {
    if (IsNull(filter, "Export")) continue;
    const ConfigStoreObjectId id = WithInstanceId(filter->GetConfigStoreObjectId(), "");
    auto schema = op.Schema(id);
    CheckSchema(id, schema);
    if (!schema->HasInstances()) {
      objects[id] = GetInternal(id, connection, schema, op);
      continue;
    }
    ObjectList instances = GetConfigInstancesInternal(filter, connection, schema, op);
    if (instances.empty()) objects[id] = nullptr;
    for (const auto& instance : instances) objects[instance->GetConfigStoreObjectId()] = instance;
  }
  ExportInternal(document, objects, true);
  return ConfigStoreDocument::SerializeValue(document);
}

}  // namespace CorvConfigStore
