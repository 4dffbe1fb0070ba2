// Whether a write touches user configuration: some member of the value that
// the schema marks neither vital nor cached. Only such writes are subject to
// the boot-context rule.
#include <corvconfigstore/ConfigStoreObject.h>

#include "object/ConfigStoreObjectImpl.h"
#include "schema/SchemaStore.h"
#include "validation/Validation.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

bool HasFlag(const JsonValue& schema, const char* name) {
  return schema.IsObject() && schema.HasMember(name);
}

// The schema node of a member or of the elements of an array; null when
// the schema does not describe it.
const JsonValue* Child(const JsonValue* schema, const char* keyword, const JsonValue* name) {
  if (schema == nullptr || !schema->IsObject()) return nullptr;
  auto group = schema->FindMember(keyword);
  if (group == schema->MemberEnd()) return nullptr;
  if (name == nullptr) return &group->value;
  if (!group->value.IsObject()) return nullptr;
  auto member = group->value.FindMember(*name);
  return member == group->value.MemberEnd() ? nullptr : &member->value;
}

// A value the schema does not describe carries no vital or cached mark, so
// it is user data. The walk follows the schema, so its depth is bounded by
// the schema's.
bool TouchesUserData(const JsonValue* schema, const JsonValue& value) {
  if (schema == nullptr) return true;
  if (HasFlag(*schema, "vital") || HasFlag(*schema, "cached")) return false;
  if (value.IsObject()) {
    for (const auto& member : value.GetObject())
      if (TouchesUserData(Child(schema, "properties", &member.name), member.value)) return true;
    return false;
  }
  if (value.IsArray()) {
    const JsonValue* items = Child(schema, "items", nullptr);
    for (const JsonValue& element : value.GetArray())
      if (TouchesUserData(items, element)) return true;
    return false;
  }
  if (schema->IsObject()) {
    auto instanceId = schema->FindMember("instanceId");
    if (instanceId != schema->MemberEnd() && instanceId->value.IsBool() &&
        instanceId->value.GetBool())
      return false;
  }
  return true;
}

}  // namespace

bool isUserType(const std::shared_ptr<ConfigStoreObject>& object, const SchemaPtr& schema) {
  const JsonValue& value = *ImplOf(object).GetJsonValuePtr();
  return TouchesUserData(&schema->GetValueSchema(), value);
}

}  // namespace CorvConfigStore
