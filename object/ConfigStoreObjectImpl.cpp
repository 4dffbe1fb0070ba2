// Construction of configuration objects, the default fall-back, instance ids
// and the texts of an object.
#include "object/ConfigStoreObjectImpl.h"

#include <corvconfigstore/Exceptions.h>

#include <algorithm>
#include <cstring>

#include "core/Throw.h"
#include "object/SchemaDerived.h"
#include "core/ConfigStoreDocument.h"
#include "schema/SchemaNodes.h"
#include "schema/SchemaStore.h"

namespace CorvConfigStore {

ConfigStoreObjectImpl::ConfigStoreObjectImpl(const ConfigStoreObjectId& id)
    : ConfigStoreObjectImpl(id, id, std::nullopt, nullptr, nullptr, "", "", "", -1, true, nullptr,
                            nullptr) {}

ConfigStoreObjectImpl::ConfigStoreObjectImpl(
    const ConfigStoreObjectId& id, const ConfigStoreObjectId& rootId,
    std::optional<unsigned long> index, const std::shared_ptr<JsonDoc>& data,
    const std::shared_ptr<CorvSchemaStore::SchemaObject>& schema, std::string_view version,
    std::string_view creationTime, std::string_view modifiedTime, int revision,
    bool deriveFromSchema, const std::shared_ptr<JsonDoc>& idMap,
    const std::shared_ptr<JsonDoc>& defaults)
    : StoreObjectImpl(id, data),
      rootId_(rootId == id ? nullptr : std::make_unique<const ConfigStoreObjectId>(rootId)),
      revision_(revision),
      deriveFromSchema_(deriveFromSchema),
      index_(index) {
  // Held to the end: version may come to point into the schema's text.
  // Only an object that derives from its schema needs one.
  std::shared_ptr<CorvSchemaStore::SchemaObject> keySchema;
  if (deriveFromSchema_) {
    keySchema = schema;
    if (!keySchema) {
      std::shared_ptr<CorvSchemaStore::SchemaStore> store =
          CorvSchemaStore::SchemaStore::GetStore();
      if (store) keySchema = store->GetSchema(id.component, id.group, id.key);
    }
    if (!keySchema) {
      ThrowException<ConfigStoreException>(CS_ERR_SCHEMA_NOT_FOUND, id.toString().c_str());
    }
    idMap_ = GetInstanceIdMapFromSchema(keySchema, id.key);
    defaults_ = GetDefaultsFromSchema(keySchema);
    if (version.empty()) version = keySchema->GetVersion();
  } else {
    idMap_ = idMap;
    // Only an object can hold the defaults of a sub-object's members.
    if (defaults) {
      const JsonValue* parentDefaults = defaults->GetJsonValuePtr();
      if (ConfigStoreDocument::ValueExists(*parentDefaults, id.key.c_str()) &&
          (*parentDefaults)[id.key.c_str()].IsObject()) {
        JsonNode step;
        step.name = id.key;
        defaults_ = defaults->Extend(std::move(step));
      }
    }
  }
  const size_t total = version.size() + creationTime.size() + modifiedTime.size();
  char* stamps = inlineStamps_;
  if (total > kInlineStamps) {
    heapStamps_ = std::make_unique<char[]>(total);
    stamps = heapStamps_.get();
  }
  char* end = std::copy(version.begin(), version.end(), stamps);
  creationAt_ = static_cast<uint32_t>(end - stamps);
  end = std::copy(creationTime.begin(), creationTime.end(), end);
  modifiedAt_ = static_cast<uint32_t>(end - stamps);
  end = std::copy(modifiedTime.begin(), modifiedTime.end(), end);
  stampsEnd_ = static_cast<uint32_t>(end - stamps);
  // A value still to be parsed was read from the store, whose reader made
  // sure it holds its instance id.
  if (!doc_->IsDeferred()) SetInstanceIdFromCsoId();
}

ConfigStoreObjectImpl::~ConfigStoreObjectImpl() = default;

const JsonValue* ConfigStoreObjectImpl::GetValuePtrDefault(const char* key,
                                                           bool& fromDefault) const {
  fromDefault = false;
  const JsonValue* own = GetValuePtr(key);
  if (own != nullptr || !defaults_) return own;
  const JsonValue* defaults = defaults_->GetJsonValuePtr();
  if (!ConfigStoreDocument::ValueExists(*defaults, key)) return nullptr;
  const JsonValue& value = (*defaults)[key];
  if (value.IsNull()) return nullptr;
  fromDefault = true;
  return &value;
}

bool ConfigStoreObjectImpl::FindIdProperty(const std::string& key, std::string* idProp) const {
  return CorvSchemaStore::FindInstanceIdProperty(idMap_.get(), key, idProp);
}

void ConfigStoreObjectImpl::SetInstanceIdFromCsoId() {
  std::string idProp;
  if (!FindIdProperty(id_.key, &idProp)) return;
  // An object read from the store holds its id already: writing the same
  // text again would only take more of the document's pool.
  const JsonValue* held = GetValuePtr(idProp.c_str());
  const char* instanceId = id_.instanceId.c_str();
  const size_t length = std::strlen(instanceId);
  if (held != nullptr && held->IsString() && held->GetStringLength() == length &&
      std::memcmp(held->GetString(), instanceId, length) == 0)
    return;
  SetValue(idProp.c_str(), instanceId);
}

std::string ConfigStoreObjectImpl::GetData() const {
  rapidjson::StringBuffer text;
  JsonWriter writer(text);
  // A value not parsed yet is copied from its text, and stays unparsed: a
  // caller that prints a large result does not build it. Its text was
  // checked when read; were the copy refused, the value is parsed.
  bool copied = false;
  doc_->WithDeferredText([&](std::string_view stored) {
    JsonOutline unused;
    copied = CopyJsonWithoutGeneratedIds(stored.data(), stored.size(), unused, writer, nullptr);
  });
  if (!copied) {
    text.Clear();
    JsonWriter parsed(text);
    WriteWithoutGeneratedIds(*GetJsonValuePtr(), parsed);
  }
  return std::string(text.GetString(), text.GetSize());
}

std::string ConfigStoreObjectImpl::GetSerializedData() const { return StoreObjectImpl::GetData(); }

std::string ConfigStoreObjectImpl::GetIdMapStr() const {
  if (!idMap_) return "{}";
  return ConfigStoreDocument::SerializeValue(*idMap_->GetJsonValuePtr());
}

namespace {

// Removes found, the first member of object named name (or the end), and
// every later member of that name.
void RemoveMembersNamed(JsonValue& object, JsonValue::MemberIterator found,
                        const JsonValue& name) {
  while (found != object.MemberEnd()) {
    object.RemoveMember(found);
    found = object.FindMember(name);
  }
}

}  // namespace

void ConfigStoreObjectImpl::SetValueEx(const char* key, const void* value) {
  RequireKey(key);
  RequireValue(value);
  const JsonValue& given = *static_cast<const JsonValue*>(value);
  JsonValue* object = GetJsonValuePtr();
  // One look-up of the name serves the comparison and the first removal.
  const JsonValue name(rapidjson::StringRef(key));
  const bool isObject = object->IsObject();
  auto found = isObject ? object->FindMember(name) : JsonValue::MemberIterator();
  if (isObject && found != object->MemberEnd() && found->value == given) return;
  // Copied before any removal: the given value may live in this document.
  JsonAllocator& allocator = doc_->GetAllocator();
  JsonValue copy(given, allocator);
  if (isObject) RemoveMembersNamed(*object, found, name);
  object->AddMember(JsonValue(key, allocator), copy, allocator);
}

void ConfigStoreObjectImpl::MoveMembersIn(JsonValue& layer) {
  JsonValue& object = *GetJsonValuePtr();
  JsonAllocator& allocator = doc_->GetAllocator();
  for (auto& member : layer.GetObject()) {
    // SetValueEx reads a name up to its first NUL byte; such a name is set
    // through it, so that both merge the same.
    const JsonValue& name = member.name;
    if (std::strlen(name.GetString()) != name.GetStringLength()) {
      SetValueEx(name.GetString(), &member.value);
      continue;
    }
    auto found = object.FindMember(name);
    if (found != object.MemberEnd() && found->value == member.value) continue;
    RemoveMembersNamed(object, found, name);
    object.AddMember(member.name, member.value, allocator);
  }
}

}  // namespace CorvConfigStore
