// Construction of store objects, member look-up, removal and the whole-value
// operations (emptiness, text in and out).
#include "object/StoreObjectImpl.h"

#include <corvconfigstore/Exceptions.h>

#include "core/Throw.h"
#include "core/ConfigStoreDocument.h"

namespace CorvConfigStore {

namespace {

std::shared_ptr<JsonDoc> NewEmptyObject() {
  std::shared_ptr<JsonDoc> doc = CreateDocument();
  doc->GetJsonValuePtr()->SetObject();
  return doc;
}

}  // namespace

void RequireValue(const void* pointer) {
  if (pointer == nullptr) throw InvalidArgumentException(CS_ERR_GENERAL, "value cannot be null");
}

StoreObjectImpl::StoreObjectImpl(const ConfigStoreObjectId& id) : id_(id), doc_(NewEmptyObject()) {}

StoreObjectImpl::StoreObjectImpl(const ConfigStoreObjectId& id, void* value) : StoreObjectImpl(id) {
  if (value == nullptr) return;
  doc_->GetJsonValuePtr()->CopyFrom(*static_cast<const JsonValue*>(value), doc_->GetAllocator());
}

StoreObjectImpl::StoreObjectImpl(const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& doc)
    : id_(id), doc_(doc ? doc : NewEmptyObject()) {}

StoreObjectImpl::~StoreObjectImpl() = default;

void StoreObjectImpl::RequireKey(const char* key) {
  if (key == nullptr || *key == '\0') {
    throw InvalidArgumentException(CS_ERR_GENERAL, "key cannot be empty");
  }
}

JsonValue* StoreObjectImpl::GetValuePtr(const char* key) const {
  RequireKey(key);
  JsonValue* value = GetJsonValuePtr();
  if (!ConfigStoreDocument::ValueExists(*value, key)) return nullptr;
  JsonValue& member = (*value)[key];
  return member.IsNull() ? nullptr : &member;
}

const JsonValue* StoreObjectImpl::GetValuePtrDefault(const char* key, bool& fromDefault) const {
  fromDefault = false;
  return GetValuePtr(key);
}

void StoreObjectImpl::Remove(const char* key) {
  if (!CheckKey(key)) return;
  GetJsonValuePtr()->RemoveMember(key);
}

bool StoreObjectImpl::IsEmpty() const { return GetJsonValuePtr()->ObjectEmpty(); }

bool StoreObjectImpl::CheckKey(const char* key) const {
  return key != nullptr && ConfigStoreDocument::ValueExists(*GetJsonValuePtr(), key);
}

std::string StoreObjectImpl::GetData() const {
  return ConfigStoreDocument::SerializeValue(*GetJsonValuePtr());
}

void StoreObjectImpl::SetData(const char* text) {
  if (text == nullptr) return;
  doc_ = CreateDocumentFromString(text);
}

}  // namespace CorvConfigStore
