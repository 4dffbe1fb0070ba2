// Reading a value schema's layer tags into a tree.
#include "schema/LayerTags.h"

#include <array>
#include <string_view>

#include "schema/SchemaNodes.h"

namespace CorvSchemaStore {

using CorvConfigStore::JsonValue;

LayerTags::LayerTags(const JsonValue& valueSchema) : root_(Read(valueSchema)) {}

const LayerTagNode* LayerTags::Read(const JsonValue& node) {
  nodes_.emplace_back();
  LayerTagNode& read = nodes_.back();
  read.json = &node;
  read.isObject = node.IsObject();
  if (!read.isObject) return &read;
  static constexpr std::array<std::string_view, 3> kTags = {"instanceId", "vital", "cached"};
  const auto tags = FirstMembersNamed(node, kTags);
  read.instanceId = tags[0];
  read.vital = tags[1];
  read.cached = tags[2];
  if (const JsonValue* properties = FindProperties(node)) {
    for (const auto& property : properties->GetObject()) {
      const std::string_view name(property.name.GetString(), property.name.GetStringLength());
      if (read.Property(name) == nullptr) read.properties.emplace_back(name, Read(property.value));
    }
  }
  read.isArray = TypeOf(node) == "array";
  if (const JsonValue* items = ObjectItems(node)) read.objectItems = Read(*items);
  return &read;
}

}  // namespace CorvSchemaStore
