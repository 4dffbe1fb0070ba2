// Writes of scalar members, empty lists and appends to lists.
#include <corvconfigstore/Exceptions.h>

#include <cmath>
#include <cstdint>
#include <cstring>

#include "core/Throw.h"
#include "object/StoreObjectImpl.h"
#include "core/ConfigStoreDocument.h"

namespace CorvConfigStore {

namespace {

// Text that is not UTF-8 would make the object's JSON text invalid, so it
// is refused as text that is not JSON is: new member names and string
// values.
void RequireUtf8(const char* text, size_t length) {
  if (!IsUtf8(text, length))
    throw ConfigStoreException(CS_ERR_JSON_PARSE, "Invalid JSON text: Invalid encoding in string.");
}

// JSON has no text for infinities and NaN; the parser refuses them with the
// same words.
void RequireFinite(double value) {
  if (std::isnan(value))
    throw ConfigStoreException(CS_ERR_JSON_PARSE, "Invalid JSON text: Invalid value.");
  if (std::isinf(value))
    throw ConfigStoreException(CS_ERR_JSON_PARSE,
                               "Invalid JSON text: Number too big to be stored in double.");
}

}  // namespace

// A member holding null is not found by GetValuePtr, so a second member of
// the same name is appended behind it and reads keep meeting the null one;
// callers that want to replace a null member remove it first.
template <typename Assign>
void StoreObjectImpl::WriteValue(const char* key, Assign assign) {
  JsonValue* existing = GetValuePtr(key);
  if (existing != nullptr) {
    assign(*existing);
    return;
  }
  RequireUtf8(key, std::strlen(key));
  JsonValue value;
  assign(value);
  JsonAllocator& allocator = doc_->GetAllocator();
  GetJsonValuePtr()->AddMember(JsonValue(key, allocator), value, allocator);
}

void StoreObjectImpl::SetValue(const char* key, const char* value) {
  RequireValue(value);
  RequireUtf8(value, std::strlen(value));
  JsonAllocator& allocator = doc_->GetAllocator();
  WriteValue(key, [value, &allocator](JsonValue& v) { v.SetString(value, allocator); });
}

void StoreObjectImpl::SetValue(const char* key, const std::string& value) {
  SetValue(key, value.c_str());
}

void StoreObjectImpl::SetValue(const char* key, int value) {
  WriteValue(key, [value](JsonValue& v) { v.SetInt(value); });
}

void StoreObjectImpl::SetValue(const char* key, long value) {
  WriteValue(key, [value](JsonValue& v) { v.SetInt64(static_cast<int64_t>(value)); });
}

void StoreObjectImpl::SetValue(const char* key, long long value) {
  WriteValue(key, [value](JsonValue& v) { v.SetInt64(static_cast<int64_t>(value)); });
}

void StoreObjectImpl::SetValue(const char* key, unsigned int value) {
  WriteValue(key, [value](JsonValue& v) { v.SetUint(value); });
}

void StoreObjectImpl::SetValue(const char* key, unsigned short value) {
  SetValue(key, static_cast<unsigned int>(value));
}

void StoreObjectImpl::SetValue(const char* key, unsigned char value) {
  SetValue(key, static_cast<unsigned int>(value));
}

void StoreObjectImpl::SetValue(const char* key, double value) {
  RequireFinite(value);
  WriteValue(key, [value](JsonValue& v) { v.SetDouble(value); });
}

void StoreObjectImpl::SetValue(const char* key, float value) {
  SetValue(key, static_cast<double>(value));
}

void StoreObjectImpl::SetValue(const char* key, bool value) {
  WriteValue(key, [value](JsonValue& v) { v.SetBool(value); });
}

void StoreObjectImpl::SetValueEmptyList(const char* key) {
  RequireKey(key);
  RequireUtf8(key, std::strlen(key));
  Remove(key);
  JsonAllocator& allocator = doc_->GetAllocator();
  GetJsonValuePtr()->AddMember(JsonValue(key, allocator), JsonValue(rapidjson::kArrayType),
                               allocator);
}

JsonValue& StoreObjectImpl::ValidateAppend(const char* key, bool (*accepts)(const JsonValue&)) {
  RequireKey(key);
  JsonValue* value = GetJsonValuePtr();
  if (!ConfigStoreDocument::ValueExists(*value, key)) {
    std::string message = std::string("Key not found: ") + key;
    throw InvalidArgumentException(CS_ERR_GENERAL, message.c_str());
  }
  JsonValue& list = (*value)[key];
  if (!list.IsArray()) ThrowInvalidType(key);
  if (!list.Empty() && !accepts(list[0])) ThrowInvalidType(key);
  return list;
}

void StoreObjectImpl::AppendValue(const char* key, int value) {
  ValidateAppend(key, [](const JsonValue& first) {
    return first.IsInt();
  }).PushBack(JsonValue(value), doc_->GetAllocator());
}

void StoreObjectImpl::AppendValue(const char* key, long long value) {
  ValidateAppend(key, [](const JsonValue& first) {
    return first.IsInt64();
  }).PushBack(JsonValue(static_cast<int64_t>(value)), doc_->GetAllocator());
}

void StoreObjectImpl::AppendValue(const char* key, double value) {
  RequireFinite(value);
  ValidateAppend(key, [](const JsonValue& first) {
    return first.IsDouble();
  }).PushBack(JsonValue(value), doc_->GetAllocator());
}

void StoreObjectImpl::AppendValue(const char* key, bool value) {
  ValidateAppend(key, [](const JsonValue& first) {
    return first.IsBool();
  }).PushBack(JsonValue(value), doc_->GetAllocator());
}

void StoreObjectImpl::AppendValue(const char* key, const std::string& value) {
  RequireUtf8(value.data(), value.size());
  JsonAllocator& allocator = doc_->GetAllocator();
  JsonValue text(value.data(), static_cast<rapidjson::SizeType>(value.size()), allocator);
  ValidateAppend(key, [](const JsonValue& first) {
    return first.IsString();
  }).PushBack(text, allocator);
}

void StoreObjectImpl::AppendValue(const char* key, const char* value) {
  RequireValue(value);
  AppendValue(key, std::string(value));
}

}  // namespace CorvConfigStore
