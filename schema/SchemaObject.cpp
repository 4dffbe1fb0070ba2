// A key schema and the answers derived from it: instances, instance-id
// property and map, defaults, kind and the root annotations, the schema
// compiled for the validator and its layer tags; and the normalisation
// every key schema goes through.
#include <memory>
#include <mutex>
#include <string>

#include "core/Throw.h"
#include "jsonschema/CompiledSchema.h"
#include "schema/LayerTags.h"
#include "schema/SchemaNodes.h"
#include "schema/SchemaStore.h"

namespace CorvSchemaStore {

using CorvConfigStore::JsonAllocator;
using CorvConfigStore::JsonDocument;
using CorvConfigStore::JsonValue;

const char* const kRebootRequiredTag = "@rebootRequiredConfigStore";

namespace {

void DeclareGeneratedIds(JsonValue& node, JsonAllocator& allocator) {
  if (!node.IsObject()) return;
  if (IsArrayOfObjects(node)) {
    JsonValue& items = node["items"];
    if (FindInstanceIdProperty(items).empty()) {
      auto properties = items.FindMember("properties");
      if (properties == items.MemberEnd()) {
        items.AddMember("properties", JsonValue(rapidjson::kObjectType), allocator);
        properties = items.FindMember("properties");
      }
      if (properties->value.IsObject()) {
        properties->value.RemoveMember(kGeneratedIdProperty);
        JsonValue declared(rapidjson::kObjectType);
        declared.AddMember("type", "string", allocator);
        declared.AddMember("instanceId", true, allocator);
        properties->value.AddMember(JsonValue(kGeneratedIdProperty, allocator), declared,
                                    allocator);
      }
    }
  }
  auto properties = node.FindMember("properties");
  if (properties != node.MemberEnd() && properties->value.IsObject())
    for (auto& property : properties->value.GetObject())
      DeclareGeneratedIds(property.value, allocator);
  auto items = node.FindMember("items");
  if (items != node.MemberEnd()) DeclareGeneratedIds(items->value, allocator);
}

// Member name -> instance-id property for every array of objects below
// node, in document order, parents before their members.
void CollectInstanceIdMap(const JsonValue& node, JsonValue& map, JsonAllocator& allocator) {
  if (!node.IsObject()) return;
  if (const JsonValue* properties = FindProperties(node)) {
    for (const auto& property : properties->GetObject()) {
      if (IsArrayOfObjects(property.value) && !map.HasMember(property.name)) {
        std::string id = FindInstanceIdProperty(property.value["items"]);
        if (!id.empty())
          map.AddMember(JsonValue(property.name, allocator), JsonValue(id.c_str(), allocator),
                        allocator);
      }
      CollectInstanceIdMap(property.value, map, allocator);
    }
  }
  auto items = node.FindMember("items");
  if (items != node.MemberEnd()) CollectInstanceIdMap(items->value, map, allocator);
}

// The defaults of the properties of an object schema. An explicit "default"
// wins, except on a list of instances, whose entry is the defaults of one
// instance (what a sub-object of the list reads) when its items have any.
JsonValue CollectDefaults(const JsonValue& node, JsonAllocator& allocator) {
  JsonValue defaults(rapidjson::kObjectType);
  const JsonValue* properties = FindProperties(node);
  if (properties == nullptr) return defaults;
  for (const auto& property : properties->GetObject()) {
    const JsonValue& schema = property.value;
    if (!schema.IsObject()) continue;
    JsonValue entry;
    if (IsArrayOfObjects(schema)) {
      entry = CollectDefaults(schema["items"], allocator);
      if (entry.MemberCount() == 0) entry.SetNull();
    }
    if (entry.IsNull() && schema.HasMember("default")) entry.CopyFrom(schema["default"], allocator);
    if (entry.IsNull() && HasType(schema, "object")) {
      entry = CollectDefaults(schema, allocator);
      if (entry.MemberCount() == 0) entry.SetNull();
    }
    if (!entry.IsNull()) defaults.AddMember(JsonValue(property.name, allocator), entry, allocator);
  }
  return defaults;
}

// A handle on document for the objects of the key, null for anything but an
// object with members.
std::shared_ptr<CorvConfigStore::JsonDoc> ShareIfNotEmpty(
    const std::shared_ptr<CorvConfigStore::JsonDocument>& document) {
  if (!document->IsObject() || document->ObjectEmpty()) return nullptr;
  return std::make_shared<CorvConfigStore::JsonDoc>(document);
}

std::string StringMember(const JsonValue& node, const char* name, const std::string& fallback) {
  auto member = node.FindMember(name);
  if (member == node.MemberEnd() || !member->value.IsString()) return fallback;
  return std::string(member->value.GetString(), member->value.GetStringLength());
}

}  // namespace

void NormaliseKeySchema(JsonValue& schema, JsonAllocator& allocator) {
  if (!schema.IsObject()) return;
  if (IsArrayOfObjects(schema)) {
    JsonValue& items = schema["items"];
    for (const char* flag : {"vital", "cached"})
      if (IsFlagTrue(schema, flag) && !items.HasMember(flag))
        items.AddMember(JsonValue(flag, allocator), JsonValue(true), allocator);
  }
  DeclareGeneratedIds(schema, allocator);
}

SchemaObject::SchemaObject(const std::string& component, const std::string& group,
                           const std::string& key, const JsonValue& document)
    : component_(component), group_(group), key_(key) {
  if (!document.IsObject())
    CorvConfigStore::ThrowGeneral("Schema of " + component + "." + group + "." + key +
                                  " is not a JSON object");
  document_.CopyFrom(document, document_.GetAllocator());
  NormaliseKeySchema(document_, document_.GetAllocator());

  hasInstances_ = IsArrayOfObjects(document_);
  valueSchema_ = hasInstances_ ? &document_["items"] : &document_;
  usesGeneratedIds_ = CorvSchemaStore::UsesGeneratedIds(document_);
  mayTagLayers_ = CorvSchemaStore::MayTagLayers(GetValueSchema());
  idMap_ = CorvConfigStore::NewJsonDocument();
  CorvConfigStore::JsonAllocator& idAllocator = idMap_->GetAllocator();
  idMap_->SetObject();
  if (hasInstances_) {
    instanceIdProperty_ = FindInstanceIdProperty(document_["items"]);
    idMap_->AddMember(JsonValue(key.c_str(), idAllocator),
                      JsonValue(instanceIdProperty_.c_str(), idAllocator), idAllocator);
  }
  CollectInstanceIdMap(document_, *idMap_, idAllocator);
  sharedIdMap_ = ShareIfNotEmpty(idMap_);
  hasKeyIdEntry_ = FindInstanceIdProperty(sharedIdMap_.get(), key_, &keyIdEntry_);

  defaults_ = CorvConfigStore::NewJsonDocument();
  JsonValue defaults = CollectDefaults(GetValueSchema(), defaults_->GetAllocator());
  static_cast<JsonValue&>(*defaults_).Swap(defaults);
  sharedDefaults_ = ShareIfNotEmpty(defaults_);

  auto systemInstances = document_.FindMember("systemInstances");
  if (systemInstances != document_.MemberEnd() && systemInstances->value.IsArray())
    for (const auto& id : systemInstances->value.GetArray())
      if (id.IsString()) systemInstances_.emplace_back(id.GetString(), id.GetStringLength());

  if (IsFlagTrue(document_, "vital"))
    kind_ = kKindVital;
  else if (IsFlagTrue(document_, "cached"))
    kind_ = kKindCached;
  else if (IsFlagTrue(document_, "internal"))
    kind_ = kKindInternal;
  else if (!systemInstances_.empty())
    kind_ = kKindSystemInstances;

  auto tags = document_.FindMember("tags");
  if (tags != document_.MemberEnd() && tags->value.IsArray())
    for (const auto& tag : tags->value.GetArray())
      if (tag.IsString() && tag == kRebootRequiredTag) rebootRequired_ = true;

  bootExempt_ = IsFlagTrue(document_, "bootExempt");
  auto upgrade = document_.FindMember("applyDuringUpgrade");
  if (upgrade != document_.MemberEnd() && upgrade->value.IsBool())
    applyDuringUpgrade_ = upgrade->value.GetBool();
  valueType_ = StringMember(document_, "valueType", "");
  version_ = StringMember(document_, "version", "1.0");
}

SchemaObject::~SchemaObject() = default;

const JsonValidator::CompiledSchema& SchemaObject::GetCompiledSchema() const {
  std::call_once(compileOnce_, [this] {
    compiled_ = std::make_unique<const JsonValidator::CompiledSchema>(document_);
  });
  return *compiled_;
}

const LayerTags& SchemaObject::GetLayerTags() const {
  std::call_once(layerTagsOnce_,
                 [this] { layerTags_ = std::make_unique<const LayerTags>(GetValueSchema()); });
  return *layerTags_;
}

std::shared_ptr<SchemaObject> MakeSchemaObject(const std::string& component,
                                               const std::string& group, const std::string& key,
                                               const std::string& text) {
  JsonDocument document;
  std::string error;
  if (!CorvConfigStore::ParseJson(text.data(), text.size(), document, &error))
    CorvConfigStore::ThrowGeneral("Schema of " + component + "." + group + "." + key +
                                  " is not valid JSON: " + error);
  return std::make_shared<SchemaObject>(component, group, key, document);
}

}  // namespace CorvSchemaStore
