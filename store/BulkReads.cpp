// The public bulk reads: every object of a component or group, and the
// document of the configuration shared with a SmartNIC.
#include <corvconfigstore/BulkReads.h>
#include <corvconfigstore/ConfigStoreObject.h>

#include <algorithm>
#include <tuple>

#include "core/Json.h"
#include "core/Throw.h"
#include "db/BulkReads.h"
#include "core/JsonDoc.h"
#include "schema/SchemaStore.h"
#include "store/GetDBStore.h"

namespace CorvConfigStore {
namespace {

// "component.group.key" split at its dots; names hold no dots.
std::vector<std::string> NameParts(const std::string& name) {
  std::vector<std::string> parts;
  size_t start = 0;
  for (size_t dot = name.find('.'); dot != std::string::npos; dot = name.find('.', start)) {
    parts.push_back(name.substr(start, dot - start));
    start = dot + 1;
  }
  parts.push_back(name.substr(start));
  return parts;
}

// Writes the stored value of one instance of the key named without its
// generated instance ids. A stored text that is not JSON is a damaged row:
// error 1082, as for every read of a layer.
void WriteValue(const std::string& name, const std::string& instanceId, const std::string& text,
                rapidjson::Writer<rapidjson::StringBuffer>& writer) {
  JsonDocument value;
  std::string error;
  if (!ParseJson(text.c_str(), text.size(), value, &error)) {
    std::string message = "JSON error: the shared value of " + name +
                          (instanceId.empty() ? "" : " instance " + instanceId) +
                          " does not hold JSON: " + error;
    throw ConfigStoreException(CS_ERR_JSON, message.c_str());
  }
  WriteWithoutGeneratedIds(value, writer);
}

}  // namespace

std::vector<std::shared_ptr<ConfigStoreObject>> GetBulkConfig(const std::string& component,
                                                              const std::string& group) {
  std::vector<std::shared_ptr<ConfigStoreObject>> objects;
  for (auto& entry : GetBulkConfigInternal(component, group, OperationContext()))
    for (ConfigStoreObject& object : entry.second)
      objects.push_back(std::make_shared<ConfigStoreObject>(std::move(object)));
  std::sort(objects.begin(), objects.end(), [](const auto& a, const auto& b) {
    const ConfigStoreObjectId& x = a->GetConfigStoreObjectId();
    const ConfigStoreObjectId& y = b->GetConfigStoreObjectId();
    return std::tie(x.group, x.key, x.instanceId) < std::tie(y.group, y.key, y.instanceId);
  });
  return objects;
}

std::string GetSharedConfigDocument() {
  ConfigTypeMap shared;
  UpdateConfigTypeMap(shared, GetSmartnicConfiguration(GetDBStore(DBStore::CONFIG_STORE, true)));
  OperationContext context;
  rapidjson::StringBuffer buffer;
  rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
  writer.StartObject();
  // The map is ordered by "component.group.key", so a component's and a
  // group's keys follow each other.
  std::string component, group;
  for (const auto& key : shared) {
    std::vector<std::string> name = NameParts(key.first);
    if (name.size() != 3) continue;
    if (!component.empty() && (name[0] != component || name[1] != group)) writer.EndObject();
    if (!component.empty() && name[0] != component) writer.EndObject();
    if (name[0] != component) {
      writer.Key(name[0].c_str());
      writer.StartObject();
    }
    if (name[0] != component || name[1] != group) {
      writer.Key(name[1].c_str());
      writer.StartObject();
    }
    component = name[0];
    group = name[1];
    writer.Key(name[2].c_str());
    auto schema = context.Schema(ConfigStoreObjectId(name[2], name[1], name[0]));
    const bool instances = schema && schema->HasInstances();
    if (instances) writer.StartArray();
    for (const auto& value : key.second) WriteValue(key.first, value.first, value.second, writer);
    if (instances) writer.EndArray();
  }
  if (!component.empty()) {
    writer.EndObject();
    writer.EndObject();
  }
  writer.EndObject();
  return buffer.GetString();
}

}  // namespace CorvConfigStore
