// Import of whole-store documents: parsing and validating the document into
// a map of configuration objects, and replacing the stored configurations
// by them in one transaction.
#include <corvconfigstore/ImportExport.h>
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/Types.h>

#include <exception>
#include <unordered_set>

#include "db/ConfigRow.h"
#include "db/WriteRows.h"
#include "document/ImportExportInternal.h"
#include "object/InstanceIdFromValue.h"
#include "core/JsonDoc.h"
#include "schema/SchemaStore.h"
#include "sqlite/Transaction.h"
#include "store/GetDBStore.h"
#include "store/ObjectFactories.h"
#include "validation/Validation.h"

namespace CorvConfigStore {

namespace {

std::string NameOf(const JsonValue& name) {
  return std::string(name.GetString(), name.GetStringLength());
}

// Records every key holding null as "remove everything" and takes it out of
// the document, so that validation sees only values. Stops at the first
// component or group that is not an object; validation reports it.
void TakeOutNullKeys(JsonValue& root, CsoIdObjectMap& out) {
  for (auto& component : root.GetObject()) {
    const std::string componentName = NameOf(component.name);
    if (!component.value.IsObject()) return;
    for (auto& group : component.value.GetObject()) {
      const std::string groupName = NameOf(group.name);
      if (!group.value.IsObject()) return;
      for (auto key = group.value.MemberBegin(); key != group.value.MemberEnd();) {
        const std::string keyName = NameOf(key->name);
        if (!key->value.IsNull()) {
          ++key;
          continue;
        }
        out[ConfigStoreObjectId(keyName, groupName, componentName)] = nullptr;
        key = group.value.EraseMember(key);
      }
    }
  }
}

// A configuration object of id holding value, moved out of the document
// read from the file, whose pool it keeps.
std::shared_ptr<ConfigStoreObject> MakeObject(const ConfigStoreObjectId& id, JsonValue& value,
                                              const std::shared_ptr<JsonDocument>& file,
                                              const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema) {
  return CreateObject(id, std::make_shared<JsonDoc>(MoveOntoPoolOf(file, value)), schema,
                      std::nullopt);
}

// Places the objects of one key in out: an empty entry of its configuration
// first, so that its stored instances go, then the singleton's value or each
// instance under its own instance id. The values move out of file.
void AddKeyObjects(const ConfigStoreObjectId& id, JsonValue& value,
                   const std::shared_ptr<JsonDocument>& file,
                   const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                   CsoIdObjectMap& out) {
  auto schema = cache->GetSchema(id.component, id.group, id.key);
  out[id] = nullptr;
  if (value.IsArray()) {
    for (JsonValue& instance : value.GetArray()) {
      ConfigStoreObjectId instanceId = WithInstanceId(id, GetInstanceIdFromValue(instance, schema));
      out[instanceId] = MakeObject(instanceId, instance, file, schema);
    }
    return;
  }
  out[id] = MakeObject(id, value, file, schema);
}

}  // namespace

bool GetCsoidObjMapFromDocument(const std::string& docString, CsoIdObjectMap& out,
                                const std::shared_ptr<CorvSchemaStore::SchemaObjectCache>& cache,
                                std::vector<ErrorInfo>& errors) {
  std::shared_ptr<JsonDocument> file = CreateDocumentFromString(docString)->GetDocument();
  JsonDocument& document = *file;

  if (!document.IsObject()) {
    CSLogger::Log(0, "Imported document is not of type object.");
  } else {
    try {
      TakeOutNullKeys(document, out);
    } catch (const std::exception& e) {
      // Validation still runs and decides.
      CSLogger::Log(0, "Import document is invalid: %s", e.what());
    }
  }

  if (!ValidateImportDocument(document, cache, errors)) return false;

  // The pointer of the key being built, for the record of a failure.
  std::string location = "/";
  try {
    for (auto& component : document.GetObject()) {
      if (!component.value.IsObject()) continue;
      const std::string componentName = NameOf(component.name);
      for (auto& group : component.value.GetObject()) {
        if (!group.value.IsObject()) continue;
        const std::string groupName = NameOf(group.name);
        for (auto& key : group.value.GetObject()) {
          const std::string keyName = NameOf(key.name);
          location = "/" + componentName + "/" + groupName + "/" + keyName;
          AddKeyObjects(ConfigStoreObjectId(keyName, groupName, componentName), key.value, file,
                        cache, out);
        }
      }
    }
  } catch (const std::exception& e) {
    CSLogger::Log(0, "Failed parsing input docString: %s", e.what());
    errors.emplace_back(location, e.what());
    return false;
  }
  return true;
}

bool Import(const std::string& docString, std::vector<ErrorInfo>& errors) {
  return Import(docString, errors, nullptr);
}

bool Import(const std::string& docString, std::vector<ErrorInfo>& errors,
            const ImportProgress& progress) {
  CSLogger::Log(3, "%s invoked", "Import");
  OperationContext op;
  CsoIdObjectMap objects;
  const bool valid = GetCsoidObjMapFromDocument(docString, objects, op.Schemas(), errors);
  if (!valid) return false;
  if (objects.empty()) {
    CSLogger::Log(3, "Found nothing to import from document");
    return valid;
  }

  auto connection = GetDBStore(DBStore::CONFIG_STORE, true);
  // Nothing of a failed import may remain; the failure itself reaches the
  // caller unchanged.
  DBStore::Transaction transaction(connection, "Import");
  ObjectList written;
  std::unordered_set<ConfigStoreObjectId> cleared;
  for (const auto& entry : objects) {
    if (entry.second) written.push_back(entry.second);
    ConfigStoreObjectId configuration = WithInstanceId(entry.first, "");
    if (cleared.insert(configuration).second) DeleteInstancesInternal(configuration, connection);
  }
  size_t done = 0;
  RowWritten counted;
  if (progress) {
    progress(done, written.size());
    counted = [&] { progress(++done, written.size()); };
  }
  SetInstancesInternal(written, EXTERNAL, op, connection, counted);
  transaction.Commit();
  return true;
}

}  // namespace CorvConfigStore
