// ConfigStoreObject: a configuration object with its row metadata, its
// instance-id map, defaults and sub-objects.
#pragma once

#include <corvconfigstore/Export.h>
#include <corvconfigstore/FilterSpecObject.h>
#include <corvconfigstore/ObjectId.h>
#include <corvconfigstore/StoreObject.h>

#include <memory>
#include <string>
#include <vector>

namespace CorvConfigStore {

class ConfigStoreObjectImpl;

// A sub-object is a nested member handed out as a ConfigStoreObject of its
// own that works directly on its parent's JSON: a change through it is a
// change of the parent, and it keeps the parent's JSON alive. A member listed
// in the key schema's instance-id map is a list of instances (non-singleton);
// any other member is a singleton. When the member or instance a sub-object
// stands for is removed, its next access throws ConfigStoreException 2000
// "Subobject does not exists." or "Subobject instance does not exists.".
class CORV_EXPORT ConfigStoreObject : public StoreObject {
 public:
  // A new, empty object; its key's schema is looked up in the schema store
  // (ConfigStoreException 1037 when there is none). For a key with
  // instances the instance id is written into the instance-id property.
  explicit ConfigStoreObject(const ConfigStoreObjectId& id);
  explicit ConfigStoreObject(const std::shared_ptr<ConfigStoreObjectImpl>& impl);

  std::string GetVersion() const;
  std::string GetCreationTime() const;
  std::string GetModifiedTime() const;
  // -1 for an object that was never stored.
  int GetRevision() const;

  // The object's JSON as text, without system-generated instance ids.
  std::string GetData() const;
  // A JSON Pointer to the object within the whole store, or to one of its
  // properties when property is not null: /component/group/key/.../property.
  std::string GetPath(const char* property) const;

  // Throws ConfigStoreException 2000 "Object already exists." when present,
  // and "Non-Singleton object should contain instanceId" for a list member
  // without an instance id.
  std::shared_ptr<ConfigStoreObject> CreateSubObject(const SubObjectId& subId);
  // Null when the member or the instance is absent.
  std::shared_ptr<ConfigStoreObject> GetSubObject(const SubObjectId& subId) const;
  // The instances of the list member the filter's key names: all of them, or
  // the one its instance id names. Throws InvalidArgumentException 1046 for
  // a singleton member. A null filter is logged and yields nothing.
  std::vector<std::shared_ptr<ConfigStoreObject>> GetSubObjectInstances(
      const std::shared_ptr<FilterSpecObject>& filter) const;
  // Missing sub-objects are logged, not an error.
  void DeleteSubObject(const SubObjectId& subId);
  void DeleteSubObjectInstances(const std::shared_ptr<FilterSpecObject>& filter);
};

}  // namespace CorvConfigStore
