// Identities of configuration objects and sub-objects, validation error
// records and instance revisions.
#pragma once

#include <corvconfigstore/Export.h>

#include <cstddef>
#include <functional>
#include <string>

namespace CorvConfigStore {

// The component most configuration belongs to.
CORV_EXPORT extern const std::string kDefaultComponent;
CORV_EXPORT extern const std::string kEmptyString;

// Identity of one configuration object. Constructors take key, group,
// component and instance id in that order, while the fields are stored as key,
// component, group, instance id: every caller passes (key, group, component).
class CORV_EXPORT ConfigStoreObjectId {
 public:
  ConfigStoreObjectId(const std::string& key, const std::string& group,
                      const std::string& component);
  ConfigStoreObjectId(const std::string& key, const std::string& group,
                      const std::string& component, const std::string& instanceId);
  ConfigStoreObjectId(const char* key, const char* group, const char* component);
  ConfigStoreObjectId(const char* key, const char* group, const char* component,
                      const char* instanceId);
  ConfigStoreObjectId(const ConfigStoreObjectId& other) = default;
  ConfigStoreObjectId& operator=(const ConfigStoreObjectId& other) = default;
  ~ConfigStoreObjectId() = default;

  // "comp C grp G key K", plus " id I" when the instance id is not empty.
  std::string toString() const;

  bool operator==(const ConfigStoreObjectId& other) const;
  bool operator!=(const ConfigStoreObjectId& other) const { return !(*this == other); }

  std::string key;
  std::string component;
  std::string group;
  std::string instanceId;
};

// Identity of a sub-object inside an object: member name and instance id.
class CORV_EXPORT SubObjectId {
 public:
  SubObjectId(const std::string& key, const std::string& id = std::string());

  // "key K", plus " id I" when the instance id is not empty.
  std::string toString() const;

  std::string key;
  std::string id;
};

// One validation error: where in the value ("/" for the whole) and what.
struct CORV_EXPORT ErrorInfo {
  ErrorInfo(const std::string& location, const std::string& message);

  std::string location;
  std::string message;
};

// The stored revision of one instance.
struct CORV_EXPORT RevisionInfo {
  std::string instanceId;
  int revision;
};

// Hash of key + group + component + instance id, concatenated without
// separators; identifiers whose concatenations coincide collide by design.
CORV_EXPORT size_t hashCsoId(const ConfigStoreObjectId& id);

// A fresh random UUID in text form, or the empty string when none can be made.
CORV_EXPORT std::string GenerateInstanceId();

}  // namespace CorvConfigStore

namespace std {
template <>
struct hash<CorvConfigStore::ConfigStoreObjectId> {
  size_t operator()(const CorvConfigStore::ConfigStoreObjectId& id) const {
    return CorvConfigStore::hashCsoId(id);
  }
};
}  // namespace std
