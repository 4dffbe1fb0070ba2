// Typed reads of scalar and array members. Number types follow the JSON
// layer's classes: a number written without fraction or exponent is never a
// double, and the narrow unsigned reads keep the low bits of any unsigned
// 32-bit number.
#include <corvconfigstore/Exceptions.h>

#include "core/Throw.h"
#include "object/StoreObjectImpl.h"

namespace CorvConfigStore {

template <typename Convert>
int StoreObjectImpl::ReadScalar(const char* key, Convert convert) const {
  bool fromDefault = false;
  const JsonValue* value = GetValuePtrDefault(key, fromDefault);
  if (value == nullptr) return 0;
  if (!convert(*value)) ThrowInvalidType(key);
  return fromDefault ? 2 : 1;
}

int StoreObjectImpl::GetValue(const char* key, std::string* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsString()) return false;
    value->assign(v.GetString(), v.GetStringLength());
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, double* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsDouble()) return false;
    *value = v.GetDouble();
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, int* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsInt()) return false;
    *value = v.GetInt();
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, long* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsInt64()) return false;
    *value = static_cast<long>(v.GetInt64());
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, long long* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsInt64()) return false;
    *value = static_cast<long long>(v.GetInt64());
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, unsigned int* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsUint()) return false;
    *value = v.GetUint();
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, unsigned short* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsUint()) return false;
    *value = static_cast<unsigned short>(v.GetUint());
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, unsigned char* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsUint()) return false;
    *value = static_cast<unsigned char>(v.GetUint());
    return true;
  });
}

int StoreObjectImpl::GetValue(const char* key, bool* value) const {
  RequireValue(value);
  return ReadScalar(key, [value](const JsonValue& v) {
    if (!v.IsBool()) return false;
    *value = v.GetBool();
    return true;
  });
}

// Elements are taken with the JSON layer's getters, whose own checks raise
// code 1082 at the first element of another kind; the elements read before
// it stay in the output.
template <typename T, typename Element>
int StoreObjectImpl::ReadVector(const char* key, std::vector<T>* values, Element element) const {
  RequireValue(values);
  if (!values->empty()) {
    throw InvalidArgumentException(CS_ERR_GENERAL, "Output vector must be empty.");
  }
  bool fromDefault = false;
  const JsonValue* value = GetValuePtrDefault(key, fromDefault);
  if (value == nullptr) return 0;
  if (!value->IsArray()) ThrowInvalidType(key);
  for (const JsonValue& item : value->GetArray()) values->push_back(element(item));
  return fromDefault ? 2 : 1;
}

int StoreObjectImpl::GetValue(const char* key, std::vector<int>* values) const {
  return ReadVector(key, values, [](const JsonValue& v) { return v.GetInt(); });
}

int StoreObjectImpl::GetValue(const char* key, std::vector<long long>* values) const {
  return ReadVector(key, values,
                    [](const JsonValue& v) { return static_cast<long long>(v.GetInt64()); });
}

int StoreObjectImpl::GetValue(const char* key, std::vector<double>* values) const {
  return ReadVector(key, values, [](const JsonValue& v) { return v.GetDouble(); });
}

int StoreObjectImpl::GetValue(const char* key, std::vector<bool>* values) const {
  return ReadVector(key, values, [](const JsonValue& v) { return v.GetBool(); });
}

int StoreObjectImpl::GetValue(const char* key, std::vector<std::string>* values) const {
  return ReadVector(key, values, [](const JsonValue& v) {
    return std::string(v.GetString(), v.GetStringLength());
  });
}

}  // namespace CorvConfigStore
