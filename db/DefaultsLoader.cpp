// Loading a defaults document into the DefaultConfig rows of the store:
// every value is checked against its key's schema and split into its user,
// vital and cached layers first, then all keys are written in one
// transaction.
#include <corvconfigstore/ConfigStoreObject.h>
#include <corvconfigstore/Logger.h>
#include <corvconfigstore/Provisioning.h>

#include <set>
#include <unordered_set>
#include <vector>

#include "core/Throw.h"
#include "db/ConfigRow.h"
#include "db/WriteRows.h"
#include "object/ConfigStoreObjectImpl.h"
#include "object/InstanceIdFromValue.h"
#include "core/JsonFile.h"
#include "jsonschema/JsonValidator.h"
#include "schema/SchemaStore.h"
#include "sqlite/DBError.h"
#include "sqlite/Transaction.h"

namespace CorvConfigStore {

namespace {

const DBStore::SqlStatement kDeleteDefaults(
    "DELETE FROM DefaultConfig WHERE Name = ? AND ConfigGroup = ? AND Component = ?");
const DBStore::SqlStatement kWriteDefault(
    "INSERT OR REPLACE INTO DefaultConfig ( Identifier, Name, ConfigGroup, Component, Version, "
    "Value, VitalValue, CachedValue ) VALUES ( ?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8 )");

// Types and structure, value constraints, required members and closed
// objects: a default must be a complete, valid value of its key.
const std::unordered_set<int> kDefaultsOptions = {0, 1, 7, 8};

// The rows of one key: all of them replace what the key had.
struct KeyDefaults {
  ConfigStoreObjectId id;
  std::string version;
  std::vector<DBStore::SqlParams> rows;
};

std::string Text(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

// what names the value in messages: the key, or one instance of it.
void CheckValue(const SchemaPtr& schema, const JsonValue& value, const std::string& what) {
  JsonValidator::ErrorList errors;
  JsonValidator::Validate(schema->GetCompiledSchema(), value, errors, kDefaultsOptions, "");
  if (errors.empty()) return;
  std::string message = "Invalid defaults of " + what + ":";
  for (const JsonValidator::ErrorRecord& error : errors) {
    message += " ";
    message += error.field;
    message += ": ";
    message += error.error;
    message += ";";
  }
  message.pop_back();
  ThrowGeneral(message);
}

// The Identifier, Version and layer parameters of one default value.
DBStore::SqlParams RowOf(const ConfigStoreObjectId& key, const std::string& instanceId,
                         const std::string& version, const SchemaPtr& schema,
                         const JsonValue& value) {
  ConfigStoreObjectId id = WithInstanceId(key, instanceId);
  std::shared_ptr<JsonDoc> data = CreateDocument();
  data->GetDocument()->CopyFrom(value, data->GetAllocator());
  auto object = std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, data, schema, version, "", "", -1, true, nullptr, nullptr));
  DBStore::SqlParams params = NumberedParams(id, version);
  for (DBStore::SqlParam& layer : LayerPartParams(object, schema)) params.push_back(layer);
  return params;
}

KeyDefaults DefaultsOfKey(const ConfigStoreObjectId& id, const SchemaPtr& schema, JsonValue& value,
                          JsonAllocator& allocator) {
  const std::string name = id.component + "." + id.group + "." + id.key;
  KeyDefaults defaults{id, schema->GetVersion(), {}};
  if (value.IsNull()) return defaults;
  if (!schema->HasInstances()) {
    if (!value.IsObject()) ThrowGeneral("Defaults of " + name + " must be an object");
    CorvSchemaStore::PopulateGeneratedInstanceId(schema->GetSchemaDocument(), value, allocator);
    CheckValue(schema, value, name);
    defaults.rows.push_back(RowOf(id, "", defaults.version, schema, value));
    return defaults;
  }
  if (!value.IsArray()) ThrowGeneral("Defaults of " + name + " must be a list of instances");
  std::set<std::string> seen;
  for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
    JsonValue& instance = value[i];
    std::string where = "instance " + std::to_string(i) + " of " + name;
    if (!instance.IsObject()) ThrowGeneral("Defaults of " + where + " must be an object");
    CorvSchemaStore::PopulateGeneratedInstanceId(schema->GetSchemaDocument(), instance, allocator);
    CheckValue(schema, instance, where);
    std::string instanceId;
    try {
      instanceId = GetInstanceIdFromValue(instance, schema);
    } catch (const ConfigStoreException& e) {
      ThrowWrapped("Defaults of " + where + ": ", e);
    }
    if (instanceId.empty()) ThrowGeneral("Defaults of " + where + " have an empty instance id");
    if (!seen.insert(instanceId).second)
      ThrowGeneral("Instance \"" + instanceId + "\" appears twice in the defaults of " + name);
    defaults.rows.push_back(RowOf(id, instanceId, defaults.version, schema, instance));
  }
  return defaults;
}

