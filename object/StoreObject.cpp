// StoreObject: the handle forwards every operation to its implementation.
#include <corvconfigstore/StoreObject.h>

#include <memory>

#include "object/StoreObjectImpl.h"

namespace CorvConfigStore {

StoreObject::StoreObject(const ConfigStoreObjectId& id)
    : impl_(std::make_shared<StoreObjectImpl>(id)) {}

StoreObject::StoreObject(const std::shared_ptr<StoreObjectImpl>& impl) : impl_(impl) {
  RequireValue(impl_.get());
}

ConfigStoreObjectId StoreObject::GetConfigStoreObjectId() const {
  return impl_->GetConfigStoreObjectId();
}

int StoreObject::GetValue(const char* key, std::string* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, double* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, int* value) const { return impl_->GetValue(key, value); }

int StoreObject::GetValue(const char* key, long* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, long long* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, unsigned int* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, unsigned short* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, unsigned char* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, bool* value) const {
  return impl_->GetValue(key, value);
}

int StoreObject::GetValue(const char* key, std::vector<int>* values) const {
  return impl_->GetValue(key, values);
}

int StoreObject::GetValue(const char* key, std::vector<long long>* values) const {
  return impl_->GetValue(key, values);
}

int StoreObject::GetValue(const char* key, std::vector<double>* values) const {
  return impl_->GetValue(key, values);
}

int StoreObject::GetValue(const char* key, std::vector<bool>* values) const {
  return impl_->GetValue(key, values);
}

int StoreObject::GetValue(const char* key, std::vector<std::string>* values) const {
  return impl_->GetValue(key, values);
}

int StoreObject::GetValueBinary(const char* key, unsigned char** data,
                                unsigned long* length) const {
  return impl_->GetValueBinary(key, data, length);
}

void StoreObject::SetValue(const char* key, const char* value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, const std::string& value) {
  impl_->SetValue(key, value);
}

void StoreObject::SetValue(const char* key, int value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, long value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, long long value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, unsigned int value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, unsigned short value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, unsigned char value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, double value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, float value) { impl_->SetValue(key, value); }

void StoreObject::SetValue(const char* key, bool value) { impl_->SetValue(key, value); }

void StoreObject::SetValueBinary(const char* key, const unsigned char* data, unsigned long length) {
  impl_->SetValueBinary(key, data, length);
}

void StoreObject::SetValueEmptyList(const char* key) { impl_->SetValueEmptyList(key); }

void StoreObject::AppendValue(const char* key, int value) { impl_->AppendValue(key, value); }

void StoreObject::AppendValue(const char* key, long long value) { impl_->AppendValue(key, value); }

void StoreObject::AppendValue(const char* key, double value) { impl_->AppendValue(key, value); }

void StoreObject::AppendValue(const char* key, bool value) { impl_->AppendValue(key, value); }

void StoreObject::AppendValue(const char* key, const std::string& value) {
  impl_->AppendValue(key, value);
}

void StoreObject::AppendValue(const char* key, const char* value) {
  impl_->AppendValue(key, value);
}

void StoreObject::Remove(const char* key) { impl_->Remove(key); }

bool StoreObject::IsEmpty() const { return impl_->IsEmpty(); }

bool StoreObject::CheckKey(const char* key) const { return impl_->CheckKey(key); }

std::string StoreObject::GetData() const { return impl_->GetData(); }

void StoreObject::SetData(const char* text) { impl_->SetData(text); }

}  // namespace CorvConfigStore
