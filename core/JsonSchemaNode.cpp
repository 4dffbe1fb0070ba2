// Schema node lookups.
#include "core/JsonSchemaNode.h"

#include "core/GeneratedId.h"

namespace CorvConfigStore {

const JsonValue* SchemaKeyword(const JsonValue& schema, const char* name) {
  if (!schema.IsObject()) return nullptr;
  auto member = schema.FindMember(name);
  return member == schema.MemberEnd() ? nullptr : &member->value;
}

bool SchemaFlag(const JsonValue& schema, const char* name) {
  const JsonValue* flag = SchemaKeyword(schema, name);
  return flag != nullptr && flag->IsBool() && flag->GetBool();
}

bool SchemaHasType(const JsonValue& schema, const char* type) {
  const JsonValue* declared = SchemaKeyword(schema, "type");
  return declared != nullptr && declared->IsString() && *declared == type;
}

const JsonValue& InstanceSchema(const JsonValue& schema, const JsonValue& value) {
  if (!value.IsObject() || !SchemaHasType(schema, "array")) return schema;
  const JsonValue* items = SchemaKeyword(schema, "items");
  if (items == nullptr || !(items->IsObject() || items->IsBool())) return schema;
  return *items;
}

const char* InstanceIdPropertyOf(const JsonValue& schema) {
  if (!SchemaHasType(schema, "array")) return nullptr;
  const JsonValue* items = SchemaKeyword(schema, "items");
  if (items == nullptr) return nullptr;
  const JsonValue* properties = SchemaKeyword(*items, "properties");
  if (properties != nullptr && properties->IsObject())
    for (const auto& property : properties->GetObject())
      if (SchemaFlag(property.value, "instanceId")) return property.name.GetString();
  return SchemaHasType(*items, "object") ? kGeneratedIdProperty : nullptr;
}

}  // namespace CorvConfigStore