// Every key of the document, checked; nothing is written yet.
std::vector<KeyDefaults> DefaultsOfFile(const std::string& path, JsonDocument& file) {
  if (!file.IsObject())
    ThrowGeneral("Defaults file " + path + " must hold an object of components");
  auto cache = CorvSchemaStore::SchemaStore::GetCache();
  std::vector<KeyDefaults> keys;
  std::set<std::string> seen;
  for (auto& component : file.GetObject()) {
    std::string componentName = Text(component.name);
    if (!component.value.IsObject())
      ThrowGeneral("Component " + componentName + " in defaults file " + path +
                   " must hold an object of groups");
    for (auto& group : component.value.GetObject()) {
      std::string groupName = Text(group.name);
      if (!group.value.IsObject())
        ThrowGeneral("Group " + componentName + "." + groupName + " in defaults file " + path +
                     " must hold an object of keys");
      for (auto& key : group.value.GetObject()) {
        ConfigStoreObjectId id(Text(key.name), groupName, componentName);
        std::string name = componentName + "." + groupName + "." + id.key;
        SchemaPtr schema = cache->GetSchema(componentName, groupName, id.key);
        if (!schema) ThrowGeneral("Unknown configuration " + name + " in defaults file " + path);
        if (!seen.insert(name).second)
          ThrowGeneral("Key " + name + " appears twice in defaults file " + path);
        keys.push_back(DefaultsOfKey(id, schema, key.value, file.GetAllocator()));
      }
    }
  }
  return keys;
}

}  // namespace

int LoadDefaultsFile(const std::string& path) {
  JsonDocument file;
  CorvSchemaStore::ReadJsonFile(path, "defaults file", file);
  std::vector<KeyDefaults> keys = DefaultsOfFile(path, file);

  std::string database = DBStore::ConfigStorePath();
  Connection connection = DBStore::ConnectOrThrow(DBStore::CONFIG_STORE, database);
  DBStore::Transaction transaction(connection, "LoadDefaultsFile");
  int written = 0;
  for (const KeyDefaults& key : keys) {
    bool ok = DBStore::ExecuteStmt(connection, kDeleteDefaults, KeyParams(key.id), nullptr,
                                   DBStore::kDefaultTimeLimit) == DBStore::kSuccess;
    for (size_t i = 0; ok && i < key.rows.size(); ++i, ++written)
      ok = DBStore::ExecuteStmt(connection, kWriteDefault, key.rows[i], nullptr,
                                DBStore::kDefaultTimeLimit) == DBStore::kSuccess;
    if (!ok)
      DBStore::ThrowFailure(connection, "Cannot write the defaults of " + key.id.component + "." +
                                            key.id.group + "." + key.id.key + " to " + database +
                                            ": " + connection->LastError());
  }
  transaction.Commit("Cannot commit defaults file " + path + " to " + database);
  CSLogger::Log(2, "Loaded %d default rows of %d keys from %s into %s", written,
                static_cast<int>(keys.size()), path.c_str(), database.c_str());
  return written;
}

}  // namespace CorvConfigStore
