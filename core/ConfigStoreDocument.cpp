// ValueExists, SerializeValue and IsEqualValue.
#include "core/ConfigStoreDocument.h"

#include <string_view>
#include <unordered_map>

#include "core/JsonCompare.h"
#include "core/JsonSchemaNode.h"

namespace ConfigStoreDocument {

using CorvConfigStore::JsonAllocator;
using CorvConfigStore::JsonValue;
using CorvConfigStore::SchemaKeyword;

namespace {

bool Equal(const JsonValue& a, const JsonValue& b, const JsonValue* schema);

// The schema of an object member: its "properties" entry, else an
// "additionalProperties" schema.
const JsonValue* MemberSchema(const JsonValue& schema, const JsonValue& name) {
  const JsonValue* properties = SchemaKeyword(schema, "properties");
  if (properties != nullptr && properties->IsObject()) {
    auto property = properties->FindMember(name);
    if (property != properties->MemberEnd()) return &property->value;
  }
  const JsonValue* additional = SchemaKeyword(schema, "additionalProperties");
  return additional != nullptr && additional->IsObject() ? additional : nullptr;
}

bool ObjectsEqual(const JsonValue& a, const JsonValue& b, const JsonValue& schema) {
  if (a.MemberCount() != b.MemberCount()) return false;
  for (const auto& member : a.GetObject()) {
    auto found = b.FindMember(member.name);
    if (found == b.MemberEnd() ||
        !Equal(member.value, found->value, MemberSchema(schema, member.name)))
      return false;
  }
  return true;
}

// Each element of the array by its instance id, or false when an element is
// no object with a text id or an id repeats.
bool IndexById(const JsonValue& array, const char* idProperty,
               std::unordered_map<std::string_view, const JsonValue*>& index) {
  for (const auto& element : array.GetArray()) {
    if (!element.IsObject()) return false;
    auto id = element.FindMember(idProperty);
    if (id == element.MemberEnd() || !id->value.IsString()) return false;
    std::string_view key(id->value.GetString(), id->value.GetStringLength());
    if (!index.emplace(key, &element).second) return false;
  }
  return true;
}

bool ArraysEqual(const JsonValue& a, const JsonValue& b, const JsonValue& schema) {
  if (a.Size() != b.Size()) return false;
  const JsonValue* items = SchemaKeyword(schema, "items");
  if (const char* idProperty = CorvConfigStore::InstanceIdPropertyOf(schema)) {
    std::unordered_map<std::string_view, const JsonValue*> indexA, indexB;
    if (IndexById(a, idProperty, indexA) && IndexById(b, idProperty, indexB)) {
      for (const auto& entry : indexA) {
        auto found = indexB.find(entry.first);
        if (found == indexB.end() || !Equal(*entry.second, *found->second, items)) return false;
      }
      return true;
    }
  }
  for (rapidjson::SizeType i = 0; i < a.Size(); ++i)
    if (!Equal(a[i], b[i], items)) return false;
  return true;
}

bool Equal(const JsonValue& a, const JsonValue& b, const JsonValue* schema) {
  if (schema == nullptr || !schema->IsObject()) return CorvConfigStore::JsonEqual(a, b);
  if (a.IsObject() && b.IsObject()) return ObjectsEqual(a, b, *schema);
  if (a.IsArray() && b.IsArray()) return ArraysEqual(a, b, *schema);
  return CorvConfigStore::JsonEqual(a, b);
}


}  // namespace

bool ValueExists(const CorvConfigStore::JsonValue& value, const char* name) {
  return value.IsObject() && value.HasMember(name);
}

std::string SerializeValue(const CorvConfigStore::JsonValue& value) {
  return CorvConfigStore::JsonToString(value);
}

bool IsEqualValue(const JsonValue& a, const JsonValue& b, const JsonValue* schema) {
  if (schema != nullptr && a.IsObject() && b.IsObject())
    schema = &CorvConfigStore::InstanceSchema(*schema, a);
  return Equal(a, b, schema);
}


}  // namespace ConfigStoreDocument
