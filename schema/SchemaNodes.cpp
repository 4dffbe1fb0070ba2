// Small questions asked of one node of a key schema.
#include "schema/SchemaNodes.h"

namespace CorvSchemaStore {

using CorvConfigStore::JsonValue;

bool IsFlagTrue(const JsonValue& node, const char* name) {
  if (!node.IsObject()) return false;
  auto member = node.FindMember(name);
  return member != node.MemberEnd() && member->value.IsBool() && member->value.GetBool();
}

bool HasType(const JsonValue& node, const char* type) {
  if (!node.IsObject()) return false;
  auto member = node.FindMember("type");
  return member != node.MemberEnd() && member->value.IsString() && member->value == type;
}

bool IsArrayOfObjects(const JsonValue& node) {
  if (!HasType(node, "array")) return false;
  auto items = node.FindMember("items");
  return items != node.MemberEnd() && HasType(items->value, "object");
}

const JsonValue* FindProperties(const JsonValue& node) {
  if (!node.IsObject()) return nullptr;
  auto member = node.FindMember("properties");
  if (member == node.MemberEnd() || !member->value.IsObject()) return nullptr;
  return &member->value;
}

std::string FindInstanceIdProperty(const JsonValue& items) {
  const JsonValue* properties = FindProperties(items);
  if (properties == nullptr) return std::string();
  for (const auto& property : properties->GetObject())
    if (IsFlagTrue(property.value, "instanceId"))
      return std::string(property.name.GetString(), property.name.GetStringLength());
  return std::string();
}

bool FindInstanceIdProperty(const CorvConfigStore::JsonDoc* idMap, const std::string& key,
                            std::string* property) {
  if (idMap == nullptr) return false;
  const JsonValue* map = idMap->GetJsonValuePtr();
  if (!map->IsObject()) return false;
  auto found = map->FindMember(key.c_str());
  if (found == map->MemberEnd()) return false;
  property->assign(found->value.GetString(), found->value.GetStringLength());
  return true;
}

}  // namespace CorvSchemaStore
