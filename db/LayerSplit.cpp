// The division of an object's value into its user, vital and cached layers
// by the per-field "vital" and "cached" tags of its schema.
#include <cstring>

#include "core/Throw.h"
#include "db/Statements.h"
#include "db/WriteRows.h"
#include "object/ConfigStoreObjectImpl.h"
#include "schema/SchemaStore.h"
#include "object/ObjectAccess.h"

namespace CorvConfigStore {
namespace {

enum class Prune { kKeep, kDrop };

// The schema of member name under node's "properties".
const JsonValue& MemberSchema(const JsonValue& node, const JsonValue& name) {
  auto properties = node.FindMember("properties");
  if (properties != node.MemberEnd() && properties->value.IsObject()) {
    auto found = properties->value.FindMember(name);
    if (found != properties->value.MemberEnd()) return found->value;
  }
  ThrowGeneral("Invalid field in schema: " + std::string(name.GetString(), name.GetStringLength()));
}

// True when node has member flag holding true (a flag that is not a boolean
// raises code 1082).
bool FlagSet(const JsonValue& node, const char* flag) {
  auto found = node.FindMember(flag);
  return found != node.MemberEnd() && found->value.GetBool();
}

bool IsUserTag(const char* tag) { return std::strcmp(tag, "user") == 0; }

// Keeps of value what belongs to the tag's layer, erasing members and
// elements that do not, and answers whether anything of it belongs there.
Prune PruneValue(JsonValue& value, const JsonValue& node, const char* tag) {
  const bool user = IsUserTag(tag);
  if (node.HasMember("instanceId") && FlagSet(node, "instanceId")) return Prune::kKeep;
  if (!user && node.HasMember(tag)) return Prune::kKeep;
  if (user && (node.HasMember("vital") || node.HasMember("cached"))) return Prune::kDrop;

  if (value.IsObject() && !value.ObjectEmpty()) {
    for (auto member = value.MemberBegin(); member != value.MemberEnd();) {
      if (PruneValue(member->value, MemberSchema(node, member->name), tag) == Prune::kDrop)
        member = value.EraseMember(member);
      else
        ++member;
    }
    if (value.ObjectEmpty()) return Prune::kDrop;
    if (user || value.MemberCount() > 1) return Prune::kKeep;
    // A lone member stays unless it is only the instance id.
    const auto& only = *value.MemberBegin();
    if (only.value.IsObject() || only.value.IsArray()) return Prune::kKeep;
    const JsonValue& onlySchema = MemberSchema(node, only.name);
    if (FlagSet(onlySchema, tag)) return Prune::kKeep;
    if (FlagSet(onlySchema, "instanceId")) return Prune::kDrop;
    return Prune::kKeep;
  }

  if (value.IsArray() && !value.Empty()) {
    auto type = node.FindMember("type");
    if (type == node.MemberEnd() || !type->value.IsString() ||
        std::strcmp(type->value.GetString(), "array") != 0)
      ThrowGeneral("Schema error:Expected array type");
    auto items = node.FindMember("items");
    bool objectItems = items != node.MemberEnd() && items->value.IsObject() &&
                       items->value.HasMember("type") && items->value["type"].IsString() &&
                       std::strcmp(items->value["type"].GetString(), "object") == 0;
    // A list of plain values is one untagged value of the user layer.
    if (!objectItems) return user ? Prune::kKeep : Prune::kDrop;
    for (auto element = value.Begin(); element != value.End();) {
      if (PruneValue(*element, items->value, tag) == Prune::kDrop)
        element = value.Erase(element);
      else
        ++element;
    }
    return value.Empty() ? Prune::kDrop : Prune::kKeep;
  }

  return user ? Prune::kKeep : Prune::kDrop;
}

// The object's layer for tag, or empty when it has none.
ObjectPtr SplitLayer(const ObjectPtr& object, const SchemaPtr& schema, const char* tag) {
  std::shared_ptr<JsonDoc> data = CreateDocument();
  JsonDocument& document = *data->GetDocument();
  document.CopyFrom(*ImplOf(object).GetJsonValuePtr(), document.GetAllocator());
  if (PruneValue(document, schema->GetValueSchema(), tag) == Prune::kDrop) return nullptr;
  if (IsUserTag(tag) && document.ObjectEmpty()) return nullptr;
  const ConfigStoreObjectId& id = object->GetConfigStoreObjectId();
  return std::make_shared<ConfigStoreObject>(std::make_shared<ConfigStoreObjectImpl>(
      id, id, std::nullopt, data, schema, "", "", "", kDefaultRevision, true, nullptr, nullptr));
}

}  // namespace

LayerParts SplitLayers(const ObjectPtr& object, const SchemaPtr& schema) {
  if (!schema)
    ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND,
                                         object->GetConfigStoreObjectId().toString().c_str());
  LayerParts parts;
  parts.user = SplitLayer(object, schema, "user");
  parts.vital = SplitLayer(object, schema, "vital");
  parts.cached = SplitLayer(object, schema, "cached");
  return parts;
}

DBStore::SqlParams LayerPartParams(const ObjectPtr& object, const SchemaPtr& schema) {
  LayerParts parts = SplitLayers(object, schema);
  DBStore::SqlParams params;
  for (const ObjectPtr& part : {parts.user, parts.vital, parts.cached})
    params.push_back(part ? DBStore::SqlParam::Text(ImplOf(part).GetSerializedData())
                          : DBStore::SqlParam::Null());
  return params;
}

}  // namespace CorvConfigStore
