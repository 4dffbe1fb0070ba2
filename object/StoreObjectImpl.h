// StoreObjectImpl: typed access to the top-level members of the JSON value a
// JsonDoc stands for. The base of configuration objects and filters.
#pragma once

#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <string>
#include <vector>

#include "core/Json.h"
#include "core/JsonDoc.h"

namespace CorvConfigStore {

class StoreObjectImpl {
 public:
  // A new document whose root is an empty object.
  explicit StoreObjectImpl(const ConfigStoreObjectId& id);
  // The same, then a deep copy of value (a JsonValue; null copies nothing)
  // becomes the root. The caller's value is left as it is.
  StoreObjectImpl(const ConfigStoreObjectId& id, void* value);
  StoreObjectImpl(const StoreObjectImpl&) = delete;
  StoreObjectImpl& operator=(const StoreObjectImpl&) = delete;

  // Every typed read looks its key up through here, so objects with
  // defaults can answer from them; fromDefault tells which answered.
  virtual const JsonValue* GetValuePtrDefault(const char* key, bool& fromDefault) const;
  virtual ~StoreObjectImpl();

  const ConfigStoreObjectId& GetConfigStoreObjectId() const { return id_; }
  const std::shared_ptr<JsonDoc>& GetDoc() const { return doc_; }
  // The value the object reads and writes, resolved anew on every call.
  JsonValue* GetJsonValuePtr() const { return doc_->GetJsonValuePtr(); }

  int GetValue(const char* key, std::string* value) const;
  int GetValue(const char* key, double* value) const;
  int GetValue(const char* key, int* value) const;
  int GetValue(const char* key, long* value) const;
  int GetValue(const char* key, long long* value) const;
  int GetValue(const char* key, unsigned int* value) const;
  int GetValue(const char* key, unsigned short* value) const;
  int GetValue(const char* key, unsigned char* value) const;
  int GetValue(const char* key, bool* value) const;
  int GetValue(const char* key, std::vector<int>* values) const;
  int GetValue(const char* key, std::vector<long long>* values) const;
  int GetValue(const char* key, std::vector<double>* values) const;
  int GetValue(const char* key, std::vector<bool>* values) const;
  int GetValue(const char* key, std::vector<std::string>* values) const;
  int GetValueBinary(const char* key, unsigned char** data, unsigned long* length) const;

  void SetValue(const char* key, const char* value);
  void SetValue(const char* key, const std::string& value);
  void SetValue(const char* key, int value);
  void SetValue(const char* key, long value);
  void SetValue(const char* key, long long value);
  void SetValue(const char* key, unsigned int value);
  void SetValue(const char* key, unsigned short value);
  void SetValue(const char* key, unsigned char value);
  void SetValue(const char* key, double value);
  void SetValue(const char* key, float value);
  void SetValue(const char* key, bool value);
  void SetValueBinary(const char* key, const unsigned char* data, unsigned long length);
  void SetValueEmptyList(const char* key);

  void AppendValue(const char* key, int value);
  void AppendValue(const char* key, long long value);
  void AppendValue(const char* key, double value);
  void AppendValue(const char* key, bool value);
  void AppendValue(const char* key, const std::string& value);
  void AppendValue(const char* key, const char* value);

  void Remove(const char* key);
  bool IsEmpty() const;
  bool CheckKey(const char* key) const;
  // The member's value; null when the member is absent or JSON null.
  // Throws InvalidArgumentException 2000 "key cannot be empty".
  JsonValue* GetValuePtr(const char* key) const;
  std::string GetData() const;
  void SetData(const char* text);

 protected:
  // Works on doc, shared; a null doc gets a new document with an empty
  // object.
  StoreObjectImpl(const ConfigStoreObjectId& id, const std::shared_ptr<JsonDoc>& doc);

  // InvalidArgumentException 2000 "key cannot be empty" for a null or empty
  // key.
  static void RequireKey(const char* key);

  ConfigStoreObjectId id_;
  std::shared_ptr<JsonDoc> doc_;

 private:
  // Looks the key up through GetValuePtrDefault; convert checks the type and
  // stores the value, returning false for a wrong type.
  template <typename Convert>
  int ReadScalar(const char* key, Convert convert) const;
  template <typename T, typename Element>
  int ReadVector(const char* key, std::vector<T>* values, Element element) const;
  // Overwrites the member in place when it holds a non-null value, else
  // appends a new member; assign gives the value its type and content.
  template <typename Assign>
  void WriteValue(const char* key, Assign assign);
  // The array under key, checked for an append of the type that accepts
  // tells.
  JsonValue& ValidateAppend(const char* key, bool (*accepts)(const JsonValue&));
};

// InvalidArgumentException 2000 "value cannot be null" when pointer is null.
void RequireValue(const void* pointer);

}  // namespace CorvConfigStore
