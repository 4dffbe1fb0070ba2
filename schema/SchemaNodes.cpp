// Small questions asked of one node of a key schema.
#include "schema/SchemaNodes.h"

namespace CorvSchemaStore {

using CorvConfigStore::JsonValue;

namespace {

// Looks a member up by a literal name, whose length is known: a look-up by
// a C string counts its bytes on every call, and these run for the members
// of every value written.
template <size_t N>
JsonValue::ConstMemberIterator FindNamed(const JsonValue& node, const char (&name)[N]) {
  return node.FindMember(JsonValue(rapidjson::StringRef(name, N - 1)));
}

}  // namespace

bool IsFlagTrue(const JsonValue& node, const char* name) {
  if (!node.IsObject()) return false;
  auto member = node.FindMember(name);
  return member != node.MemberEnd() && member->value.IsBool() && member->value.GetBool();
}

std::string_view TypeOf(const JsonValue& node) {
  if (!node.IsObject()) return std::string_view();
  auto member = FindNamed(node, "type");
  if (member == node.MemberEnd() || !member->value.IsString()) return std::string_view();
  return std::string_view(member->value.GetString(), member->value.GetStringLength());
}

bool HasType(const JsonValue& node, const char* type) { return TypeOf(node) == type; }

const JsonValue* ObjectItems(const JsonValue& node) {
  if (!node.IsObject()) return nullptr;
  auto items = FindNamed(node, "items");
  if (items == node.MemberEnd() || TypeOf(items->value) != "object") return nullptr;
  return &items->value;
}

bool IsArrayOfObjects(const JsonValue& node) {
  return TypeOf(node) == "array" && ObjectItems(node) != nullptr;
}

const JsonValue* FindProperties(const JsonValue& node) {
  if (!node.IsObject()) return nullptr;
  auto member = FindNamed(node, "properties");
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
