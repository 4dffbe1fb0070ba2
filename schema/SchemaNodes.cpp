// Small questions asked of one node of a key schema.
#include "schema/SchemaNodes.h"

#include <cstring>

namespace CorvSchemaStore {

using CorvConfigStore::JsonValue;

namespace {

// The first member of an object named by a literal, as FindMember finds
// it. These look-ups run for the members of every value written: the
// name's length is known, so no call counts its bytes and the comparison
// of a few fixed bytes is made in line rather than by a call.
template <size_t N>
JsonValue::ConstMemberIterator FindNamed(const JsonValue& object, const char (&name)[N]) {
  auto member = object.MemberBegin();
  for (; member != object.MemberEnd(); ++member)
    if (member->name.GetStringLength() == N - 1 &&
        std::memcmp(member->name.GetString(), name, N - 1) == 0)
      break;
  return member;
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
