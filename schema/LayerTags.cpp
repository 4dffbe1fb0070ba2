// Reading a value schema's layer tags into a tree.
#include "schema/LayerTags.h"

#include <cstring>

namespace CorvSchemaStore {

using CorvConfigStore::JsonValue;

LayerTags::LayerTags(const JsonValue& valueSchema) : root_(Read(valueSchema)) {}

const LayerTagNode* LayerTags::Read(const JsonValue& node) {
  nodes_.emplace_back();
  LayerTagNode& read = nodes_.back();
  read.json = &node;
  read.isObject = node.IsObject();
  if (!read.isObject) return &read;
  const JsonValue* properties = nullptr;
  const JsonValue* type = nullptr;
  const JsonValue* items = nullptr;
  for (const auto& member : node.GetObject()) {
    const std::string_view name(member.name.GetString(), member.name.GetStringLength());
    const JsonValue** slot = name == "instanceId"   ? &read.instanceId
                             : name == "vital"      ? &read.vital
                             : name == "cached"     ? &read.cached
                             : name == "properties" ? &properties
                             : name == "type"       ? &type
                             : name == "items"      ? &items
                                                    : nullptr;
    if (slot != nullptr && *slot == nullptr) *slot = &member.value;
  }
  if (properties != nullptr && properties->IsObject()) {
    for (const auto& property : properties->GetObject()) {
      const std::string_view name(property.name.GetString(), property.name.GetStringLength());
      if (read.Property(name) == nullptr) read.properties.emplace_back(name, Read(property.value));
    }
  }
  read.isArray =
      type != nullptr && type->IsString() && std::strcmp(type->GetString(), "array") == 0;
  if (items != nullptr && items->IsObject() && items->HasMember("type") &&
      (*items)["type"].IsString() && std::strcmp((*items)["type"].GetString(), "object") == 0)
    read.objectItems = Read(*items);
  return &read;
}

}  // namespace CorvSchemaStore
