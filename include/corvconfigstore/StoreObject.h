// StoreObject: typed reads and writes of the top-level members of one JSON
// object. Configuration objects and filters are StoreObjects.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/ObjectId.h>

#include <memory>
#include <string>
#include <vector>

namespace CorvConfigStore {

class StoreObjectImpl;

// A key names one top-level member, compared byte for byte; there is no path
// syntax. A member holding JSON null counts as absent for every read.
//
// Every read returns 0 when the key is absent or null (the output is left
// untouched), 1 when the object's own value holds it and 2 when only the
// object's defaults hold it. A stored value of another type raises
// InvalidTypeException 2000 "Invalid type specified for: <key>".
//
// The handle is cheap to copy: copies share the same object.
class CORV_EXPORT StoreObject {
 public:
  // A new object holding an empty JSON object.
  explicit StoreObject(const ConfigStoreObjectId& id);

  ConfigStoreObjectId GetConfigStoreObjectId() const;

  int GetValue(const char* key, std::string* value) const;
  // Only a number written with a fraction or exponent is a double.
  int GetValue(const char* key, double* value) const;
  int GetValue(const char* key, int* value) const;
  int GetValue(const char* key, long* value) const;
  int GetValue(const char* key, long long* value) const;
  int GetValue(const char* key, unsigned int* value) const;
  // The next two read any unsigned 32-bit number and keep its low bits.
  int GetValue(const char* key, unsigned short* value) const;
  int GetValue(const char* key, unsigned char* value) const;
  int GetValue(const char* key, bool* value) const;

  // The vector must be empty. A double vector accepts integers as well.
  int GetValue(const char* key, std::vector<int>* values) const;
  int GetValue(const char* key, std::vector<long long>* values) const;
  int GetValue(const char* key, std::vector<double>* values) const;
  int GetValue(const char* key, std::vector<bool>* values) const;
  int GetValue(const char* key, std::vector<std::string>* values) const;

  // Decodes a base64 string into a new buffer that the caller releases with
  // delete[].
  int GetValueBinary(const char* key, unsigned char** data, unsigned long* length) const;

  // A write overwrites an existing non-null member in place; otherwise the
  // member is appended at the end of the object.
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

  // Stores the bytes as base64 text.
  void SetValueBinary(const char* key, const unsigned char* data, unsigned long length);

  // Replaces the member with an empty array at the end of the object.
  void SetValueEmptyList(const char* key);

  // An array of the elements, in order, under the key, moved to the end of
  // the object. T is bool, int, long long, double or std::string.
  template <typename T>
  void SetValue(const char* key, const std::vector<T>& values) {
    SetValueEmptyList(key);
    for (const T& value : values) AppendValue(key, value);
  }

  // Appends to an existing array. Only the array's first element is checked
  // against the appended type; an empty array takes any type.
  void AppendValue(const char* key, int value);
  void AppendValue(const char* key, long long value);
  void AppendValue(const char* key, double value);
  void AppendValue(const char* key, bool value);
  void AppendValue(const char* key, const std::string& value);
  // Appends a string (a literal would otherwise be taken as a bool).
  void AppendValue(const char* key, const char* value);

  // Removes the member if present; the object's last member may take its
  // place.
  void Remove(const char* key);
  // True when the object has no members.
  bool IsEmpty() const;
  // True when the member exists, even with value null.
  bool CheckKey(const char* key) const;

  // The object's JSON as compact text.
  std::string GetData() const;
  // Replaces the object's JSON with the parsed text; null text does nothing.
  void SetData(const char* text);


 protected:
  explicit StoreObject(const std::shared_ptr<StoreObjectImpl>& impl);

 private:
  friend class ObjectAccess;

  std::shared_ptr<StoreObjectImpl> impl_;
};

}  // namespace CorvConfigStore
