// Schemas of whole documents nested component, group, key, and the
// completion of generated instance ids in values.
#include <corvconfigstore/ObjectId.h>

#include "schema/SchemaNodes.h"
#include "schema/SchemaStore.h"

namespace CorvSchemaStore {

using CorvConfigStore::JsonAllocator;
using CorvConfigStore::JsonDocument;
using CorvConfigStore::JsonValue;

namespace {

// An object schema that allows only the members its "properties" name, so
// that the validator reports any other name.
JsonValue ClosedObject(JsonAllocator& allocator) {
  JsonValue node(rapidjson::kObjectType);
  node.AddMember("type", "object", allocator);
  node.AddMember("additionalProperties", false, allocator);
  node.AddMember("properties", JsonValue(rapidjson::kObjectType), allocator);
  return node;
}

// The schema under name in a closed object's properties, added when missing.
JsonValue& Member(JsonValue& closed, const JsonValue& name, JsonAllocator& allocator) {
  JsonValue& properties = closed["properties"];
  auto found = properties.FindMember(name);
  if (found != properties.MemberEnd()) return found->value;
  properties.AddMember(JsonValue(name, allocator), ClosedObject(allocator), allocator);
  return (properties.MemberEnd() - 1)->value;
}

std::string Text(const JsonValue& value) {
  return std::string(value.GetString(), value.GetStringLength());
}

void AddGeneratedId(JsonValue& instance, JsonAllocator& allocator) {
  if (!instance.IsObject() || instance.HasMember(kGeneratedIdProperty)) return;
  std::string id = CorvConfigStore::GenerateInstanceId();
  instance.AddMember(JsonValue(kGeneratedIdProperty, allocator), JsonValue(id.c_str(), allocator),
                     allocator);
}

// The walk of PopulateGeneratedInstanceId.
void PopulateGeneratedIds(const JsonValue& schema, JsonValue& value, JsonAllocator& allocator) {
  if (!schema.IsObject()) return;
  auto items = schema.FindMember("items");
  bool generated =
      IsArrayOfObjects(schema) && FindInstanceIdProperty(items->value) == kGeneratedIdProperty;
  if (value.IsArray()) {
    if (items == schema.MemberEnd()) return;
    for (JsonValue& element : value.GetArray()) {
      if (generated) AddGeneratedId(element, allocator);
      PopulateGeneratedIds(items->value, element, allocator);
    }
  } else if (value.IsObject()) {
    // An object given to a list schema is one instance of the list.
    if (IsArrayOfObjects(schema)) {
      if (generated) AddGeneratedId(value, allocator);
      PopulateGeneratedIds(items->value, value, allocator);
      return;
    }
    const JsonValue* properties = FindProperties(schema);
    if (properties == nullptr) return;
    for (auto& member : value.GetObject()) {
      auto property = properties->FindMember(member.name);
      if (property != properties->MemberEnd())
        PopulateGeneratedIds(property->value, member.value, allocator);
    }
  }
}

}  // namespace

void GenerateSchemaDocument(const JsonValue& value, const std::shared_ptr<SchemaObjectCache>& cache,
                            JsonDocument& schema, JsonDocument& scratch) {
  std::shared_ptr<SchemaObjectCache> schemas = cache ? cache : SchemaStore::GetCache();
  JsonAllocator& allocator = schema.GetAllocator();
  JsonValue root = ClosedObject(allocator);
  if (value.IsObject()) {
    for (const auto& component : value.GetObject()) {
      std::string componentName = Text(component.name);
      if (!schemas->HasComponent(componentName)) continue;
      JsonValue& componentSchema = Member(root, component.name, allocator);
      if (!component.value.IsObject()) continue;
      for (const auto& group : component.value.GetObject()) {
        std::string groupName = Text(group.name);
        if (!schemas->HasGroup(componentName, groupName)) continue;
        JsonValue& groupSchema = Member(componentSchema, group.name, allocator);
        if (!group.value.IsObject()) continue;
        JsonValue& keys = groupSchema["properties"];
        for (const auto& key : group.value.GetObject()) {
          if (keys.HasMember(key.name)) continue;
          auto keySchema = schemas->GetSchema(componentName, groupName, Text(key.name));
          if (!keySchema) continue;
          keys.AddMember(JsonValue(key.name, allocator),
                         JsonValue(keySchema->GetSchemaDocument(), allocator), allocator);
        }
      }
    }
  }
  static_cast<JsonValue&>(schema).Swap(root);
}

bool UsesGeneratedIds(const JsonValue& schema) {
  if (!schema.IsObject()) return false;
  if (IsArrayOfObjects(schema) && FindInstanceIdProperty(schema["items"]) == kGeneratedIdProperty)
    return true;
  auto items = schema.FindMember("items");
  if (items != schema.MemberEnd() && UsesGeneratedIds(items->value)) return true;
  if (const JsonValue* properties = FindProperties(schema))
    for (const auto& property : properties->GetObject())
      if (UsesGeneratedIds(property.value)) return true;
  return false;
}

bool MayTagLayers(const JsonValue& schema) {
  if (schema.IsArray()) {
    for (const JsonValue& element : schema.GetArray())
      if (MayTagLayers(element)) return true;
    return false;
  }
  if (!schema.IsObject()) return false;
  for (const auto& member : schema.GetObject()) {
    if (member.name == "vital" || member.name == "cached") return true;
    if (MayTagLayers(member.value)) return true;
  }
  return false;
}

void PopulateGeneratedInstanceId(const JsonValue& schema, JsonValue& value,
                                 JsonAllocator& allocator) {
  // Most schemas name their instances' ids: a look at the schema spares the
  // walk of a value that may hold thousands of instances.
  if (UsesGeneratedIds(schema)) PopulateGeneratedIds(schema, value, allocator);
}

}  // namespace CorvSchemaStore
